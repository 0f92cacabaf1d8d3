// Signatures and key agreement: published values, codes and their order, and the same computed with
// the general operations on points.
#include "qalec/model.hpp"

#include <qal/g28147.h>
#include <qal/gr341194.h>
#include <qal/vko341001.h>

#include <gtest/gtest.h>

#include <nettle/ecc-curve.h>
#include <nettle/ecc.h>
#include <nettle/gostdsa.h>

#include <thread>

using namespace qal::test;

namespace {

// A context in memory that ends the program when it is written to.
class Context {
public:
    explicit Context(const Domain &domain) : memory_(sizeof(rds_ctx))
    {
        EXPECT_EQ(domain.init(reinterpret_cast<rds_ctx *>(memory_.data())), 0) << domain.name;
        memory_.make_read_only();
    }

    operator const rds_ctx *() { return reinterpret_cast<const rds_ctx *>(memory_.data()); }

private:
    GuardedBytes memory_;
};

Bytes concatenation(const Bytes &a, const Bytes &b)
{
    Bytes both = a;
    both.insert(both.end(), b.begin(), b.end());
    return both;
}

Bytes public_key(const Affine &P)
{
    return P.infinite ? Bytes(64) : concatenation(to_be(P.x), to_be(P.y));
}

// An operation's code and output, which is marked on both sides.
struct Answer {
    int code;
    Bytes out;

    bool operator==(const Answer &other) const { return code == other.code && out == other.out; }
};

template<typename Run>
Answer answer(size_t size, Run run)
{
    MarkedBytes out(Bytes(size, 0xcd), size % 7);
    const int code = run(out.data());
    return {code, out.contents()};
}

Answer refused(int code, size_t size)
{
    return {code, Bytes(size, 0xcd)};
}

Answer gen_keys(const rds_ctx *ctx, const mpz_class &d)
{
    return answer(64, [&](uint8_t *out) { return rds_gen_keys(ctx, to_be(d).data(), out); });
}

Answer gen_pubkey(const rds_ctx *ctx, const mpz_class &d)
{
    return answer(64,
                  [&](uint8_t *out) { return vko341001_gen_pubkey(ctx, to_be(d).data(), out); });
}

Answer sign(const rds_ctx *ctx, const mpz_class &d, const mpz_class &k, const mpz_class &e)
{
    return answer(64, [&](uint8_t *out) {
        return rds_sign(ctx, to_be(d).data(), to_be(k).data(), to_be(e).data(), out);
    });
}

int verify(const rds_ctx *ctx, const Bytes &pubkey, const mpz_class &e, const mpz_class &s,
           const mpz_class &r)
{
    return rds_verify(ctx, pubkey.data(), to_be(e).data(),
                      concatenation(to_be(s), to_be(r)).data());
}

Answer gen_kek(const rds_ctx *ctx, const mpz_class &d, const Bytes &pubkey, const Bytes &ukm)
{
    return answer(32, [&](uint8_t *out) {
        return vko341001_gen_kek(ctx, out, to_be(d).data(), pubkey.data(), ukm.data());
    });
}

// The scheme with the general operations on points.
struct GeneralScheme {
    Domain domain;
    Curve curve;
    qalecpoint G;

    explicit GeneralScheme(const Domain &d) : domain(d), curve(d.curve), G(make_point(&curve, d.G))
    {
    }

    [[nodiscard]] Affine multiple(const mpz_class &k, const qalecpoint &P) const
    {
        qalecpoint R;
        qaleckp(&curve, &R, Number(k), &P);
        return affine(&curve, R);
    }

    [[nodiscard]] Answer keys(const mpz_class &d) const { return {0, public_key(multiple(d, G))}; }

    [[nodiscard]] mpz_class digest(const mpz_class &e) const
    {
        const mpz_class reduced = modulo(e, domain.q);
        return reduced == 0 ? mpz_class(1) : reduced;
    }

    [[nodiscard]] Answer sign(const mpz_class &d, const mpz_class &k, const mpz_class &e) const
    {
        const Affine C = multiple(k, G);
        const mpz_class r = modulo(C.infinite ? mpz_class(0) : C.x, domain.q);
        const mpz_class s = modulo(r * d + k * digest(e), domain.q);
        if (r == 0 || s == 0)
            return refused(2, 64);
        return {0, concatenation(to_be(s), to_be(r))};
    }

    [[nodiscard]] int verify(const Affine &Q, const mpz_class &e, const mpz_class &s,
                             const mpz_class &r) const
    {
        qalfe v;
        qalmodinv(Number(digest(e)), Number(domain.q), v);
        const mpz_class z1 = modulo(s * value_of(v), domain.q),
                        z2 = domain.q - modulo(r * value_of(v), domain.q);
        qalecpoint C = make_point(&curve, Q);
        qalecakp(&curve, &C, Number(z1), &G, Number(z2), &C);
        const Affine sum = affine(&curve, C);
        return modulo(sum.infinite ? mpz_class(0) : sum.x, domain.q) == r ? 0 : 1;
    }

    [[nodiscard]] Answer kek(const mpz_class &d, const Affine &P, const Bytes &ukm) const
    {
        const Affine K = multiple(modulo(d * from_be(ukm), domain.q), make_point(&curve, P));
        return {0, hash(K)};
    }

