#include "workloads.hpp"

#include "dstu_domains.hpp"
#include "gost_domains.hpp"
#include "hash.hpp"

#include <qal/qal.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <stdexcept>

namespace qal::tool {

namespace {

// Nothing here is a secret: what it is made of must only be the same every time.
class Material {
public:
    Bytes bytes(size_t size)
    {
        Bytes bytes(size);
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(engine_());
        return bytes;
    }

private:
    std::mt19937_64 engine_{1};
};

class Workloads {
public:
    explicit Workloads(const std::string &text) : text_(text) {}

    // make() returns what is to be called over and over; it is not asked for what nobody wants.
    template<class Make>
    void add(const std::string &name, size_t bytes, Make make)
    {
        if (name.find(text_) != std::string::npos)
            found_.push_back({name, bytes, make()});
    }

    std::vector<Workload> take() { return std::move(found_); }

private:
    std::string text_;
    std::vector<Workload> found_;
};

constexpr size_t sizes[] = {64, 1024, 65536, 1048576};

void add_hashes(Workloads &all, Material &material)
{
    for (const HashAlgorithm &algorithm : hash_algorithms()) {
        for (const size_t size : sizes) {
            all.add(std::string(algorithm.name), size, [&] {
                return [start = algorithm.start, data = material.bytes(size)] {
                    const std::unique_ptr<Hash> hash = start();
                    hash->update(data.data(), data.size());
                    hash->finish();
                };
            });
        }
    }
}

void add_ciphers(Workloads &all, Material &material)
{
    const Bytes key = material.bytes(32), iv = material.bytes(8);
    for (const size_t size : sizes) {
        const auto buffer = [&] { return std::make_shared<Bytes>(material.bytes(size)); };
        all.add("kuznyechik-ctr", size, [&] {
            kuzn_ctr_ctx ctx;
            kuzn_ctr_init(&ctx, iv.data(), key.data());
            return [ctx, data = buffer()]() mutable {
                kuzn_ctr_update(&ctx, data->data(), data->data(), data->size());
            };
        });
        all.add("gost28147-ecb", size, [&] {
            g28147_ecb_ctx ctx;
            g28147_ecb_init_ext(&ctx, 1, key.data(), CryptoPro_uz);
            return [ctx, data = buffer()] {
                g28147_ecb_update(&ctx, data->data(), data->data(), data->size());
            };
        });
        all.add("gost28147-gamma", size, [&] {
            g28147_ofb_ctx ctx;
            g28147_ofb_init_ext(&ctx, key.data(), iv.data(), CryptoPro_uz);
            return [ctx, data = buffer()]() mutable {
                g28147_ofb_update(&ctx, data->data(), data->data(), data->size());
            };
        });
        for (const uint32_t encrypts : {1U, 0U}) {
            all.add(encrypts ? "gost28147-cfb-encrypt" : "gost28147-cfb-decrypt", size, [&] {
                g28147_cfb_ctx ctx;
                g28147_cfb_init_ext(&ctx, encrypts, key.data(), iv.data(), CryptoPro_uz);
                return [ctx, data = buffer()]() mutable {
                    g28147_cfb_update(&ctx, data->data(), data->data(), data->size());
                };
            });
        }
        all.add("gost28147-mac", size, [&] {
            g28147_hmac_ctx ctx;
            g28147_hmac_init_ext(&ctx, key.data(), CryptoPro_uz);
            return [ctx, data = buffer()]() mutable {
                g28147_hmac_update(&ctx, data->data(), data->size());
            };
        });
    }
}

// An odd number of n digits, with its top bit set or clear.
std::vector<qald> number(Material &material, size_t n, bool top)
{
    std::vector<qald> x(QALBIG_SIZE);
    qalfrombase256(x.data(), material.bytes(8 * n).data(), static_cast<uint32_t>(8 * n));
    x[0] = n;
    x[1] |= 1;
    x[n] = x[n] >> 1 | qald{top} << 63 | qald{1} << 62;
    return x;
}

void add_key_set_up(Workloads &all, Material &material)
{
    const Bytes key = material.bytes(32);
    all.add("Kuznyechik round keys", 0, [&] {
        return [key] {
            uint8_t rk[160];
            kuzn_setup_keys(rk, key.data());
        };
    });
    all.add("GOST 28147-89 key", 0, [&] {
        return [key] {
            g28147_ecb_ctx ctx;
            g28147_ecb_init_ext(&ctx, 1, key.data(), CryptoPro_uz);
        };
    });
    all.add("GOST 28147-89 S-box", 0, [&] {
        Bytes sbox = material.bytes(128);
        for (uint8_t &entry : sbox)
            entry &= 15;
        return [sbox] {
            uint32_t tables[1024];
            if (g28147_make_kext(tables, sbox.data()) == nullptr)
                throw std::logic_error("an S-box is refused");
        };
    });
}

void add_integers(Workloads &all, Material &material)
{
    using Number = std::vector<qald>;
    struct Operands {
        std::string size;
        uint32_t bits;
        Number p, a, b;
        std::shared_ptr<Number> result = std::make_shared<Number>(QALBIG_SIZE);
    };
    std::vector<Operands> operands;
    for (const uint32_t n : {4U, 8U, 16U, 32U})
        operands.push_back({", " + std::to_string(64 * n) + " bits", 64 * n,
                            number(material, n, true), number(material, n, false),
                            number(material, n, false)});
    for (const Operands &x : operands)
        all.add("product" + x.size, 0,
                [&] { return [x] { qalmul(x.a.data(), x.b.data(), x.result->data()); }; });
    for (const Operands &x : operands)
        all.add("square" + x.size, 0,
                [&] { return [x] { qalsqr(x.a.data(), x.result->data()); }; });
    for (const Operands &x : operands) {
        all.add("division of a product" + x.size, 0, [&] {
            Number product(QALBIG_SIZE);
            qalmul(x.a.data(), x.b.data(), product.data());
            return [x, product, rest = std::make_shared<Number>(QALBIG_SIZE)] {
                qaldiv(product.data(), x.p.data(), x.result->data(), rest->data());
            };
        });
    }
    for (const Operands &x : operands) {
        all.add("Montgomery product" + x.size, 0, [&] {
            const qald c = qalinverse(0 - x.p[1]);
            return [x, c] {
                qalmulmont(c, x.bits, x.p.data(), x.a.data(), x.b.data(), x.result->data());
            };
        });
    }
    for (const Operands &x : operands) {
        all.add("exponentiation" + x.size, 0, [&] {
            const auto work = std::make_shared<Number>(18 * QALBIG_SIZE);
            return [x, work] {
                qalpowmod(work->data(), x.a.data(), x.b.data(), x.p.data(), x.result->data());
            };
        });
    }
}

// Numbers for keys and for the secrets of signatures, as the library asks for them.
int generate(uint8_t *buf, uint32_t len)
{
    static Material material;
    const Bytes bytes = material.bytes(len);
    std::copy(bytes.begin(), bytes.end(), buf);
    return 0;
}

void require(int code)
{
    if (code != 0)
        throw std::logic_error("an operation to measure fails with code " + std::to_string(code));
}

struct RsaKey {
    Bytes private_key, public_key;

