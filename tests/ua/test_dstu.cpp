// DSTU 4145-2002: the worked example, the model of signatures, the pool's states, the statuses.
#include "support/preconditions.hpp"
#include "ua/domains.hpp"

#include <gtest/gtest.h>

#include <cstring>

using namespace qal::test;

namespace {

constexpr char path[] = "../src/ua/dstu";

struct ModelSignature {
    mpz_class r, s;
};

// A signature with the one-time secrets in their order; the product with the hash is kept when an
// attempt fails.
ModelSignature model_sign(const TestDomain &domain, const mpz_class &d, Poly h,
                          const std::vector<mpz_class> &secrets)
{
    const ModelCurve &model = domain.model();
    h &= (Poly(1) << model.field.m) - 1;
    if (h == 0)
        h = 1;
    for (const mpz_class &e : secrets) {
        const ModelPoint p = model.mul(e, model.G);
        if (model.compress(p) == 0)
            continue;
        h = model.field.mul(h, p.x);
        const mpz_class r = h % domain.scalar_bound(), s = (e + d * r) % model.n;
        if (r != 0 && s != 0)
            return {r, s};
    }
    throw std::runtime_error("no secret was good");
}

Bytes signature_bytes(const TestDomain &domain, const ModelSignature &signature)
{
    Bytes bytes = bytes_of(signature.r, domain.sig_len() / 2);
    const Bytes s = bytes_of(signature.s, domain.sig_len() / 2);
    bytes.insert(bytes.end(), s.begin(), s.end());
    return bytes;
}

// The number of steps after the draw.
uint32_t windows_of(const mpz_class &e)
{
    Number number(e);
    uint32_t windows = 0;
    for (uint64_t bits = length(e); bits > 0; windows++) {
        int64_t window;
        qalgetslide(number, bits - 1, 6, &window);
        bits -= static_cast<uint64_t>(window);
    }
    return windows == 0 ? 1 : windows;
}

bool all_zero(const void *memory, size_t size)
{
    const auto *bytes = static_cast<const uint8_t *>(memory);
    return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == 0; });
}

template<typename Check>
void in_every_domain(Check check)
{
    for (TestDomain &domain : test_domains()) {
        SCOPED_TRACE(domain.model().name);
        check(domain);
    }
}

} // namespace

TEST(Dstu4145, WorkedExample)
{
    VectorFile file("dstu4145/dstu4145.vec");
    file.each("signature", [](Vector &vector) {
        const TestDomain domain(model_curve(vector.text("Domain")));
        const Bytes d = vector.bytes("Private"), hash = vector.bytes("Hash");
        const ModelPoint Q = {false, poly_of(vector.bytes("X")), poly_of(vector.bytes("Y"))};
        const Bytes pub = bytes_of(domain.model().compress(Q), domain.field_len());
        EXPECT_EQ(pub, domain.public_key(poly_of(d)));

        // Key generation out of the private key.
        Pool pool(domain);
        Source::queue = {poly_of(d)};
        MarkedBytes priv(domain.key_len() + 5), own(domain.field_len());
        auto priv_len = static_cast<int32_t>(domain.key_len() + 5), pub_len = size_of(pub);
        ASSERT_EQ(dstu_gen_keys(domain, pool, &priv_len, priv.data(), &pub_len, own.data()), 0);
        EXPECT_EQ(poly_of(priv.contents()), poly_of(d));
        EXPECT_EQ(own.contents(), pub);

        // Both coordinates, and back.
        MarkedBytes both(2 * domain.field_len());
        ASSERT_EQ(dstu_ucpubk(domain, both.data(), pub.data(), pub_len), 0);
        EXPECT_EQ(poly_of(both.contents()), Q.x ^ (Q.y << (8 * domain.field_len())));
        MarkedBytes compressed(domain.field_len());
        ASSERT_EQ(dstu_cppubk(domain, compressed.data(), &pub_len, both.data()), 0);
        EXPECT_EQ(compressed.contents(), pub);

        // The signature with the example's one-time secret.
        Source::queue = {poly_of(vector.bytes("Secret"))};
        MarkedBytes sig(domain.sig_len());
        auto sig_len = static_cast<int32_t>(domain.sig_len());
        ASSERT_EQ(dstu_sign(domain, pool, size_of(d), d.data(), 8 * size_of(hash), hash.data(),
                            &sig_len, sig.data()),
                  0);
        const ModelSignature expected = {poly_of(vector.bytes("R")), poly_of(vector.bytes("S"))};
        EXPECT_EQ(sig.contents(), signature_bytes(domain, expected));
        EXPECT_EQ(dstu_verify(domain, pub_len, pub.data(), 8 * size_of(hash), hash.data(), sig_len,
                              sig.data()),
                  0);
    });
}

TEST(Dstu4145, Domains)
{
    in_every_domain([](TestDomain &domain) {
        const dstu_ctx &ctx = *domain.ctx;
        const ModelCurve &model = domain.model();
        EXPECT_EQ(ctx.field_len, static_cast<int32_t>(domain.field_len()));
        EXPECT_EQ(ctx.key_len, static_cast<int32_t>(domain.key_len()));
        EXPECT_EQ(ctx.sig_len, static_cast<int32_t>(domain.sig_len()));
        EXPECT_EQ(ctx.ws, 6);
        EXPECT_EQ(value_of(ctx.n), model.n);
        EXPECT_EQ(domain.test.model_of(ctx.G), model.G);
        EXPECT_EQ(poly_of(ctx.G.Z), 1);
        for (int i = 0; i < 32; i++) {
            const ModelPoint multiple = model.mul(2 * i + 1, model.G);
            EXPECT_EQ(poly_of(ctx.powers[i].x), multiple.x);
            EXPECT_EQ(poly_of(ctx.powers[i].y), multiple.y);
        }
    });
}