    // Coordinates with their significant bytes first.
    static Bytes hash(const Affine &K)
    {
        Bytes input(64);
        if (!K.infinite) {
            qaltobase256(input.data(), 32, Number(K.x));
            qaltobase256(input.data() + 32, 32, Number(K.y));
        }
        gr341194_md_ctx ctx;
        Bytes out(32);
        gr341194_md_init_ext(&ctx, CryptoPro_iv, CryptoPro_uz);
        gr341194_md_update(&ctx, input.data(), input.size());
        gr341194_md_final(&ctx, out.data());
        return out;
    }
};

// Curves that nobody chose: over primes of both forms and sizes, with a point of any order, and any
// number for q.
std::vector<Domain> other_domains(Random &random)
{
    std::vector<Domain> domains;
    const mpz_class top = mpz_class(1) << 256;
    // 3 modulo 4, the small and the large of 255 and 256 bits; c of 2 to 64 bits
    const std::vector<mpz_class> moduli{top - 189,
                                        top - 617,
                                        next_prime(top - (mpz_class(1) << 40)),
                                        next_prime(top - (mpz_class(1) << 64)),
                                        next_prime(top - (mpz_class(1) << 65)),
                                        next_prime(top / 4),
                                        next_prime(top / 2 - 1000),
                                        next_prime(top / 2),
                                        next_prime(top / 2 + below(random, top / 2 - 1000)),
                                        next_prime(top / 4 + below(random, top / 4))};
    for (const mpz_class &p : moduli) {
        const auto order = [&] {
            const mpz_class q = top / 4 + below(random, 3 * top / 4);
            return random.below(4) ? mpz_class(q | 1) : mpz_class(q - modulo(q, 2));
        };
        for (const bool minus_3 : {false, true}) {
            const mpz_class a = minus_3 ? mpz_class(p - 3) : below(random, p), x = below(random, p),
                            y = below(random, p);
            domains.push_back({"any", {p, a, modulo(y * y - (x * x + a) * x, p)}, order(), {x, y}});
        }
        for (unsigned n = 4; n <= 10; n++)
            domains.push_back(small_order_domain(p, n, below(random, p), order()));
        // order 2, and infinity
        const mpz_class x = below(random, p), a = below(random, p);
        const mpz_class b = modulo(-(x * x + a) * x, p);
        domains.push_back({"order 2", {p, a, b}, order(), {x, 0}});
        domains.push_back({"infinity", {p, a, b}, order(), {0, 0}});
        // order 3: x = 3 t^2, a = -27 t^4 + 6 t y
        const mpz_class t = below(random, p), y = below(random, p), x3 = modulo(3 * t * t, p),
                        a3 = modulo(6 * t * y - 27 * t * t * t * t, p);
        domains.push_back(
            {"order 3", {p, a3, modulo(y * y - (x3 * x3 + a3) * x3, p)}, order(), {x3, y}});
    }
    for (Domain &domain : domains)
        if (domain.G.x == 0 && domain.G.y == 0)
            domain.G = {};
    return domains;
}

std::vector<Domain> all_domains(Random &random)
{
    std::vector<Domain> domains = published_domains();
    for (Domain &domain : other_domains(random))
        domains.push_back(std::move(domain));
    return domains;
}

// From 1 to bound - 1, often near an edge.
mpz_class secret_below(Random &random, const mpz_class &bound)
{
    switch (random.below(6)) {
    case 0:
        return mpz_class(static_cast<unsigned long>(1 + random.below(64)));
    case 1:
        return bound - static_cast<unsigned long>(1 + random.below(64));
    default:
        return below(random, bound - 1) + 1;
    }
}

const mpz_class two256 = mpz_class(1) << 256;

} // namespace

TEST(Signature, Published)
{
    VectorFile("gost3410/signatures.vec").each("signature", [](Vector &vector) {
        const auto number = [&](const char *name) { return from_be(vector.bytes(name)); };
        const Domain domain = published_domain(vector.text("Curve"));
        Context ctx(domain);
        const mpz_class d = number("D"), e = number("E"), r = number("R"), s = number("S");
        const Bytes pubkey = concatenation(vector.bytes("Qx"), vector.bytes("Qy"));
        const Answer keys = {0, pubkey}, signature = {0, concatenation(to_be(s), to_be(r))};
        EXPECT_EQ(gen_keys(ctx, d), keys);
        EXPECT_EQ(gen_pubkey(ctx, d), keys);
        EXPECT_EQ(sign(ctx, d, number("K"), e), signature);
        EXPECT_EQ(verify(ctx, pubkey, e, s, r), 0);
        EXPECT_EQ(verify(ctx, pubkey, e ^ 1, s, r), 1);
        EXPECT_EQ(verify(ctx, pubkey, e, s ^ 1, r), 1);
        EXPECT_EQ(verify(ctx, pubkey, e, s, r ^ 1), 1);
        const Affine P(number("Qx"), number("Qy"));
        EXPECT_EQ(verify(ctx, public_key(domain.curve.negative(P)), e, s, r), 1);
    });
}