    explicit RsaKey(uint32_t bits) : private_key(5 * bits / 16 + 10), public_key(bits / 8 + 7)
    {
        const rsa_keygen_ctx ctx = make(bits);
        require(
            rsa_get_privkey(&ctx, private_key.data(), static_cast<uint32_t>(private_key.size())));
        require(rsa_get_pubkey(&ctx, public_key.data(), static_cast<uint32_t>(public_key.size())));
    }

    static rsa_keygen_ctx make(uint32_t bits)
    {
        rsa_keygen_ctx ctx;
        rsa_gen_rnd = generate;
        require(rsa_keygen_init(&ctx, bits));
        Bytes random(bits / 16);
        do
            generate(random.data(), bits / 16);
        while (rsa_keygen(&ctx, random.data(), bits / 16) != 0);
        return ctx;
    }
};

void add_rsa(Workloads &all, Material &material)
{
    for (const uint32_t bits : {512U, 1024U, 1536U, 2048U}) {
        const std::string size = ", " + std::to_string(bits) + " bits";
        Bytes message = material.bytes(bits / 8);
        message.front() = 0; // below the modulus
        const auto result = std::make_shared<Bytes>(message.size());
        all.add("RSA private" + size, 0, [&] {
            return [key = RsaKey(bits), message, result] {
                require(rsa_sign(result->data(), message.data(),
                                 static_cast<int32_t>(message.size()), key.private_key.data()));
            };
        });
        all.add("RSA public" + size, 0, [&] {
            return [key = RsaKey(bits), message, result] {
                require(rsa_encrypt(result->data(), message.data(),
                                    static_cast<uint32_t>(message.size()), key.public_key.data()));
            };
        });
        all.add("RSA key" + size, 0, [&] { return [bits] { RsaKey::make(bits); }; });
    }
}

void add_gost(Workloads &all, Material &material)
{
    struct Party {
        rds_ctx ctx = named_domain(domain_names().front()).ctx;
        Bytes d, k, digest, ukm, pub = Bytes(64), sig = Bytes(64);
    };
    const auto party = std::make_shared<Party>();
    for (Bytes *number : {&party->d, &party->k, &party->digest}) {
        *number = material.bytes(32);
        number->front() &= 0x3f; // below the order
    }
    party->ukm = material.bytes(8);
    require(rds_gen_keys(&party->ctx, party->d.data(), party->pub.data()));
    require(rds_sign(&party->ctx, party->d.data(), party->k.data(), party->digest.data(),
                     party->sig.data()));
    const std::string name = "GOST R 34.10-2001 ";
    all.add(name + "curve", 0, [&] {
        std::array<Bytes, 6> x;
        x.fill(Bytes(32));
        require(rds_get_prms(&party->ctx, x[0].data(), x[1].data(), x[2].data(), x[3].data(),
                             x[4].data(), x[5].data()));
        return [x] {
            rds_ctx ctx;
            require(rds_init(&ctx, x[0].data(), x[1].data(), x[2].data(), x[3].data(), x[4].data(),
                             x[5].data()));
        };
    });
    all.add(name + "key", 0, [&] {
        return [party, pub = std::make_shared<Bytes>(64)] {
            require(rds_gen_keys(&party->ctx, party->d.data(), pub->data()));
        };
    });
    all.add(name + "sign", 0, [&] {
        return [party, sig = std::make_shared<Bytes>(64)] {
            require(rds_sign(&party->ctx, party->d.data(), party->k.data(), party->digest.data(),
                             sig->data()));
        };
    });
    all.add(name + "verify", 0, [&] {
        return [party] {
            require(rds_verify(&party->ctx, party->pub.data(), party->digest.data(),
                               party->sig.data()));
        };
    });
    all.add(name + "agree", 0, [&] {
        return [party] {
            uint8_t kek[32];
            require(vko341001_gen_kek(&party->ctx, kek, party->d.data(), party->pub.data(),
                                      party->ukm.data()));
        };
    });
}

// The pool is empty but where the name says that it is full.
struct DstuParty {
    dstu_ctx ctx;
    dstu_bspool pool, full;
    Bytes priv, pub, sig, hash;