TEST(Dstu4145, RefusedDomains)
{
    const ModelCurve model = model_curve("m163");
    const Bytes b = bytes_of(model.b, 21), G = bytes_of(model.compress(model.G), 21),
                n = bytes_of(model.n, 21);
    dstu_ctx ctx;
    const auto curve = [&](uint32_t m, uint32_t a, const uint8_t *bytes, int32_t size) {
        std::memset(&ctx, 0xa5, sizeof ctx);
        return dstu_init_curve(&ctx, m, 7, 6, 3, a, bytes, size);
    };
    EXPECT_EQ(dstu_init_curve(nullptr, 163, 7, 6, 3, 1, b.data(), 21), 3);
    EXPECT_EQ(curve(163, 1, nullptr, 21), 3);
    EXPECT_EQ(curve(163, 1, b.data(), 22), 3);
    EXPECT_TRUE(!all_zero(&ctx, sizeof ctx));
    EXPECT_EQ(curve(163, 2, b.data(), 21), 3);
    EXPECT_EQ(curve(163, 1, b.data(), 0), 3); // b = 0
    EXPECT_EQ(curve(163, 1, b.data(), -1), 3);
    EXPECT_EQ(curve(164, 1, b.data(), 21), 3);
    EXPECT_EQ(curve(160, 1, b.data(), 20), 3);
    EXPECT_EQ(curve(163, 1, b.data(), 21), 0);
    EXPECT_EQ(ctx.field_len, 21);
    EXPECT_EQ(ctx.cofactor, 0U);

    const auto base = [&](const Bytes &point, const mpz_class &order) {
        const Bytes bytes = bytes_of(order, (length(order) + 7) / 8);
        return dstu_init_pgen(&ctx, size_of(point), point.data(), size_of(bytes), bytes.data());
    };
    EXPECT_EQ(dstu_init_pgen(nullptr, 21, G.data(), 21, n.data()), 2);
    EXPECT_EQ(dstu_init_pgen(&ctx, 21, nullptr, 21, n.data()), 2);
    EXPECT_EQ(dstu_init_pgen(&ctx, 21, G.data(), 21, nullptr), 2);
    for (const int32_t size : {-1, 0, 22}) {
        EXPECT_EQ(dstu_init_pgen(&ctx, size, G.data(), 21, n.data()), 4);
        EXPECT_EQ(dstu_init_pgen(&ctx, 21, G.data(), size, n.data()), 4);
    }
    EXPECT_EQ(base(G, model.n - 1), 4);
    EXPECT_EQ(base(G, (mpz_class(1) << 160) - 1), 4); // m - 3 bits
    EXPECT_EQ(base(G, (mpz_class(1) << 159) - 1), 4);
    EXPECT_EQ(base(G, mpz_class(1) << 163), 4); // m + 1 bits
    Bytes other = G;
    int refused = 0;
    for (int i = 0; i < 20; i++) {
        other[3]++;
        refused += base(other, model.n) == 4; // not on the curve; of no other order is any
    }
    EXPECT_GT(refused, 2);
    other = G;
    other[20] |= 8; // degree m
    EXPECT_EQ(base(other, model.n), 4);
    EXPECT_EQ(base(G, model.n), 0);
    EXPECT_EQ(ctx.cofactor, 0U);

    // Set up with an order that is a multiple: 2 n is none of n's length, but of m's.
    EXPECT_EQ(base(G, 2 * model.n), 4);
}

TEST(Dstu4145, Keys)
{
    in_every_domain([](TestDomain &domain) {
        Pool pool(domain);
        for (int round = 0; round < 3; round++) {
            const size_t room = domain.key_len() + 7 * static_cast<size_t>(round);
            MarkedBytes priv(Bytes(room, 0xa5)), pub(domain.field_len());
            auto priv_len = static_cast<int32_t>(room);
            int32_t pub_len = static_cast<int32_t>(domain.field_len()) + round;
            // Zero is not taken.
            if (round == 1)
                Source::queue = {0, domain.scalar_bound(), 0};
            const size_t calls = Source::calls;
            ASSERT_EQ(dstu_gen_keys(domain, pool, &priv_len, priv.data(), &pub_len, pub.data()), 0);
            EXPECT_EQ(Source::calls, calls + (round == 1 ? 4 : 1));
            EXPECT_EQ(Source::lengths.back(), domain.key_len());
            EXPECT_EQ(priv_len, static_cast<int32_t>(domain.key_len()));
            EXPECT_EQ(pub_len, static_cast<int32_t>(domain.field_len()));
            const mpz_class d = Source::given.back() % domain.scalar_bound();
            EXPECT_EQ(poly_of(priv.contents()), d);
            EXPECT_EQ(pub.contents(), domain.public_key(d));
        }
        // Every small key, which the constant-time multiplication cannot make.
        for (const int d : {1, 2, 3, 30, 31, 32, 62, 63, 64, 65, 66, 124, 126, 128}) {
            Source::queue = {d};
            Bytes priv(domain.key_len()), pub(domain.field_len());
            auto priv_len = size_of(priv), pub_len = size_of(pub);
            ASSERT_EQ(dstu_gen_keys(domain, pool, &priv_len, priv.data(), &pub_len, pub.data()), 0);
            EXPECT_EQ(poly_of(priv), d);
            EXPECT_EQ(pub, domain.public_key(d)) << d;
        }
    });
}