TEST(Signature, ContextHoldsWhatItSays)
{
    Random random;
    for (const Domain &domain : all_domains(random)) {
        SCOPED_TRACE(domain.name);
        rds_ctx ctx;
        std::memset(&ctx, 0xee, sizeof ctx);
        ASSERT_EQ(domain.init(&ctx), 0);
        rds_ctx other;
        std::memset(&other, 0x11, sizeof other);
        ASSERT_EQ(vko341001_init(&other, to_be(domain.curve.p).data(), to_be(domain.curve.a).data(),
                                 to_be(domain.curve.b).data(), to_be(domain.q).data(),
                                 to_be(domain.G.x).data(), to_be(domain.G.y).data()),
                  0);
        EXPECT_EQ(value_of(ctx.curve.field.p), domain.curve.p);
        EXPECT_EQ(plain(&ctx.curve.field, ctx.curve.a), domain.curve.a);
        EXPECT_EQ(plain(&ctx.curve.field, ctx.curve.b), domain.curve.b);
        EXPECT_EQ(ctx.curve.dbl, domain.curve.a + 3 == domain.curve.p ? qalecpd_3 : qalecpd);
        EXPECT_EQ(value_of(ctx.q), domain.q);
        EXPECT_EQ(affine(&ctx.curve, ctx.G), domain.G);
        EXPECT_EQ(ctx.pubkey_len, 64U);
        EXPECT_EQ(ctx.privkey_len, 32U);
        EXPECT_EQ(ctx.sig_len, 64U);
        EXPECT_EQ(ctx.w, 5U);
        for (unsigned i = 0; i < 16; i++) {
            const Affine expected = domain.curve.multiple(2 * i + 1, domain.G);
            EXPECT_EQ(affine(&ctx.curve, ctx.table[i]), expected);
            EXPECT_EQ(affine(&other.curve, other.table[i]), expected);
        }

        Context fixed(domain);
        std::vector<Bytes> read;
        uint8_t *out[6];
        std::vector<std::unique_ptr<MarkedBytes>> buffers;
        for (uint8_t *&pointer : out) {
            buffers.push_back(std::make_unique<MarkedBytes>(Bytes(32, 0xcd)));
            pointer = buffers.back()->data();
        }
        ASSERT_EQ(rds_get_prms(fixed, out[0], out[1], out[2], out[3], out[4], out[5]), 0);
        EXPECT_EQ(buffers[0]->contents(), to_be(domain.curve.p));
        EXPECT_EQ(buffers[1]->contents(), to_be(domain.curve.a));
        EXPECT_EQ(buffers[2]->contents(), to_be(domain.curve.b));
        EXPECT_EQ(buffers[3]->contents(), to_be(domain.q));
        EXPECT_EQ(buffers[4]->contents(), to_be(domain.G.x));
        EXPECT_EQ(buffers[5]->contents(), to_be(domain.G.y));
    }
}

TEST(Signature, CodesOfInit)
{
    const Domain good = published_domain("cryptopro-b");
    const CurveModel &curve = good.curve;
    const Bytes p = to_be(curve.p), a = to_be(curve.a), b = to_be(curve.b), q = to_be(good.q),
                x = to_be(good.G.x), y = to_be(good.G.y);
    rds_ctx ctx;
    EXPECT_EQ(rds_init(nullptr, p.data(), a.data(), b.data(), q.data(), x.data(), y.data()), 7);
    for (size_t missing = 0; missing < 6; missing++) {
        // What is wrong besides does not count.
        Bytes zero(32);
        const uint8_t *arguments[6] = {zero.data(), zero.data(), zero.data(),
                                       zero.data(), zero.data(), zero.data()};
        arguments[missing] = nullptr;
        std::memset(&ctx, 0xee, sizeof ctx);
        const rds_ctx before = ctx;
        for (const auto init : {rds_init, vko341001_init})
            EXPECT_EQ(init(&ctx, arguments[0], arguments[1], arguments[2], arguments[3],
                           arguments[4], arguments[5]),
                      7);
        EXPECT_EQ(std::memcmp(&ctx, &before, sizeof ctx), 0);
    }

    const auto code = [&](const Domain &domain) { return domain.init(&ctx); };
    const auto with = [&](auto change) {
        Domain domain = good;
        change(domain);
        return domain;
    };
    EXPECT_EQ(code(good), 0);
    const Domain bad_rest = with([](Domain &d) {
        d.G.x = d.curve.p;
        d.q = 1;
    });
    for (const Domain &base : {good, bad_rest}) {
        const auto with_curve = [&](const mpz_class &np, const mpz_class &na, const mpz_class &nb) {
            Domain domain = base;
            domain.curve = {np, na, nb};
            return code(domain);
        };
        EXPECT_EQ(with_curve(0, curve.a, curve.b), 3);
        EXPECT_EQ(with_curve(curve.p + 1, curve.a, curve.b), 3);
        EXPECT_EQ(with_curve((mpz_class(1) << 254) - 1, 5, 6), 3);
        EXPECT_EQ(with_curve(curve.p, 0, curve.b), 3);
        EXPECT_EQ(with_curve(curve.p, curve.p, curve.b), 3);
        EXPECT_EQ(with_curve(curve.p, two256 - 1, curve.b), 3);
        EXPECT_EQ(with_curve(curve.p, curve.a, 0), 3);
        EXPECT_EQ(with_curve(curve.p, curve.a, curve.p), 3);
    }
    for (const mpz_class &order : {good.q, mpz_class(0)}) {
        const auto with_point = [&](const mpz_class &nx, const mpz_class &ny) {
            return code(with([&](Domain &d) {
                d.q = order;
                d.G = {nx, ny};
            }));
        };
        EXPECT_EQ(with_point(good.G.x, good.G.y + 1), 4);
        EXPECT_EQ(with_point(curve.p + good.G.x, good.G.y), 4);
        EXPECT_EQ(with_point(good.G.x, curve.p), 4);
        EXPECT_EQ(with_point(curve.p, 0), 4);
    }
    const mpz_class quarter = mpz_class(1) << 254;
    const auto with_order = [&](const mpz_class &order) {
        return code(with([&](Domain &d) { d.q = order; }));
    };
    EXPECT_EQ(with_order(0), 8);
    EXPECT_EQ(with_order(quarter / 2), 8);
    EXPECT_EQ(with_order(quarter - 2), 8);
    EXPECT_EQ(with_order(quarter - 1), 0);
    EXPECT_EQ(with_order(quarter), 0);
    EXPECT_EQ(with_order(two256 - 1), 0);
    EXPECT_EQ(code(with([](Domain &d) { d.G = {0, 0}; })), 0);
    EXPECT_EQ(ctx.G.Z[0], 0U);
    // 255 bits are the fewest: 2^254 + 79 is prime
    EXPECT_EQ(code({"", {next_prime(quarter), 1, 1}, quarter, {0, 1}}), 0);
}

