// GOST R 34.10-2001 and VKO: domain parameters, keys, digests, signatures and keying material from
// outside. Codes as documented; where the modulus is prime, results by chord and tangent.
#include "numbers.hpp"
#include "qalec/model.hpp"

#include <qal/g28147.h>
#include <qal/gr341194.h>
#include <qal/vko341001.h>

#include <memory>
#include <tuple>

using namespace qal::fuzz;

namespace {

const std::vector<Domain> &domains()
{
    static const std::vector<Domain> published = published_domains();
    return published;
}

bool is_prime(const mpz_class &x)
{
    return mpz_probab_prime_p(x.get_mpz_t(), 20) != 0;
}

// A number of 32 bytes: next to 0 or to a bound, that of any bytes, or with a bit changed.
mpz_class some_number(Input &in, const mpz_class &near)
{
    const mpz_class two256 = power_of_two(256);
    switch (in.below(5)) {
    case 0:
        return in.byte();
    case 1:
        return modulo(near + (in.byte() - 128), two256);
    case 2:
        return number(in, 4);
    case 3:
        return near ^ power_of_two(in.below(256));
    default:
        return from_be(in.bytes(32));
    }
}

Bytes pair(const mpz_class &a, const mpz_class &b)
{
    Bytes bytes = to_be(a);
    const Bytes more = to_be(b);
    bytes.insert(bytes.end(), more.begin(), more.end());
    return bytes;
}

Bytes key_of(const Affine &P)
{
    return P.infinite ? Bytes(64) : pair(P.x, P.y);
}

// A context of its own memory, which operations must not write to.
class Context {
public:
    Context() : memory_(sizeof(rds_ctx)) {}

    int set_up(const Domain &domain)
    {
        const int code = domain.init(reinterpret_cast<rds_ctx *>(memory_.data()));
        memory_.make_read_only();
        return code;
    }
    operator const rds_ctx *() { return reinterpret_cast<const rds_ctx *>(memory_.data()); }

private:
    GuardedBytes memory_;
};

struct Answer {
    int code;
    Bytes out;

    bool operator==(const Answer &) const = default;
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

// The scheme over a prime field.
struct Scheme {
    Domain domain;
    bool sound; // whether the order is a prime, and so has inverses

    [[nodiscard]] mpz_class digest(const mpz_class &e) const
    {
        const mpz_class reduced = modulo(e, domain.q);
        return reduced == 0 ? mpz_class(1) : reduced;
    }
    [[nodiscard]] bool is_secret(const mpz_class &d) const { return d > 0 && d < domain.q; }