TEST(Dstu4145, PublicKeyForms)
{
    Random random;
    in_every_domain([&](TestDomain &domain) {
        const ModelCurve &model = domain.model();
        const size_t size = domain.field_len();
        for (int round = 0; round < 5; round++) {
            const ModelPoint p = domain.test.random_point(random);
            const Bytes key = bytes_of(model.compress(p), size);
            MarkedBytes both(Bytes(2 * size, 0xa5)), again(size);
            ASSERT_EQ(dstu_ucpubk(domain, both.data(), key.data(), size_of(key)), 0);
            EXPECT_EQ(poly_of(both.contents()), p.x ^ (p.y << (8 * size)));
            auto again_len = static_cast<int32_t>(size + 3);
            ASSERT_EQ(dstu_cppubk(domain, again.data(), &again_len, both.data()), 0);
            EXPECT_EQ(again_len, static_cast<int32_t>(size));
            EXPECT_EQ(again.contents(), key);
            Bytes wrong = both.contents();
            wrong[size] ^= 1;
            EXPECT_EQ(dstu_cppubk(domain, again.data(), &again_len, wrong.data()), 5);
            again_len = static_cast<int32_t>(size) - 1;
            EXPECT_EQ(dstu_cppubk(domain, again.data(), &again_len, both.contents().data()), 2);
            EXPECT_EQ(dstu_cppubk(domain, again.data(), nullptr, both.contents().data()), 2);
        }
        // No element of the field, no point.
        Bytes key(size), both(2 * size);
        key[model.field.m / 8] = static_cast<uint8_t>(1 << (model.field.m % 8));
        key[0] = 5;
        EXPECT_EQ(dstu_ucpubk(domain, both.data(), key.data(), size_of(key)), 5);
        both[model.field.m / 8] = key[model.field.m / 8];
        auto out_len = size_of(key);
        EXPECT_EQ(dstu_cppubk(domain, key.data(), &out_len, both.data()), 5);
        both.assign(2 * size, 0);
        both[size + model.field.m / 8] = static_cast<uint8_t>(1 << (model.field.m % 8));
        EXPECT_EQ(dstu_cppubk(domain, key.data(), &out_len, both.data()), 5);
        int refused = 0;
        for (uint8_t i = 0; i < 20; i++) {
            key = Bytes(size, i);
            key[model.field.m / 8] = 0;
            const int status = dstu_ucpubk(domain, both.data(), key.data(), size_of(key));
            EXPECT_TRUE(status == 0 || status == 5);
            refused += status == 5;
        }
        EXPECT_GT(refused, 0);
        // Zero is the point with x = 0; no bytes at all mean the same.
        for (const int32_t length : {static_cast<int32_t>(size), 0, -3}) {
            key.assign(size, 0);
            both.assign(2 * size, 0xa5);
            ASSERT_EQ(dstu_ucpubk(domain, both.data(), key.data(), length), 0);
            EXPECT_EQ(poly_of(Bytes(both.begin(), both.begin() + static_cast<long>(size))), 0);
            EXPECT_EQ(model.field.sqr(poly_of(both) >> (8 * size)), model.b);
        }
    });
}

TEST(Dstu4145, SignaturesAreTheModels)
{
    Random random;
    in_every_domain([&](TestDomain &domain) {
        const ModelCurve &model = domain.model();
        Pool pool(domain);
        for (int round = 0; round < 6; round++) {
            const mpz_class d =
                1 + poly_of(random.bytes(domain.key_len())) % (domain.scalar_bound() - 1);
            const Bytes priv = bytes_of(d, domain.key_len()), pub = domain.public_key(d);
            // Lengths below, at and above m; the last bits may not count.
            const std::vector<int32_t> lengths = {1,   7,   64, static_cast<int32_t>(model.field.m),
                                                  512, 1000};
            const int32_t bits = lengths[static_cast<size_t>(round)];
            Bytes hash = round == 3 ? Bytes(54) : random.bytes(125);
            const Poly counted = poly_of(hash) & ((Poly(1) << static_cast<unsigned>(bits)) - 1);
            MarkedBytes sig(domain.sig_len());
            auto sig_len = static_cast<int32_t>(domain.sig_len());
            Source::given.clear();
            ASSERT_EQ(dstu_sign(domain, pool, size_of(priv), priv.data(), bits, hash.data(),
                                &sig_len, sig.data()),
                      0);
            ASSERT_EQ(sig_len, static_cast<int32_t>(domain.sig_len()));
            const mpz_class e = Source::given.back() % domain.scalar_bound();
            ASSERT_EQ(sig.contents(), signature_bytes(domain, model_sign(domain, d, counted, {e})));

            const auto verify = [&](const Bytes &signature) {
                return dstu_verify(domain, size_of(pub), pub.data(), bits, hash.data(),
                                   size_of(signature), signature.data());
            };
            Bytes signature = sig.contents();
            ASSERT_EQ(verify(signature), 0);
            for (const size_t at :
                 {size_t{0}, signature.size() / 2, random.below(signature.size() / 2 - 1)}) {
                signature[at] ^= 4;
                EXPECT_EQ(verify(signature), 1);
                signature[at] ^= 4;
            }
            if (bits == 1000 || bits == 512) {
                hash[model.field.m / 8] ^= static_cast<uint8_t>(1 << (model.field.m % 8)); // beyond
                EXPECT_EQ(verify(signature), 0);
                hash[model.field.m / 8] ^= static_cast<uint8_t>(1 << (model.field.m % 8) >> 1);
                EXPECT_EQ(verify(signature), 1);
            }
            // Zero is signed as one.
            if (round == 3) {
                hash[0] = 1;
                EXPECT_EQ(verify(signature), 0);
            }
            signature.pop_back();
            EXPECT_EQ(verify(signature), 1);
        }
    });
}