TEST(Signature, CodesAndTheirOrder)
{
    const Domain domain = published_domain("cryptopro-c");
    const mpz_class &p = domain.curve.p, &q = domain.q;
    ASSERT_LT(q, p);
    Context ctx(domain);
    const Bytes zero(32), bytes(64);
    uint8_t out[64];

    EXPECT_EQ(rds_gen_keys(nullptr, zero.data(), out), 7);
    EXPECT_EQ(rds_gen_keys(ctx, nullptr, out), 7);
    EXPECT_EQ(rds_gen_keys(ctx, zero.data(), nullptr), 7);
    EXPECT_EQ(vko341001_gen_pubkey(nullptr, zero.data(), out), 7);
    EXPECT_EQ(vko341001_gen_pubkey(ctx, nullptr, out), 7);
    EXPECT_EQ(vko341001_gen_pubkey(ctx, zero.data(), nullptr), 7);
    for (const mpz_class &d : {mpz_class(0), q, mpz_class(q + 1), mpz_class(two256 - 1)}) {
        EXPECT_EQ(gen_keys(ctx, d), refused(2, 64));
        EXPECT_EQ(gen_pubkey(ctx, d), refused(6, 64));
        // 6 comes before what is wrong with k.
        EXPECT_EQ(sign(ctx, d, 0, 1), refused(6, 64));
        EXPECT_EQ(sign(ctx, 1, d, 1), refused(2, 64));
    }
    EXPECT_EQ(gen_keys(ctx, q - 1).code, 0);
    EXPECT_EQ(gen_pubkey(ctx, q - 1).code, 0);
    // k = q - 1 would give the abscissa of the base point, which is 0 on this curve.
    EXPECT_EQ(sign(ctx, q - 1, q - 2, 1).code, 0);

    EXPECT_EQ(rds_sign(nullptr, zero.data(), zero.data(), zero.data(), out), 7);
    EXPECT_EQ(rds_sign(ctx, nullptr, zero.data(), zero.data(), out), 7);
    EXPECT_EQ(rds_sign(ctx, zero.data(), nullptr, zero.data(), out), 7);
    EXPECT_EQ(rds_sign(ctx, zero.data(), zero.data(), nullptr, out), 7);
    EXPECT_EQ(rds_sign(ctx, zero.data(), zero.data(), zero.data(), nullptr), 7);

    EXPECT_EQ(rds_verify(nullptr, bytes.data(), zero.data(), bytes.data()), 7);
    EXPECT_EQ(rds_verify(ctx, nullptr, zero.data(), bytes.data()), 7);
    EXPECT_EQ(rds_verify(ctx, bytes.data(), nullptr, bytes.data()), 7);
    EXPECT_EQ(rds_verify(ctx, bytes.data(), zero.data(), nullptr), 7);
    const Affine &G = domain.G;
    const std::vector<Affine> bad_keys{{G.x, G.y + 1}, {G.x + 1, G.y},           {p, G.y},
                                       {G.x, p},       {two256 - 1, two256 - 1}, {0, p}};
    for (const Affine &Q : bad_keys) {
        EXPECT_EQ(verify(ctx, public_key(Q), 1, 0, 0), 5);
        EXPECT_EQ(verify(ctx, public_key(Q), 1, 1, 1), 5);
    }
    for (const Affine &Q : {G, Affine()}) {
        for (const mpz_class &bad : {mpz_class(0), q, mpz_class(two256 - 1)}) {
            EXPECT_EQ(verify(ctx, public_key(Q), 1, bad, 1), 1);
            EXPECT_EQ(verify(ctx, public_key(Q), 1, 1, bad), 1);
        }
    }

    const Bytes ukm = from_hex("0000000000000001"), no_ukm(8);
    EXPECT_EQ(vko341001_gen_kek(nullptr, nullptr, zero.data(), bytes.data(), ukm.data()), 7);
    EXPECT_EQ(vko341001_gen_kek(nullptr, out, nullptr, bytes.data(), ukm.data()), 7);
    EXPECT_EQ(vko341001_gen_kek(nullptr, out, zero.data(), nullptr, ukm.data()), 7);
    EXPECT_EQ(vko341001_gen_kek(nullptr, out, zero.data(), bytes.data(), nullptr), 7);
    for (const Affine &Q : bad_keys)
        EXPECT_EQ(gen_kek(ctx, 0, public_key(Q), no_ukm), refused(5, 32));
    for (const mpz_class &d : {mpz_class(0), p, mpz_class(two256 - 1)})
        EXPECT_EQ(gen_kek(ctx, d, public_key(G), no_ukm), refused(6, 32));
    EXPECT_EQ(gen_kek(ctx, 1, public_key(G), no_ukm), refused(9, 32));
    EXPECT_EQ(gen_kek(ctx, p - 1, public_key(G), ukm).code, 0);

    for (size_t missing = 0; missing < 7; missing++) {
        uint8_t buffers[6][32];
        uint8_t *arguments[6];
        for (size_t i = 0; i < 6; i++)
            arguments[i] = i == missing ? nullptr : buffers[i];
        EXPECT_EQ(rds_get_prms(missing == 6 ? nullptr : static_cast<const rds_ctx *>(ctx),
                               arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                               arguments[5]),
                  7);
    }
}