    DstuParty(const DstuDomain &domain, Material &material) : hash(material.bytes(32))
    {
        set_up(ctx, domain);
        priv.resize(static_cast<size_t>(ctx.key_len));
        pub.resize(static_cast<size_t>(ctx.field_len));
        sig.resize(static_cast<size_t>(ctx.sig_len));
        require(dstu_bspool_init(&pool, &ctx, generate));
        make_key(priv, pub);
        sign(pool);
        require(dstu_bspool_init(&full, &ctx, generate));
        while (full.ready != (1U << std::size(full.slot)) - 1)
            dstu_bspool_step(&full);
    }

    void make_key(Bytes &d, Bytes &q)
    {
        int32_t d_size = ctx.key_len, q_size = ctx.field_len;
        require(dstu_gen_keys(&ctx, &pool, &d_size, d.data(), &q_size, q.data()));
    }

    void sign(dstu_bspool &from)
    {
        int32_t size = ctx.sig_len;
        require(
            dstu_sign(&ctx, &from, ctx.key_len, priv.data(), 256, hash.data(), &size, sig.data()));
    }
};

void add_dstu(Workloads &all, Material &material)
{
    for (const DstuDomain &domain : dstu_domains()) {
        const auto called = [&](const char *operation) {
            std::string name = "DSTU 4145-2002 ";
            return name.append(operation).append(", ").append(domain.name);
        };
        const auto make = [&] { return std::make_shared<DstuParty>(domain, material); };
        all.add(called("curve"), 0, [&] {
            return [&domain] {
                dstu_ctx ctx;
                set_up(ctx, domain);
            };
        });
        all.add(called("key"), 0, [&] {
            return [party = make(), d = std::make_shared<Bytes>(64),
                    q = std::make_shared<Bytes>(64)] { party->make_key(*d, *q); };
        });
        all.add(called("sign"), 0, [&] { return [party = make()] { party->sign(party->pool); }; });
        // With the copying of a pool.
        all.add(called("sign, full pool"), 0, [&] {
            return [party = make()] {
                party->pool = party->full;
                party->sign(party->pool);
            };
        });
        all.add(called("verify"), 0, [&] {
            return [party = make()] {
                require(dstu_verify(&party->ctx, party->ctx.field_len, party->pub.data(), 256,
                                    party->hash.data(), party->ctx.sig_len, party->sig.data()));
            };
        });
        all.add(called("agree"), 0, [&] {
            return [party = make()] {
                int32_t size;
                uint8_t secret[64];
                require(dhua_zz(&party->ctx, party->ctx.key_len, party->priv.data(),
                                party->ctx.field_len, party->pub.data(), 0, &size, secret));
            };
        });
    }
}

} // namespace

std::vector<Workload> make_workloads(const std::string &text)
{
    Workloads all(text);
    Material material;
    add_hashes(all, material);
    add_ciphers(all, material);
    add_key_set_up(all, material);
    add_integers(all, material);
    add_rsa(all, material);
    add_gost(all, material);
    add_dstu(all, material);
    return all.take();
}

} // namespace qal::tool
