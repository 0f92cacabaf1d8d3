#include "workloads.hpp"

#include "hash.hpp"

#include <qal/qal.h>

#include <memory>
#include <random>

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

void add_integers(Workloads &all, Material &material)
{
    using Number = std::vector<qald>;
    for (const size_t n : {4U, 8U, 16U, 32U}) {
        const std::string bits = std::to_string(64 * n) + " bits";
        const Number p = number(material, n, true), a = number(material, n, false),
                     b = number(material, n, false);
        const auto result = std::make_shared<Number>(QALBIG_SIZE);
        all.add("product, " + bits, 0,
                [&] { return [=] { qalmul(a.data(), b.data(), result->data()); }; });
        all.add("Montgomery product, " + bits, 0, [&] {
            const qald c = qalinverse(0 - p[1]);
            return [=] {
                qalmulmont(c, static_cast<uint32_t>(64 * n), p.data(), a.data(), b.data(),
                           result->data());
            };
        });
        all.add("exponentiation, " + bits, 0, [&] {
            const auto work = std::make_shared<Number>(18 * QALBIG_SIZE);
            return [=] { qalpowmod(work->data(), a.data(), b.data(), p.data(), result->data()); };
        });
    }
}

// Keys of odd numbers: whether they are primes makes no difference to the time.
void add_rsa(Workloads &all, Material &material)
{
    const auto append = [](Bytes &key, const qald *x) {
        const size_t size = key.size();
        key.resize(size + 2 + qalbitlen(x, 8));
        save_rsa_key_prm(key.data() + size, x);
    };
    for (const size_t n : {4U, 8U, 12U, 16U}) {
        const std::string bits = std::to_string(128 * n) + " bits";
        const std::vector<qald> p = number(material, n, true), q = number(material, n, true),
                                part = number(material, n, false);
        std::vector<qald> product(QALBIG_SIZE), e(2);
        Bytes private_key, public_key;
        for (const qald *x : {p.data(), q.data(), part.data(), part.data(), part.data()})
            append(private_key, x);
        append(public_key, qalmul(p.data(), q.data(), product.data()));
        append(public_key, qalconvert(e.data(), 65537));
        const Bytes message = material.bytes(16 * n);
        const auto result = std::make_shared<Bytes>(message.size());
        all.add("RSA private, " + bits, 0, [&] {
            return [=] {
                rsa_sign(result->data(), message.data(), static_cast<int32_t>(message.size()),
                         private_key.data());
            };
        });
        all.add("RSA public, " + bits, 0, [&] {
            return [=] {
                rsa_encrypt(result->data(), message.data(), static_cast<uint32_t>(message.size()),
                            public_key.data());
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
    add_integers(all, material);
    add_rsa(all, material);
    return all.take();
}

} // namespace qal::tool