TEST(Signature, DigestsAreReduced)
{
    for (const Domain &domain : published_domains()) {
        Context ctx(domain);
        const Answer one = sign(ctx, 1234567, 7654321, 1);
        const Bytes pubkey = gen_keys(ctx, 1234567).out;
        const mpz_class s = from_be({one.out.begin(), one.out.begin() + 32}),
                        r = from_be({one.out.begin() + 32, one.out.end()});
        for (mpz_class e = 0; e < two256; e += domain.q) {
            EXPECT_EQ(sign(ctx, 1234567, 7654321, e), one);
            EXPECT_EQ(verify(ctx, pubkey, e, s, r), 0);
            if (e + 1 < two256) {
                EXPECT_EQ(sign(ctx, 1234567, 7654321, e + 1), one);
                EXPECT_EQ(verify(ctx, pubkey, e + 1, s, r), 0);
            }
        }
    }
    // An order so small that four of it fit: the digest is 0 modulo the order all the same.
    Domain domain = published_domain("cryptopro-a");
    domain.q = (mpz_class(1) << 254) - 1;
    Context ctx(domain);
    EXPECT_EQ(sign(ctx, 5, 7, 4 * domain.q), sign(ctx, 5, 7, 1));
    EXPECT_EQ(sign(ctx, 5, 7, two256 - 1), sign(ctx, 5, 7, 3));
}

TEST(Signature, AnotherSecretIsAskedFor)
{
    Domain domain = published_domain("cryptopro-a");
    const mpz_class k("123456789abcdef123456789abcdef123456789abcdef", 16), d = 77777;
    const Affine C = domain.curve.multiple(k, domain.G);
    {
        // s = r d + k e = 0
        Context ctx(domain);
        const mpz_class e = modulo(-C.x * d * inverse(k, domain.q), domain.q);
        EXPECT_EQ(sign(ctx, d, k, e), refused(2, 64));
        EXPECT_EQ(sign(ctx, d, k, e + 1).code, 0);
    }
    {
        // r = x(C) mod q = 0
        ASSERT_GT(C.x, mpz_class(1) << 254);
        domain.q = C.x;
        Context ctx(domain);
        EXPECT_EQ(sign(ctx, d, k, 1), refused(2, 64));
    }
    // C at infinity
    domain.G = {0, 0};
    Context ctx(domain);
    EXPECT_EQ(sign(ctx, d, k, 1), refused(2, 64));
}

TEST(Signature, BuffersMayBeShared)
{
    Random random;
    const Domain domain = published_domain("gost-test");
    Context ctx(domain);
    const mpz_class d = below(random, domain.q), k = below(random, domain.q),
                    e = below(random, domain.q);
    const Answer keys = gen_keys(ctx, d), signature = sign(ctx, d, k, e);
    MarkedBytes buffer(concatenation(to_be(d), to_be(k)));
    EXPECT_EQ(rds_gen_keys(ctx, buffer.data(), buffer.data()), 0);
    EXPECT_EQ(buffer.contents(), keys.out);
    MarkedBytes both(concatenation(to_be(d), to_be(k)));
    EXPECT_EQ(rds_sign(ctx, both.data(), both.data() + 32, to_be(e).data(), both.data()), 0);
    EXPECT_EQ(both.contents(), signature.out);
    const Bytes ukm = from_hex("0123456789abcdef");
    MarkedBytes kek(keys.out);
    EXPECT_EQ(vko341001_gen_kek(ctx, kek.data(), to_be(d).data(), kek.data(), ukm.data()), 0);
    const Bytes shared = kek.contents();
    EXPECT_EQ(Bytes(shared.begin(), shared.begin() + 32), gen_kek(ctx, d, keys.out, ukm).out);
}