TEST(Dstu4145, RangesOfSignatures)
{
    const TestDomain domain(model_curve("m257"));
    const Bytes pub = domain.public_key(12345), hash(32, 7);
    const mpz_class &n = domain.model().n;
    const auto verify = [&](const mpz_class &r, const mpz_class &s) {
        const Bytes sig = signature_bytes(domain, {r, s});
        return dstu_verify(domain, size_of(pub), pub.data(), 256, hash.data(), size_of(sig),
                           sig.data());
    };
    for (const auto &[r, s] : std::vector<std::pair<mpz_class, mpz_class>>{
             {0, 1}, {1, 0}, {n, 1}, {1, n}, {n + 1, 1}, {1, (mpz_class(1) << 256) - 1}, {1, 1}})
        EXPECT_EQ(verify(r, s), 1);
    // The range comes before the key.
    Bytes bad(33);
    bad[32] = 2;
    const Bytes sig = signature_bytes(domain, {0, 1}), possible = signature_bytes(domain, {1, 1});
    EXPECT_EQ(dstu_verify(domain, 33, bad.data(), 256, hash.data(), size_of(sig), sig.data()), 1);
    EXPECT_EQ(dstu_verify(domain, 33, bad.data(), 256, hash.data(), 63, possible.data()), 1);
    EXPECT_EQ(dstu_verify(domain, 33, bad.data(), 256, hash.data(), 64, possible.data()), 5);
}

// Where r and s are what the hash asks for, but for their range.
TEST(Dstu4145, EquationsHoldOutOfRange)
{
    for (const char *name : {"m163", "m257"}) {
        const TestDomain domain(model_curve(name));
        const ModelCurve &model = domain.model();
        const ModelField &field = model.field;
        const mpz_class d = 12345, &n = model.n, r = 7;
        const Bytes pub = domain.public_key(d);
        // The product with this abscissa is to come out of the hash.
        const auto verify = [&](const mpz_class &r_half, const mpz_class &s_half, const Poly &x,
                                const Poly &product) {
            const Bytes hash = bytes_of(field.mul(product, field.inv(x)), (field.m + 7) / 8),
                        sig = signature_bytes(domain, {r_half, s_half});
            return dstu_verify(domain, size_of(pub), pub.data(), 8 * size_of(hash), hash.data(),
                               size_of(sig), sig.data());
        };
        // G + r Q and r Q, for Q = -d G
        const ModelPoint rQ = model.mul(n - r * d, model.G);
        const Poly x1 = model.add(model.G, rQ).x;
        EXPECT_EQ(verify(r, 1, x1, r), 0);
        EXPECT_EQ(verify(r, n + 1, x1, r), 1);
        EXPECT_EQ(verify(r, 0, rQ.x, r), 1);
        EXPECT_EQ(verify(r, n, rQ.x, r), 1);
        // What is cut off the product leaves r, also where that is 0.
        EXPECT_EQ(verify(r, 1, x1, r + domain.scalar_bound()), 0);
        EXPECT_EQ(verify(0, 1, model.G.x, domain.scalar_bound()), 1);
    }
}

TEST(Dstu4145, InfinityVerifiesNothing)
{
    in_every_domain([](TestDomain &domain) {
        // s + r (-d) = 0: with d = 5, r = 7 and s = 35.
        const Bytes pub = domain.public_key(5), sig = signature_bytes(domain, {7, 35}), hash(20, 1);
        EXPECT_EQ(dstu_verify(domain, size_of(pub), pub.data(), 160, hash.data(), size_of(sig),
                              sig.data()),
                  1);
        // (0, sqrt b), by a key that has it besides its multiple of the base point: 7 Q = T - 35 P
        // for Q = T - 5 P. Where the cofactor is 2 no compressed key stands for such a point.
        const ModelCurve &model = domain.model();
        if (model.cofactor == 4) {
            ModelPoint T = {false, 0, model.b};
            for (uint32_t i = 1; i < model.field.m; i++)
                T.y = model.field.sqr(T.y);
            const ModelPoint Q = model.add(T, ModelCurve::negative(model.mul(5, model.G)));
            const Bytes key = bytes_of(model.compress(Q), domain.field_len());
            EXPECT_EQ(dstu_verify(domain, size_of(key), key.data(), 160, hash.data(), size_of(sig),
                                  sig.data()),
                      1);
        }
        // A key of order 2, whose compression is zero.
        const Bytes zero(domain.field_len());
        EXPECT_EQ(dstu_verify(domain, size_of(zero), zero.data(), 160, hash.data(), size_of(sig),
                              sig.data()),
                  1);
    });
}

// A public key that is zero stands for the point of order 2: what it is multiplied by counts only
// as even or odd, and whoever knows no private key signs for it.
TEST(Dstu4145, TheKeyOfOrderTwoVerifiesForgeries)
{
    in_every_domain([](TestDomain &domain) {
        const ModelCurve &model = domain.model();
        const Bytes zero(domain.field_len()), hash(20, 0x5a);
        int forged = 0;
        for (unsigned s = 1; forged == 0 && s < 64; s++) {
            const mpz_class r =
                model.field.mul(poly_of(hash), model.mul(s, model.G).x) % domain.scalar_bound();
            if (r == 0 || coefficient(r, 0))
                continue;
            const Bytes sig = signature_bytes(domain, {r, s});
            EXPECT_EQ(dstu_verify(domain, size_of(zero), zero.data(), 160, hash.data(),
                                  size_of(sig), sig.data()),
                      0);
            forged++;
        }
        EXPECT_EQ(forged, 1);
    });
}