    [[nodiscard]] Answer keys(const mpz_class &d) const
    {
        if (!is_secret(d))
            return refused(2, 64);
        return {0, key_of(domain.curve.multiple(d, domain.G))};
    }
    [[nodiscard]] Answer sign(const mpz_class &d, const mpz_class &k, const mpz_class &e) const
    {
        if (!is_secret(d))
            return refused(6, 64);
        if (!is_secret(k))
            return refused(2, 64);
        const Affine C = domain.curve.multiple(k, domain.G);
        const mpz_class r = modulo(C.infinite ? mpz_class(0) : C.x, domain.q);
        const mpz_class s = modulo(r * d + k * digest(e), domain.q);
        return r == 0 || s == 0 ? refused(2, 64) : Answer{0, pair(s, r)};
    }
    // Whether a key's coordinates are those of a point.
    [[nodiscard]] bool is_key(const Affine &Q) const
    {
        return Q.infinite ||
               (Q.x < domain.curve.p && Q.y < domain.curve.p && domain.curve.contains(Q));
    }
    [[nodiscard]] int verify(const Affine &Q, const mpz_class &e, const mpz_class &s,
                             const mpz_class &r) const
    {
        if (!is_key(Q))
            return 5;
        if (!is_secret(s) || !is_secret(r))
            return 1;
        const mpz_class v = inverse(digest(e), domain.q);
        const mpz_class z1 = modulo(s * v, domain.q), z2 = domain.q - modulo(r * v, domain.q);
        const Affine C =
            domain.curve.sum(domain.curve.multiple(z1, domain.G), domain.curve.multiple(z2, Q));
        return !C.infinite && modulo(C.x, domain.q) == r ? 0 : 1;
    }
    [[nodiscard]] Answer kek(const mpz_class &d, const Affine &P, const mpz_class &ukm) const
    {
        if (!is_key(P))
            return refused(5, 32);
        if (d == 0 || d >= domain.curve.p)
            return refused(6, 32);
        if (ukm == 0)
            return refused(9, 32);
        const Affine K = domain.curve.multiple(modulo(d * ukm, domain.q), P);
        Bytes input(64), out(32);
        if (!K.infinite) {
            const Number x(K.x), y(K.y);
            qaltobase256(input.data(), 32, const_cast<Number &>(x));
            qaltobase256(input.data() + 32, 32, const_cast<Number &>(y));
        }
        gr341194_md_ctx ctx;
        gr341194_md_init_ext(&ctx, CryptoPro_iv, CryptoPro_uz);
        gr341194_md_update(&ctx, input.data(), input.size());
        gr341194_md_final(&ctx, out.data());
        return {0, out};
    }
};

Affine some_key(Input &in, const Scheme &scheme)
{
    const CurveModel &curve = scheme.domain.curve;
    Affine Q = scheme.domain.G;
    switch (in.below(5)) {
    case 0:
        Q = curve.multiple(1 + in.below(100), Q);
        break;
    case 1:
        Q = {};
        break;
    case 2:
        // A point of any order, if there is one with this x.
        if (const mpz_class x = modulo(some_number(in, Q.x), curve.p), w = (x * x + curve.a) * x;
            modulo(curve.p, 4) == 3) {
            Q = {x, 0};
            square_root(Q.y, modulo(w + curve.b, curve.p), curve.p);
        }
        break;
    default:
        Q = {some_number(in, Q.x), some_number(in, Q.y)};
        break;
    }
    if (Q.x == 0 && Q.y == 0)
        Q = {};
    return Q;
}

void check_operations(Input &in, const Scheme &scheme)
{
    Context ctx;
    ASSERT_EQ(ctx.set_up(scheme.domain), 0);
    const mpz_class &q = scheme.domain.q;
    const mpz_class d = some_number(in, q), k = some_number(in, q), e = some_number(in, q);
    const GuardedBytes::Edge edge = in.edge();
    GuardedBytes key(to_be(d), edge), nonce(to_be(k), edge), digest(to_be(e), edge);
    switch (in.below(4)) {
    case 0: {
        const Answer keys = scheme.keys(d);
        ASSERT_EQ(answer(64, [&](uint8_t *out) { return rds_gen_keys(ctx, key.data(), out); }),
                  keys);
        ASSERT_EQ(
            answer(64, [&](uint8_t *out) { return vko341001_gen_pubkey(ctx, key.data(), out); }),
            keys.code == 0 ? keys : refused(6, 64));
        break;
    }
    case 1: {
        const Answer signature = scheme.sign(d, k, e);
        ASSERT_EQ(answer(64,
                         [&](uint8_t *out) {
                             return rds_sign(ctx, key.data(), nonce.data(), digest.data(), out);
                         }),
                  signature);
        // What is signed can be verified if the order is the order of the base point.
        const Affine none = scheme.domain.curve.multiple(q, scheme.domain.G);
        if (signature.code == 0 && scheme.sound && none.infinite) {
            ASSERT_EQ(
                rds_verify(ctx, scheme.keys(d).out.data(), digest.data(), signature.out.data()), 0);
        }
        break;
    }
    case 2: {
        const Affine Q = some_key(in, scheme);
        mpz_class s = some_number(in, q), r = some_number(in, q);
        if (in.flag() && scheme.sound) {
            // The r that belongs to z1 G + z2 Q, and the s and e with these z1 and z2.
            const Affine C = scheme.domain.curve.sum(scheme.domain.G, Q);
            if (scheme.is_key(Q) && !C.infinite) {
                r = modulo(C.x, q);
                s = modulo(-r, q);
            }
        }
        GuardedBytes pubkey(key_of(Q), edge), sig(pair(s, r), edge);
        // With z2 = 1 the digest is -r, and s the same for z1 = 1.
        const mpz_class digested = in.flag() ? modulo(-r, q) : e;
        const int code = rds_verify(ctx, pubkey.data(), to_be(digested).data(), sig.data());
        if (scheme.sound) {
            ASSERT_EQ(code, scheme.verify(Q, digested, s, r));
        } else {
            ASSERT_TRUE(code == 0 || code == 1 || code == 5);
        }
        break;
    }
    default: {
        const Affine P = some_key(in, scheme);
        const mpz_class ukm = in.word();
        GuardedBytes pubkey(key_of(P), edge), material(to_be(ukm, 8), edge);
        ASSERT_EQ(answer(32,
                         [&](uint8_t *out) {
                             return vko341001_gen_kek(ctx, out, key.data(), pubkey.data(),
                                                      material.data());
                         }),
                  scheme.kek(d, P, ukm));
        break;
    }
    }
}

void check_published(Input &in)
{
    check_operations(in, {domains()[in.below(domains().size())], true});
}

// Parameters that may be anything.
void check_domain(Input &in)
{
    Domain domain = domains()[in.below(domains().size())];
    CurveModel &curve = domain.curve;
    const unsigned changed = in.byte();
    if (changed & 1)
        curve.p = some_number(in, curve.p);
    if (changed & 2)
        mpz_nextprime(curve.p.get_mpz_t(), curve.p.get_mpz_t());
    if (curve.p >= power_of_two(256))
        curve.p = power_of_two(256) - 189;
    if (changed & 4)
        curve.a = some_number(in, curve.p);
    if (changed & 8)
        domain.G = {some_number(in, curve.p), some_number(in, curve.p)};
    if (changed & 16)
        curve.b = some_number(in, curve.p);
    const Affine &G = domain.G;
    if ((changed & 32) && curve.p > 0) // made to fit
        curve.b = modulo(G.y * G.y - (G.x * G.x + curve.a) * G.x, curve.p);
    if (changed & 64)
        domain.q = some_number(in, domain.q);
    if (changed & 128)
        mpz_nextprime(domain.q.get_mpz_t(), domain.q.get_mpz_t());
    if (domain.q >= power_of_two(256))
        domain.q = power_of_two(255);

    const auto in_field = [&](const mpz_class &x) { return x < curve.p; };
    int expected = 0;
    if (curve.p < power_of_two(254) || curve.p % 2 == 0 || curve.a == 0 || !in_field(curve.a) ||
        curve.b == 0 || !in_field(curve.b))
        expected = 3;
    else if (!in_field(G.x) || !in_field(G.y) || (!curve.contains(G) && !(G.x == 0 && G.y == 0)))
        expected = 4;
    else if (domain.q < power_of_two(254) - 1)
        expected = 8;

    const auto ctx = std::make_unique<rds_ctx>();
    ASSERT_EQ(domain.init(ctx.get()), expected);
    if (expected != 0)
        return;
    std::vector<Bytes> read(6, Bytes(32));
    ASSERT_EQ(rds_get_prms(ctx.get(), read[0].data(), read[1].data(), read[2].data(),
                           read[3].data(), read[4].data(), read[5].data()),
              0);
    const std::vector<mpz_class> given = {curve.p, curve.a, curve.b, domain.q, G.x, G.y};
    for (size_t i = 0; i < 6; i++)
        ASSERT_EQ(from_be(read[i]), given[i]) << i;

    if (is_prime(curve.p)) {
        if (G.x == 0 && G.y == 0)
            domain.G = {};
        check_operations(in, {domain, is_prime(domain.q)});
        return;
    }
    // Nothing is right or wrong over a ring that is no field, but all comes to an end.
    const Bytes d = to_be(some_number(in, domain.q)), k = to_be(some_number(in, domain.q));
    const mpz_class x = some_number(in, G.x), y = some_number(in, G.y),
                    s = some_number(in, domain.q), r = some_number(in, domain.q);
    const Bytes key = pair(x, y);
    Bytes out(64), signature = pair(s, r);
    std::ignore = rds_gen_keys(ctx.get(), d.data(), out.data());
    std::ignore = rds_verify(ctx.get(), pair(G.x, G.y).data(), d.data(), signature.data());
    std::ignore = rds_verify(ctx.get(), key.data(), d.data(), signature.data());
    std::ignore = rds_sign(ctx.get(), d.data(), k.data(), key.data(), signature.data());
    std::ignore =
        vko341001_gen_kek(ctx.get(), out.data(), d.data(), pair(G.x, G.y).data(), k.data());
}

// Each pointer in turn is null.
void check_null_pointers(Input &in)
{
    const auto ctx = std::make_unique<rds_ctx>();
    const Domain &domain = domains()[in.below(domains().size())];
    ASSERT_EQ(domain.init(ctx.get()), 0);
    Bytes bytes(64, in.byte());
    for (size_t missing = 0; missing < 7; missing++) {
        uint8_t *b[7];
        for (size_t i = 0; i < 7; i++)
            b[i] = i == missing ? nullptr : bytes.data();
        rds_ctx *const c = b[0] == nullptr ? nullptr : ctx.get();
        ASSERT_EQ(rds_init(c, b[1], b[2], b[3], b[4], b[5], b[6]), 7);
        ASSERT_EQ(vko341001_init(c, b[1], b[2], b[3], b[4], b[5], b[6]), 7);
        ASSERT_EQ(rds_get_prms(c, b[1], b[2], b[3], b[4], b[5], b[6]), 7);
        if (missing < 5) {
            ASSERT_EQ(rds_sign(c, b[1], b[2], b[3], b[4]), 7);
        }
        if (missing > 0 && missing < 5) {
            ASSERT_EQ(vko341001_gen_kek(ctx.get(), b[1], b[2], b[3], b[4]), 7);
        }
        if (missing < 4) {
            ASSERT_EQ(rds_verify(c, b[1], b[2], b[3]), 7);
        }
        if (missing < 3) {
            ASSERT_EQ(rds_gen_keys(c, b[1], b[2]), 7);
            ASSERT_EQ(vko341001_gen_pubkey(c, b[1], b[2]), 7);
        }
    }
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_domain) checks[] = {check_published, check_domain,
                                                         check_null_pointers};
    in.one_of(checks)(in);
}