TEST(Signature, AgreesWithGeneralOperations)
{
    Random random;
    for (const Domain &domain : all_domains(random)) {
        SCOPED_TRACE(domain.name + ", p = " + domain.curve.p.get_str(16) +
                     ", q = " + domain.q.get_str(16));
        const GeneralScheme general(domain);
        Context ctx(domain);
        for (int round = 0; round < 12; round++) {
            const mpz_class d = secret_below(random, domain.q), k = secret_below(random, domain.q),
                            e = random_number(random, random.below(5));
            const Answer keys = gen_keys(ctx, d), signature = sign(ctx, d, k, e);
            ASSERT_EQ(keys, general.keys(d));
            ASSERT_EQ(gen_pubkey(ctx, d), keys);
            ASSERT_EQ(signature, general.sign(d, k, e));
            mpz_class s = secret_below(random, domain.q), r = secret_below(random, domain.q);
            const Affine Q = general.multiple(random.below(4) ? d : k, general.G);
            ASSERT_EQ(verify(ctx, public_key(Q), e, s, r), general.verify(Q, e, s, r));
            if (signature.code == 0) {
                s = from_be({signature.out.begin(), signature.out.begin() + 32});
                r = from_be({signature.out.begin() + 32, signature.out.end()});
                // Valid, if q is the order; if not, the answers must still be the same.
                ASSERT_EQ(verify(ctx, public_key(Q), e, s, r), general.verify(Q, e, s, r));
                ASSERT_EQ(verify(ctx, Bytes(64), e, s, r), general.verify({}, e, s, r));
            }
            const Bytes ukm = to_be(mpz_class(static_cast<unsigned long>(random.word() | 1)), 8);
            const mpz_class any = secret_below(random, domain.curve.p);
            ASSERT_EQ(gen_kek(ctx, any, public_key(Q), ukm), general.kek(any, Q, ukm));
        }
    }
}

// What is right modulo q counts in its range alone.
TEST(Signature, RightModuloTheOrderButOutOfRange)
{
    for (const Domain &domain : published_domains()) {
        SCOPED_TRACE(domain.name);
        Context ctx(domain);
        const mpz_class &q = domain.q, d = 1234567, k = 7654321;
        const Bytes pubkey = gen_keys(ctx, d).out;
        const mpz_class r = modulo(domain.curve.multiple(k, domain.G).x, q);
        // s = r d + k e
        const auto digest_for = [&](const mpz_class &s) {
            return modulo((s - r * d) * inverse(k, q), q);
        };
        EXPECT_EQ(verify(ctx, pubkey, digest_for(1), 1, r), 0);
        EXPECT_EQ(verify(ctx, pubkey, digest_for(1), q + 1, r), 1);
        EXPECT_EQ(verify(ctx, pubkey, digest_for(0), 0, r), 1);
        EXPECT_EQ(verify(ctx, pubkey, digest_for(0), q, r), 1);
    }
    // r = x(C) mod q = 0, where C = s/e G for a public key at infinity
    Domain domain = published_domain("cryptopro-a");
    domain.q = domain.curve.multiple(99, domain.G).x;
    ASSERT_GT(domain.q, mpz_class(1) << 254);
    Context ctx(domain);
    EXPECT_EQ(verify(ctx, Bytes(64), 1, 99, 0), 1);
    EXPECT_EQ(verify(ctx, Bytes(64), 1, 99, domain.q), 1);
}

// A coordinate that is not below p is refused though it is right modulo p.
TEST(Signature, RightModuloTheFieldButOutOfRange)
{
    Random random;
    for (const mpz_class &p : {mpz_class(two256 - 189), next_prime(two256 / 2)}) {
        const mpz_class a = 7, small = below(random, two256 - p), large = below(random, p);
        for (const Affine &P : {Affine(small, large), Affine(large, small)}) {
            const mpz_class b = modulo(P.y * P.y - (P.x * P.x + a) * P.x, p);
            Context ctx(Domain{"", {p, a, b}, two256 - 1, P});
            const Bytes ukm = from_hex("0000000000000001"),
                        beyond = public_key(P.x == small ? Affine(small + p, large)
                                                         : Affine(large, small + p));
            EXPECT_EQ(gen_kek(ctx, 1, public_key(P), ukm).code, 0);
            EXPECT_EQ(gen_kek(ctx, 1, beyond, ukm), refused(5, 32));
            EXPECT_NE(verify(ctx, public_key(P), 1, 1, 1), 5);
            EXPECT_EQ(verify(ctx, beyond, 1, 1, 1), 5);
        }
    }
}

TEST(Signature, VerifiesWhatIsValidAlone)
{
    Random random;
    for (const Domain &domain : published_domains()) {
        Context ctx(domain);
        for (int round = 0; round < 50; round++) {
            const mpz_class d = secret_below(random, domain.q), k = secret_below(random, domain.q),
                            e = random_number(random, random.below(5));
            const Bytes pubkey = gen_keys(ctx, d).out;
            const Answer signature = sign(ctx, d, k, e);
            ASSERT_EQ(signature.code, 0);
            ASSERT_EQ(rds_verify(ctx, pubkey.data(), to_be(e).data(), signature.out.data()), 0);
            Bytes changed = signature.out;
            changed[random.below(64)] ^= static_cast<uint8_t>(1U << random.below(8));
            ASSERT_EQ(rds_verify(ctx, pubkey.data(), to_be(e).data(), changed.data()), 1);
        }
    }
}