// Both sign with e: s - s' = d (r - r').
TEST(Dstu4145, TwoSignaturesOfACopiedPoolGiveTheKeyAway)
{
    in_every_domain([](TestDomain &domain) {
        Pool pool(domain);
        const mpz_class d = poly_of(Random().bytes(domain.key_len())) % domain.scalar_bound();
        const Bytes priv = bytes_of(d, domain.key_len());
        while (dstu_bspool_step(pool) == 0) {
        }
        const auto copy = std::make_unique<dstu_bspool>(*pool.pool);
        mpz_class r[2], s[2];
        for (const size_t i : {0U, 1U}) {
            const Bytes hash(20, static_cast<uint8_t>(i + 1));
            Bytes sig(domain.sig_len());
            auto sig_len = size_of(sig);
            ASSERT_EQ(dstu_sign(domain, i == 0 ? pool.pool.get() : copy.get(), size_of(priv),
                                priv.data(), 160, hash.data(), &sig_len, sig.data()),
                      0);
            const auto half = sig.begin() + static_cast<long>(sig.size() / 2);
            r[i] = poly_of(Bytes(sig.begin(), half));
            s[i] = poly_of(Bytes(half, sig.end()));
        }
        const mpz_class &n = domain.model().n;
        mpz_class difference = (n + r[0] - r[1]) % n;
        ASSERT_NE(mpz_invert(difference.get_mpz_t(), difference.get_mpz_t(), n.get_mpz_t()), 0);
        EXPECT_EQ((n + s[0] - s[1]) * difference % n, d);
    });
}

TEST(Dstu4145, FailedAttemptsKeepTheProduct)
{
    const TestDomain domain(model_curve("m163"));
    const ModelCurve &model = domain.model();
    Pool pool(domain);
    const mpz_class e1 = 1000003, e2("123456789012345678901234567890");
    const Bytes hash(20, 0x5a);
    // A private key for which s is zero at the first attempt: d = -e / r.
    const Poly h = model.field.mul(poly_of(hash), model.mul(e1, model.G).x);
    const mpz_class r = h % domain.scalar_bound();
    mpz_class d;
    ASSERT_NE(mpz_invert(d.get_mpz_t(), r.get_mpz_t(), model.n.get_mpz_t()), 0);
    d = (model.n - e1) * d % model.n;
    mpz_class other = e1;
    // It must be short enough to be a key.
    for (; d >= domain.scalar_bound() || d == 0; other++) {
        const Poly product = model.field.mul(poly_of(hash), model.mul(other, model.G).x);
        const mpz_class value = product % domain.scalar_bound();
        mpz_invert(d.get_mpz_t(), value.get_mpz_t(), model.n.get_mpz_t());
        d = (model.n - other) * d % model.n;
        if (d < domain.scalar_bound() && d != 0)
            break;
    }
    const Bytes priv = bytes_of(d, domain.key_len());
    Source::queue = {0, other, e2}; // infinity, s = 0, success
    Bytes sig(domain.sig_len());
    auto sig_len = size_of(sig);
    ASSERT_EQ(
        dstu_sign(domain, pool, size_of(priv), priv.data(), 160, hash.data(), &sig_len, sig.data()),
        0);
    EXPECT_EQ(Source::calls, 3U);
    EXPECT_EQ(sig, signature_bytes(domain, model_sign(domain, d, poly_of(hash), {0, other, e2})));
}

// A product with the hash of which no bit below the order's topmost one is left: r is zero.
TEST(Dstu4145, FailedAttemptsWithoutR)
{
    in_every_domain([](TestDomain &domain) {
        const ModelCurve &model = domain.model();
        const ModelField &f = model.field;
        Pool pool(domain);
        const mpz_class d = 77, e1 = 1000003, e2("123456789012345678901234567890");
        const Poly h = f.mul(domain.scalar_bound(), f.inv(model.mul(e1, model.G).x));
        const Bytes priv = bytes_of(d, domain.key_len()), hash = bytes_of(h, domain.field_len());
        Source::queue = {e1, e2};
        Bytes sig(domain.sig_len());
        auto sig_len = size_of(sig);
        ASSERT_EQ(dstu_sign(domain, pool, size_of(priv), priv.data(), static_cast<int32_t>(f.m),
                            hash.data(), &sig_len, sig.data()),
                  0);
        EXPECT_EQ(Source::calls, 2U);
        EXPECT_EQ(sig, signature_bytes(domain, model_sign(domain, d, h, {e1, e2})));
    });
}

// Twice the order of the base point is accepted as its order; what is proper for odd orders alone
// then has to be done otherwise.
TEST(Dstu4145, EvenOrders)
{
    Random random;
    size_t found = 0;
    for (ModelCurve model : model_curves()) {
        if (model.name == "m163x" || length(model.n) + 1 > model.field.m)
            continue;
        SCOPED_TRACE(model.name);
        found++;
        model.n *= 2;
        const TestDomain domain(model);
        Pool pool(domain);
        for (int round = 0; round < 4; round++) {
            const mpz_class d = round == 0 ? mpz_class(model.n / 2)
                                           : mpz_class(1 + poly_of(random.bytes(domain.key_len())) %
                                                               (domain.scalar_bound() - 1));
            Source::queue = {d};
            Bytes priv(domain.key_len()), pub(domain.field_len());
            auto priv_len = size_of(priv), pub_len = size_of(pub);
            ASSERT_EQ(dstu_gen_keys(domain, pool, &priv_len, priv.data(), &pub_len, pub.data()), 0);
            EXPECT_EQ(poly_of(priv), d % domain.scalar_bound());
            EXPECT_EQ(pub, domain.public_key(poly_of(priv)));

            const Bytes hash = random.bytes(20);
            Bytes sig(domain.sig_len());
            auto sig_len = size_of(sig);
            for (int step = 0; step < 30 * round; step++)
                dstu_bspool_step(pool);
            ASSERT_EQ(dstu_sign(domain, pool, size_of(priv), priv.data(), 160, hash.data(),
                                &sig_len, sig.data()),
                      0);
            const mpz_class e = Source::given[1] % domain.scalar_bound();
            const ModelSignature expected = model_sign(domain, poly_of(priv), poly_of(hash), {e});
            EXPECT_EQ(sig, signature_bytes(domain, expected));
            // The multiple by half of it is infinity, which is no public key.
            if (round > 0) {
                EXPECT_EQ(dstu_verify(domain, size_of(pub), pub.data(), 160, hash.data(),
                                      size_of(sig), sig.data()),
                          0);
            }
            pool = Pool(domain);
        }
    }
    EXPECT_GT(found, 0U);
}