// A public key at infinity leaves C = z1 G = (s / e) G: whoever knows no private key signs for it.
TEST(Signature, PublicKeyAtInfinity)
{
    const Domain domain = published_domain("cryptopro-a");
    Context ctx(domain);
    const mpz_class r = modulo(domain.curve.multiple(99, domain.G).x, domain.q);
    EXPECT_EQ(verify(ctx, Bytes(64), 3, 3 * 99, r), 0);
    EXPECT_EQ(verify(ctx, Bytes(64), 3, 3 * 98, r), 1);
}

// An abscissa from q to p - 1 counts as its remainder.
TEST(Signature, AbscissaAboveTheOrder)
{
    // p = 3 modulo 4; of the abscissas between q and p half are on the curve.
    const mpz_class top = two256, p = top - 189, q = top / 2 + 12345;
    const mpz_class a = 5, b = 9;
    mpz_class x = q + 1000, y;
    while (!square_root(y, modulo((x * x + a) * x + b, p), p))
        x++;
    Domain domain{"", {p, a, b}, q, {x, y}};
    Context ctx(domain);
    const Answer signature = sign(ctx, 3, 1, 1);
    ASSERT_EQ(signature.code, 0);
    EXPECT_EQ(from_be({signature.out.begin() + 32, signature.out.end()}), x - q);
    // C = G for s = e, and the key at infinity
    EXPECT_EQ(verify(ctx, Bytes(64), 7, 7, x - q), 0);
    EXPECT_EQ(verify(ctx, Bytes(64), 7, 7, x - q + 1), 1);
    EXPECT_EQ(verify(ctx, Bytes(64), 7, 7, x), 1);
    domain.q = (mpz_class(1) << 254) + 1; // three times below p
    Context smaller(domain);
    const mpz_class r = modulo(x, domain.q);
    EXPECT_EQ(verify(smaller, Bytes(64), 1, 1, r), 0);
}

// Verification and key agreement work from the base point itself.
TEST(KeyAgreement, ContextsTableIsForKeysAndSignaturesAlone)
{
    Random random;
    for (const Domain &domain : published_domains()) {
        SCOPED_TRACE(domain.name);
        rds_ctx ctx, other;
        ASSERT_EQ(domain.init(&ctx), 0);
        const mpz_class d = secret_below(random, domain.q), k = secret_below(random, domain.q),
                        e = random_number(random, 4);
        const Bytes pubkey = gen_keys(&ctx, d).out, peer = gen_keys(&ctx, k).out;
        const Answer signature = sign(&ctx, d, k, e);
        ASSERT_EQ(signature.code, 0);
        Bytes changed = signature.out;
        changed[random.below(64)] ^= 1;
        const Bytes ukm = to_be(mpz_class(static_cast<unsigned long>(random.word() | 1)), 8);
        const Answer kek = gen_kek(&ctx, d, peer, ukm);

        const Bytes noise = random.bytes(sizeof ctx.table);
        for (int round = 0; round < 3; round++) {
            other = ctx;
            if (round == 0)
                std::memset(other.table, 0, sizeof other.table);
            else if (round == 1)
                std::memcpy(other.table, noise.data(), noise.size());
            else // the multiples of another point
                qalecic(&other.curve, other.table, &ctx.table[1], 5);
            EXPECT_EQ(rds_verify(&other, pubkey.data(), to_be(e).data(), signature.out.data()), 0);
            EXPECT_EQ(rds_verify(&other, pubkey.data(), to_be(e).data(), changed.data()), 1);
            EXPECT_EQ(gen_pubkey(&other, d), (Answer{0, pubkey}));
            EXPECT_EQ(gen_kek(&other, d, peer, ukm), kek);
        }
    }
}

TEST(KeyAgreement, BothSidesAgree)
{
    Random random;
    for (const Domain &domain : published_domains()) {
        Context ctx(domain);
        for (int round = 0; round < 20; round++) {
            const mpz_class bound = std::min(domain.q, domain.curve.p),
                            a = secret_below(random, bound), b = secret_below(random, bound);
            const Bytes ukm = to_be(mpz_class(static_cast<unsigned long>(random.word() | 1)), 8);
            const Answer kek = gen_kek(ctx, a, gen_keys(ctx, b).out, ukm);
            ASSERT_EQ(kek.code, 0);
            ASSERT_EQ(gen_kek(ctx, b, gen_keys(ctx, a).out, ukm), kek);
        }
    }
}

TEST(KeyAgreement, InfinityIsHashedAsZeros)
{
    const Domain domain = published_domain("cryptopro-b");
    Context ctx(domain);
    const Answer kek = gen_kek(ctx, 5, Bytes(64), from_hex("00000000000000ff"));
    EXPECT_EQ(kek.code, 0);
    EXPECT_EQ(kek.out, GeneralScheme::hash({}));
}

// A public key of order 2 leaves two secrets to agree on, told by the parity of the private key.
TEST(KeyAgreement, KeysOfSmallOrderAreAccepted)
{
    Random random;
    const Domain published = published_domain("cryptopro-a");
    const mpz_class &p = published.curve.p;
    const mpz_class x = below(random, p), a = below(random, p), b = modulo(-(x * x + a) * x, p);
    const Domain domain = {"order 2", {p, a, b}, published.q, {x, 0}};
    Context ctx(domain);
    const Bytes key = concatenation(to_be(x), Bytes(32)), ukm = from_hex("0000000000000001");
    for (const int d : {1, 2, 1001, 1002}) {
        const Answer kek = gen_kek(ctx, d, key, ukm);
        EXPECT_EQ(kek.code, 0);
        EXPECT_EQ(kek.out, GeneralScheme::hash(d % 2 != 0 ? Affine{x, 0} : Affine{}));
    }
}

// Coordinates with zero bytes at the top, which do not go into the hash there but at the end.
TEST(KeyAgreement, ShortCoordinates)
{
    const mpz_class p = two256 - 189, a = 7;
    Random random;
    for (size_t bits = 0; bits <= 256; bits++) {
        // A point with that coordinate, on the curve with the b that it takes; d = 1 leaves it.
        const mpz_class coordinate =
            bits == 0 ? mpz_class(0)
                      : (mpz_class(1) << (bits - 1)) + below(random, mpz_class(1) << (bits - 1));
        const mpz_class other = below(random, p);
        for (const Affine &P :
             {Affine(modulo(coordinate, p), other), Affine(other, modulo(coordinate, p))}) {
            const mpz_class b = modulo(P.y * P.y - (P.x * P.x + a) * P.x, p);
            Context ctx(Domain{"", {p, a, b}, two256 - 1, P});
            const Answer kek = gen_kek(ctx, 1, public_key(P), from_hex("0000000000000001"));
            ASSERT_EQ(kek.code, 0);
            ASSERT_EQ(kek.out, GeneralScheme::hash(P)) << bits;
        }
    }
}

// The private key's bound is p, here above q.
TEST(KeyAgreement, PrivateKeysFromTheOrderToTheModulus)
{
    Random random;
    const Domain domain = published_domain("cryptopro-c");
    Context ctx(domain);
    const Bytes ukm = from_hex("fedcba9876543210");
    for (int round = 0; round < 20; round++) {
        const mpz_class d = domain.q + below(random, domain.curve.p - domain.q);
        const Bytes peer = gen_keys(ctx, 4711).out;
        EXPECT_EQ(gen_pubkey(ctx, d), refused(6, 64));
        const Answer kek = gen_kek(ctx, d, peer, ukm);
        EXPECT_EQ(kek.code, 0);
        const mpz_class t = modulo(d * from_be(ukm), domain.q);
        EXPECT_EQ(kek.out,
                  GeneralScheme::hash(domain.curve.multiple(modulo(4711 * t, domain.q), domain.G)));
    }
}

// The shared point as nettle computes it.
TEST(KeyAgreement, AgreesWithNettle)
{
    Random random;
    const Domain domain = published_domain("cryptopro-a");
    Context ctx(domain);
    const struct ecc_curve *const curve = nettle_get_gost_gc256b();
    for (int round = 0; round < 20; round++) {
        const mpz_class d = secret_below(random, domain.q);
        const Bytes ukm = to_be(mpz_class(static_cast<unsigned long>(random.word() | 1)), 8),
                    peer = gen_keys(ctx, secret_below(random, domain.q)).out;
        struct ecc_scalar key;
        struct ecc_point point;
        ecc_scalar_init(&key, curve);
        ecc_point_init(&point, curve);
        const mpz_class x = from_be({peer.begin(), peer.begin() + 32}),
                        y = from_be({peer.begin() + 32, peer.end()});
        ASSERT_EQ(ecc_scalar_set(&key, d.get_mpz_t()), 1);
        ASSERT_EQ(ecc_point_set(&point, x.get_mpz_t(), y.get_mpz_t()), 1);
        Bytes shared(64);
        const Bytes factor = reversed(ukm);
        gostdsa_vko(&key, &point, factor.size(), factor.data(), shared.data());
        const Bytes kx(shared.begin(), shared.begin() + 32), ky(shared.begin() + 32, shared.end());
        ASSERT_EQ(gen_kek(ctx, d, peer, ukm).out,
                  GeneralScheme::hash({from_be(reversed(kx)), from_be(reversed(ky))}));
        ecc_point_clear(&point);
        ecc_scalar_clear(&key);
    }
}

// One context serves several threads at once: it lies in memory that nobody can write.
TEST(Signature, OneContextServesThreads)
{
    const Domain domain = published_domain("cryptopro-a");
    Context ctx(domain);
    const rds_ctx *const shared = ctx;
    const auto work = [shared](unsigned seed) {
        Bytes log;
        for (unsigned i = 1; i <= 20; i++) {
            const mpz_class d = seed * 1000 + i, k = d * d * d + 1;
            const Bytes ukm = to_be(mpz_class(d), 8), pubkey = gen_keys(shared, d).out;
            const Answer signature = sign(shared, d, k, k + 5);
            log = concatenation(log, signature.out);
            log.push_back(static_cast<uint8_t>(
                rds_verify(shared, pubkey.data(), to_be(k + 5).data(), signature.out.data())));
            log = concatenation(log, gen_kek(shared, d, pubkey, ukm).out);
            Bytes prms(192);
            log.push_back(static_cast<uint8_t>(rds_get_prms(shared, &prms[0], &prms[32], &prms[64],
                                                            &prms[96], &prms[128], &prms[160])));
            log = concatenation(log, prms);
        }
        return log;
    };
    std::vector<Bytes> expected, logs(4);
    for (unsigned seed = 0; seed < 4; seed++)
        expected.push_back(work(seed));
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; seed++)
        threads.emplace_back([&, seed] { logs[seed] = work(seed); });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(logs, expected);
}