namespace {

// A curve with a base point of odd order from 3 to 9, out of Tate's normal form
// y^2 + (1 + c) xy + b y = x^3 + b x^2, where (0, 0) has that order for the c and b of D. S.
// Kubert, "Universal bounds on the torsion of elliptic curves", 1976, table 3; order 3 has y^2 + xy
// + b y = x^3. For a1, a2 and a3, the base point has x = a3 / a1^3, and the curve has b = (a1^4 a2
// a3^2 + a1^3 a3^3 + a3^4) / a1^12.
ModelCurve curve_with_small_order(const ModelField &f, unsigned order, const Poly &t)
{
    const Poly tt = f.sqr(t), ttt = f.mul(tt, t), one = 1;
    const Poly c = order == 3   ? Poly(0)
                   : order == 5 ? t
                   : order == 7 ? Poly(tt ^ t)
                                : Poly(ttt ^ tt);
    const Poly a3 = order <= 5 ? t : order == 7 ? Poly(ttt ^ tt) : f.mul(c, tt ^ t ^ one);
    const Poly a2 = order == 3 ? Poly(0) : a3, a1 = one ^ c;
    const Poly over = f.inv(a1), over3 = f.mul(over, f.sqr(over)), r = f.mul(a3, over3);
    ModelCurve curve;
    curve.name = "order " + std::to_string(order) + ", m = " + std::to_string(f.m);
    curve.field = f;
    // With r = a3 / a1^3.
    const Poly rr = f.sqr(r);
    curve.b = f.mul(rr, f.mul(a2, f.sqr(over))) ^ f.mul(rr, r) ^ f.sqr(rr);
    // y = x z for z^2 + z = x + a + b / x^2, which has a solution for the a that makes its trace 0.
    Poly w = r ^ f.mul(curve.b, f.inv(rr)), z;
    curve.a = static_cast<uint32_t>(f.trace(w));
    w ^= curve.a;
    for (unsigned i = 0; i < f.m; i += 2) {
        z ^= w;
        w = f.sqr(f.sqr(w));
    }
    curve.G = {false, r, f.mul(r, z)};
    return curve;
}

} // namespace

// A base point of small order is accepted with an odd multiple of its order. Some of the prepared
// multiples are infinity, then, and one-time secrets meet them.
TEST(Dstu4145, SmallOrders)
{
    Random random;
    for (const ModelField &field : model_fields) {
        for (const unsigned order : {3U, 5U, 7U, 9U}) {
            ModelCurve model = curve_with_small_order(field, order, field.random(random) | 2);
            SCOPED_TRACE(model.name);
            ASSERT_TRUE(model.contains(model.G));
            ASSERT_TRUE(model.mul(order, model.G).infinite);
            ASSERT_FALSE(model.mul(order == 9 ? 3 : 1, model.G).infinite);
            // Of m bits.
            model.n = (Poly(1) << (field.m - 1)) + (field.random(random) >> 2);
            model.n = (model.n / order | 1) * order;
            const TestDomain domain(model);
            std::vector<Poly> compressed;
            for (unsigned e = 0; e < order; e++)
                compressed.push_back(model.compress(model.mul(e, model.G)));

            Pool pool(domain);
            for (int round = 0; round < 60; round++) {
                Source::given.clear();
                if (round < 10)
                    Source::queue = {mpz_class(round)};
                for (int step = 0; step < round; step++)
                    dstu_bspool_step(pool);
                qald e[QALBIG_SIZE];
                qal2p point;
                qal2pclear(point, static_cast<int32_t>(field.m));
                ASSERT_EQ(dstu_bspool_get(pool, e, point), 0);
                const mpz_class secret = value_of(e);
                ASSERT_EQ(poly_of(point), compressed.at(mpz_class(secret % order).get_ui()))
                    << secret;
                if (round % 5 == 0)
                    pool = Pool(domain);
            }

            for (int round = 0; round < 4; round++) {
                pool = Pool(domain);
                Bytes priv(domain.key_len()), pub(domain.field_len()), sig(domain.sig_len());
                auto priv_len = size_of(priv), pub_len = size_of(pub), sig_len = size_of(sig);
                ASSERT_EQ(dstu_gen_keys(domain, pool, &priv_len, priv.data(), &pub_len, pub.data()),
                          0);
                const mpz_class d = poly_of(priv);
                const mpz_class opposite = (order - d % order) % order;
                EXPECT_EQ(poly_of(pub), compressed.at(opposite.get_ui()));

                pool = Pool(domain);
                const Bytes hash = random.bytes(20);
                ASSERT_EQ(dstu_sign(domain, pool, size_of(priv), priv.data(), 160, hash.data(),
                                    &sig_len, sig.data()),
                          0);
                std::vector<mpz_class> secrets;
                for (const mpz_class &bytes : Source::given)
                    secrets.push_back(bytes % domain.scalar_bound());
                EXPECT_EQ(sig,
                          signature_bytes(domain, model_sign(domain, d, poly_of(hash), secrets)));
                // A key at infinity cannot be told from that of order 2.
                if (d % order != 0) {
                    EXPECT_EQ(dstu_verify(domain, size_of(pub), pub.data(), 160, hash.data(),
                                          size_of(sig), sig.data()),
                              0);
                }
            }
        }
    }
}

TEST(Dstu4145, PoolStepByStep)
{
    in_every_domain([](TestDomain &domain) {
        const ModelCurve &model = domain.model();
        Pool pool(domain);
        EXPECT_EQ(pool->ctx, domain.ctx.get());
        EXPECT_EQ(pool->rnd, Source::fill);
        EXPECT_EQ(pool->ready, 0U);
        EXPECT_EQ(pool->started, 0U);
        const mpz_class top = domain.scalar_bound();
        // The longest run of zeros, none at all, one window, nothing, whatever comes.
        Source::queue = {top / 2 + 1, top - 1, 63, 0};
        for (uint32_t i = 0; i < 5; i++) {
            const dstu_slot &slot = pool->slot[i];
            EXPECT_EQ(dstu_bspool_step(pool) != 0, i > 0);
            EXPECT_EQ(Source::calls, i + 1);
            EXPECT_EQ(pool->started, (2U << i) - 1);
            EXPECT_EQ(pool->ready, (1U << i) - 1);
            const mpz_class e = Source::given.back() % top;
            EXPECT_EQ(value_of(slot.e), e);
            const uint32_t windows = windows_of(e);
            uint64_t bits = length(e);
            for (uint32_t step = 1; step <= windows; step++) {
                ASSERT_EQ(slot.kp.bits, bits);
                Number number(e);
                int64_t window = 0;
                if (bits > 0)
                    qalgetslide(number, bits - 1, 6, &window);
                bits -= static_cast<uint64_t>(window);
                ASSERT_EQ(dstu_bspool_step(pool) != 0, i > 0 || step == windows) << step;
                ASSERT_EQ(slot.kp.bits, bits) << step;
                ASSERT_EQ(pool->ready >> i & 1, step == windows ? 1U : 0U);
            }
            EXPECT_EQ(Source::calls, i + 1);
            EXPECT_EQ(value_of(slot.e), e);
            EXPECT_EQ(domain.test.model_of(slot.kp.Q), model.mul(e, model.G));
        }
        EXPECT_EQ(pool->ready, 31U);
        EXPECT_NE(dstu_bspool_step(pool), 0);
        EXPECT_EQ(Source::calls, 5U);

        // They are taken from the lowest on, and wiped.
        for (uint32_t i = 0; i < 5; i++) {
            const mpz_class expected = Source::given[i] % top;
            Number e(0, 8);
            qal2p cp;
            std::memset(cp, 0xa5, sizeof cp);
            ASSERT_EQ(dstu_bspool_get(pool, e, cp), 0);
            EXPECT_EQ(value_of(e), expected);
            EXPECT_EQ(cp[0], model.field.words());
            EXPECT_EQ(poly_of(cp), model.compress(model.mul(expected, model.G)));
            EXPECT_EQ(pool->ready, 31U & ~((2U << i) - 1));
            EXPECT_EQ(pool->started, pool->ready);
            EXPECT_TRUE(all_zero(pool->slot[i].e, sizeof pool->slot[i].e));
            EXPECT_TRUE(all_zero(&pool->slot[i].kp.Q, sizeof pool->slot[i].kp.Q));
        }
        // An empty pool does the work of a slot at once.
        Number e(0, 8);
        qal2p cp;
        ASSERT_EQ(dstu_bspool_get(pool, e, cp), 0);
        EXPECT_EQ(Source::calls, 6U);
        EXPECT_EQ(value_of(e), Source::given[5] % top);
        EXPECT_EQ(pool->ready | pool->started, 0U);
        // So it does with one that has been begun, wherever that is.
        for (const int steps : {1, 2, 5, 17, 23}) {
            for (int i = 0; i < steps; i++)
                ASSERT_EQ(dstu_bspool_step(pool), 0);
            EXPECT_EQ(pool->started, 1U);
            const size_t calls = Source::calls;
            ASSERT_EQ(dstu_bspool_get(pool, e, cp), 0);
            EXPECT_EQ(Source::calls, calls);
            EXPECT_EQ(value_of(e), Source::given.back() % top);
            EXPECT_EQ(poly_of(cp), model.compress(model.mul(value_of(e), model.G)));
        }
        // A hole is filled first: slot 0 after 1 was ready.
        Source::queue = {1, 3};
        for (int i = 0; i < 4; i++)
            dstu_bspool_step(pool);
        EXPECT_EQ(pool->ready, 3U);
        dstu_bspool_get(pool, e, cp);
        EXPECT_EQ(value_of(e), 1);
        EXPECT_NE(dstu_bspool_step(pool), 0);
        EXPECT_EQ(pool->started, 3U);
        EXPECT_EQ(pool->ready, 2U);
        dstu_bspool_get(pool, e, cp);
        EXPECT_EQ(value_of(e), 3);
        EXPECT_EQ(pool->started, 1U);
    });
}

TEST(Dstu4145, Statuses)
{
    const TestDomain domain(model_curve("m191"));
    Pool pool(domain);
    EXPECT_EQ(dstu_bspool_init(nullptr, domain, Source::fill), 2);
    dstu_bspool other;
    EXPECT_EQ(dstu_bspool_init(&other, nullptr, Source::fill), 2);
    EXPECT_EQ(dstu_bspool_init(&other, domain, nullptr), 2);

    const auto key_len = static_cast<int32_t>(domain.key_len()),
               field_len = static_cast<int32_t>(domain.field_len()),
               whole = static_cast<int32_t>(domain.sig_len());
    Bytes priv(domain.key_len(), 1), pub(domain.field_len()), sig(domain.sig_len()), hash(20, 3);
    int32_t a = key_len, b = field_len;
    EXPECT_EQ(dstu_gen_keys(nullptr, pool, &a, priv.data(), &b, pub.data()), 2);
    EXPECT_EQ(dstu_gen_keys(domain, nullptr, &a, priv.data(), &b, pub.data()), 2);
    EXPECT_EQ(dstu_gen_keys(domain, pool, nullptr, priv.data(), &b, pub.data()), 2);
    EXPECT_EQ(dstu_gen_keys(domain, pool, &a, nullptr, &b, pub.data()), 2);
    EXPECT_EQ(dstu_gen_keys(domain, pool, &a, priv.data(), nullptr, pub.data()), 2);
    EXPECT_EQ(dstu_gen_keys(domain, pool, &a, priv.data(), &b, nullptr), 2);
    a--;
    EXPECT_EQ(dstu_gen_keys(domain, pool, &a, priv.data(), &b, pub.data()), 2);
    a++;
    b--;
    EXPECT_EQ(dstu_gen_keys(domain, pool, &a, priv.data(), &b, pub.data()), 2);
    EXPECT_EQ(Source::calls, 0U);

    int32_t room = whole;
    const auto sign = [&](int32_t size, int32_t bits) {
        return dstu_sign(domain, pool, size, priv.data(), bits, hash.data(), &room, sig.data());
    };
    EXPECT_EQ(dstu_sign(nullptr, pool, key_len, priv.data(), 160, hash.data(), &room, sig.data()),
              2);
    EXPECT_EQ(dstu_sign(domain, nullptr, key_len, priv.data(), 160, hash.data(), &room, sig.data()),
              2);
    EXPECT_EQ(dstu_sign(domain, pool, key_len, nullptr, 160, hash.data(), &room, sig.data()), 2);
    EXPECT_EQ(dstu_sign(domain, pool, key_len, priv.data(), 160, nullptr, &room, sig.data()), 2);
    EXPECT_EQ(dstu_sign(domain, pool, key_len, priv.data(), 160, hash.data(), nullptr, sig.data()),
              2);
    EXPECT_EQ(dstu_sign(domain, pool, key_len, priv.data(), 160, hash.data(), &room, nullptr), 2);
    EXPECT_EQ(sign(0, 160), 2);
    EXPECT_EQ(sign(-1, 160), 2);
    EXPECT_EQ(sign(key_len + 1, 160), 2);
    EXPECT_EQ(sign(key_len, 0), 2);
    EXPECT_EQ(sign(key_len, -8), 2);
    room = whole - 1;
    EXPECT_EQ(sign(key_len, 160), 2);
    // A wrong length comes before a wrong key.
    priv.assign(domain.key_len(), 0);
    EXPECT_EQ(sign(key_len, 160), 2);
    room = whole;
    EXPECT_EQ(sign(key_len, 160), 6);
    priv.assign(domain.key_len(), 0xff); // of 192 bits, where n has 191
    EXPECT_EQ(sign(key_len, 160), 6);
    priv = bytes_of(domain.scalar_bound(), domain.key_len());
    EXPECT_EQ(sign(key_len, 160), 6);
    EXPECT_EQ(Source::calls, 0U);
    priv = bytes_of(domain.scalar_bound() - 1, domain.key_len());
    EXPECT_EQ(sign(key_len, 160), 0);
    priv = {5};
    EXPECT_EQ(sign(1, 1), 0);

    pub = domain.public_key(5);
    const auto verify = [&](int32_t size, int32_t bits) {
        return dstu_verify(domain, size, pub.data(), bits, hash.data(), whole, sig.data());
    };
    EXPECT_EQ(verify(field_len, 1), 0);
    EXPECT_EQ(dstu_verify(nullptr, field_len, pub.data(), 1, hash.data(), whole, sig.data()), 2);
    EXPECT_EQ(dstu_verify(domain, field_len, nullptr, 1, hash.data(), whole, sig.data()), 2);
    EXPECT_EQ(dstu_verify(domain, field_len, pub.data(), 1, nullptr, whole, sig.data()), 2);
    EXPECT_EQ(dstu_verify(domain, field_len, pub.data(), 1, hash.data(), whole, nullptr), 2);
    EXPECT_EQ(verify(0, 1), 2);
    EXPECT_EQ(verify(field_len + 1, 1), 2);
    EXPECT_EQ(verify(field_len, 0), 2);
    EXPECT_EQ(dstu_verify(domain, 0, pub.data(), 1, hash.data(), whole - 1, sig.data()), 2);
}

TEST(Dstu4145DeathTest, Preconditions)
{
    const TestDomain domain(model_curve("m163"));
    Pool pool(domain);
    qald e[QALBIG_SIZE];
    qal2p cp;
    dstu_ctx ctx;
    const uint8_t b[60] = {1};
    const char degree[] = "((431+7)/8) >= (((((mod_m)+1)+7)/8))";
    EXPECT_PRECONDITION(dstu_init_curve(&ctx, 432, 7, 6, 3, 1, b, 1), degree, path,
                        "dstu_init_curve");
    EXPECT_PRECONDITION(dstu_init_curve(nullptr, 0xffffffff, 7, 6, 3, 1, b, 1), degree, path,
                        "dstu_init_curve");
    EXPECT_EQ(dstu_init_curve(&ctx, 431, 5, 3, 1, 1, b, 54), 0);
    EXPECT_EQ(dstu_init_curve(&ctx, 431, 5, 3, 1, 1, b, 55), 3);
    EXPECT_PRECONDITION(dstu_bspool_get(nullptr, e, cp), "pool != 0", path, "dstu_bspool_get");
    EXPECT_PRECONDITION(dstu_bspool_get(pool, nullptr, cp), "e != 0", path, "dstu_bspool_get");
    EXPECT_PRECONDITION(dstu_bspool_get(pool, e, nullptr), "cp != 0", path, "dstu_bspool_get");
    uint8_t out[64];
    EXPECT_PRECONDITION(dstu_ucpubk(domain, out, b, 25),
                        "(0<*u) && (len <= (*u) * (sizeof(qal2d)))", "../src/ua/qal2poly",
                        "qal2pfromb");
}
