// DSTU 4145-2002 and key agreement: domain parameters, compressed points, keys, hashes, signatures
// and the random source from outside. Statuses as documented; results by the general routines.
#include "binary_domains.hpp"

using namespace qal::fuzz;

namespace {

// Gives out the fuzzer's bytes first, then pseudo-random ones.
struct RandomSource {
    static inline Bytes given;
    static inline uint64_t state;

    static void reset(Input &in)
    {
        given = in.bytes(in.below(128));
        state = in.word(2);
    }
    static int fill(uint8_t *buf, uint32_t len)
    {
        for (uint32_t i = 0; i < len; i++) {
            if (!given.empty()) {
                buf[i] = given.back();
                given.pop_back();
                continue;
            }
            state = state * 6364136223846793005 + 1442695040888963407;
            buf[i] = static_cast<uint8_t>(state >> 56);
        }
        return 0;
    }
};

mpz_class scalar(Input &in, const mpz_class &near)
{
    switch (in.below(4)) {
    case 0:
        return in.word(2);
    case 1: {
        const mpz_class x = near + (in.byte() - 128);
        return x < 0 ? mpz_class(0) : x;
    }
    case 2:
        return number(in, 7);
    default:
        return near ^ (Poly(1) << in.below(432));
    }
}

// Cut to size bytes.
Bytes bytes_within(const mpz_class &x, size_t size)
{
    return bytes_of(x % power_of_two(8 * size), size);
}

struct Affine {
    Poly x, y;
};

// The coordinates of a point, zero at infinity.
Affine affine(const qale2curve &curve, qale2point P)
{
    qal2p x, y;
    set(x, 0, (curve.mod_m + 31) / 32);
    set(y, 0, (curve.mod_m + 31) / 32);
    qale2pxy(&curve, &P, x, y);
    return {poly_of(x), poly_of(y)};
}

Bytes compressed(const qale2curve &curve, qale2point P)
{
    qal2p c;
    return bytes_of(poly_of(qale2comp(&curve, c, &P)), (curve.mod_m + 8) / 8);
}

qale2point multiple(const qale2curve &curve, const mpz_class &k, const qale2point &P)
{
    qale2point R;
    qale2kp(&curve, &R, Number(k), &P);
    return R;
}

// A public key: that of a small private key, with changes, or any bytes.
Bytes some_key(Input &in, const TestDomain &domain)
{
    const ModelField &field = domain.model().field;
    const qale2curve curve = general(domain.ctx->curve);
    switch (in.below(3)) {
    case 0:
        return compressed(curve, multiple(curve, 1 + in.below(1000), domain.ctx->G));
    case 1:
        return bytes_of(element(in, field, domain.model().G.x), domain.field_len());
    default:
        return in.bytes(domain.field_len());
    }
}

void check_keys(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const qale2curve curve = general(domain.ctx->curve);
    const size_t size = domain.field_len(), most = 4 * domain.model().field.words();
    const auto edge = in.edge();
    Bytes key = some_key(in, domain);
    key.resize(in.flag() ? in.below(most + 1) : size);
    qale2point P;
    const bool is_point = expand(curve, P, poly_of(key));
    GuardedBytes given(key, edge), both(2 * size, edge);
    const int status = dstu_ucpubk(domain, both.data(), given.data(), size_of(key));
    ASSERT_EQ(status, is_point ? 0 : 5);
    if (is_point) {
        const Affine Q = affine(curve, P);
        ASSERT_EQ(poly_of(both.contents()), Q.x ^ (Q.y << (8 * size)));
        // Back: the same point, whose compressed form may be another where x is 0.
        GuardedBytes again(size, edge);
        auto again_len = static_cast<int32_t>(size);
        ASSERT_EQ(dstu_cppubk(domain, again.data(), &again_len, both.data()), 0);
        ASSERT_EQ(again.contents(), compressed(curve, P));
    }

    // Any coordinates.
    Bytes coordinates = is_point && in.flag() ? both.contents() : in.bytes(2 * size);
    const size_t changed = in.below(2 * size);
    coordinates[changed] ^= in.byte();
    const Poly all = poly_of(coordinates), x = all & (power_of_two(8 * size) - 1);
    const ModelPoint Q{false, x, all >> (8 * size)};
    const bool is_key = length(Q.x) <= domain.model().field.m &&
                        length(Q.y) <= domain.model().field.m && domain.model().contains(Q);
    GuardedBytes source(coordinates, edge), out(size, edge);
    auto out_len = static_cast<int32_t>(size);
    ASSERT_EQ(dstu_cppubk(domain, out.data(), &out_len, source.data()), is_key ? 0 : 5);
    out_len--;
    ASSERT_EQ(dstu_cppubk(domain, out.data(), &out_len, source.data()), 2);
}

// Steps of the pool, key pairs and signatures in any order.
void check_signing(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const qale2curve curve = general(domain.ctx->curve);
    const auto edge = in.edge();
    RandomSource::reset(in);
    const auto pool = std::make_unique<dstu_bspool>();
    ASSERT_EQ(dstu_bspool_init(pool.get(), domain, RandomSource::fill), 0);
    for (int actions = 0; actions < 8 && !in.empty(); actions++) {
        for (size_t steps = in.below(256); steps > 0; steps--)
            dstu_bspool_step(pool.get());
        switch (in.below(3)) {
        case 0: {
            Number e(0, QALBIG_SIZE - 1);
            qal2p cp;
            ASSERT_EQ(dstu_bspool_get(pool.get(), e, cp), 0);
            const mpz_class secret = value_of(e);
            ASSERT_LT(secret, domain.scalar_bound());
            ASSERT_EQ(bytes_of(poly_of(cp), domain.field_len()),
                      compressed(curve, multiple(curve, secret, domain.ctx->G)));
            break;
        }
        case 1: {
            const size_t room = in.below(128);
            GuardedBytes priv(Bytes(room, 0xa5), edge), pub(domain.field_len(), edge);
            auto priv_len = static_cast<int32_t>(room), pub_len = domain.ctx->field_len;
            const int status =
                dstu_gen_keys(domain, pool.get(), &priv_len, priv.data(), &pub_len, pub.data());
            ASSERT_EQ(status, room < domain.key_len() ? 2 : 0);
            if (status != 0)
                break;
            const mpz_class d = poly_of(priv.contents());
            ASSERT_TRUE(d > 0 && d < domain.scalar_bound());
            qale2point Q = multiple(curve, d, domain.ctx->G);
            ASSERT_EQ(pub.contents(), compressed(curve, *qale2pneg(&curve, &Q)));
            break;
        }
        default: {
            const mpz_class near = scalar(in, domain.scalar_bound());
            const Bytes priv = bytes_within(near, in.flag() ? domain.key_len() : in.below(64));
            const mpz_class d = poly_of(priv);
            const Bytes hash = in.bytes(1 + in.below(64));
            const auto bits = static_cast<int32_t>(in.below(8 * hash.size() + 1));
            GuardedBytes key(priv, edge), digest(hash, edge), sig(domain.sig_len(), edge);
            auto sig_len = static_cast<int32_t>(domain.sig_len());
            const int status = dstu_sign(domain, pool.get(), size_of(priv), key.data(), bits,
                                         digest.data(), &sig_len, sig.data());
            if (priv.empty() || priv.size() > domain.key_len() || bits < 1) {
                ASSERT_EQ(status, 2);
            } else if (d == 0 || d >= domain.scalar_bound()) {
                ASSERT_EQ(status, 6);
            } else {
                ASSERT_EQ(status, 0);
                qale2point Q = multiple(curve, d, domain.ctx->G);
                const Bytes pub = compressed(curve, *qale2pneg(&curve, &Q));
                ASSERT_EQ(dstu_verify(domain, size_of(pub), pub.data(), bits, digest.data(),
                                      sig_len, sig.data()),
                          0);
            }
        }
        }
    }
}

void check_verification(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const ModelCurve &model = domain.model();
    const qale2curve curve = general(domain.ctx->curve);
    const auto edge = in.edge();
    Bytes pub = some_key(in, domain);
    if (in.flag())
        pub.resize(in.below(64));
    const size_t half = domain.sig_len() / 2;
    const Bytes r_bytes = bytes_within(scalar(in, model.n), half),
                s_bytes = bytes_within(scalar(in, model.n), half);
    const mpz_class r = poly_of(r_bytes), s = poly_of(s_bytes);
    Bytes signature = r_bytes;
    signature.insert(signature.end(), s_bytes.begin(), s_bytes.end());
    if (in.byte() == 255)
        signature.resize(in.below(128));
    Bytes hash = in.bytes(1 + in.below(64));
    size_t bits = in.below(8 * hash.size() + 1);

    // The point that is computed, and a hash that makes the signature its own.
    qale2point Q, sum;
    Poly x;
    const bool is_key = expand(curve, Q, poly_of(pub));
    if (is_key) {
        qale2skp(&curve, &sum, Number(s), &domain.ctx->G, Number(r), &Q);
        x = affine(curve, sum).x;
        const Poly low = r % domain.scalar_bound();
        if (x != 0 && low != 0 && in.flag()) {
            hash = bytes_of(model.field.mul(low, model.field.inv(x)), domain.field_len());
            bits = model.field.m;
        }
    }
    int expected = 1;
    if (pub.empty() || pub.size() > domain.field_len() || bits == 0) {
        expected = 2;
    } else if (signature.size() != domain.sig_len() || r == 0 || r >= model.n || s == 0 ||
               s >= model.n) {
        expected = 1;
    } else if (!is_key) {
        expected = 5;
    } else if (qale2p_is_inf(&curve, &sum) == 0) {
        Poly h = poly_of(hash) & (power_of_two(std::min<size_t>(bits, model.field.m)) - 1);
        if (h == 0)
            h = 1;
        h = model.field.mul(h, x);
        expected = h != 0 && h % domain.scalar_bound() == r ? 0 : 1;
    }
    GuardedBytes key(pub, edge), digest(hash, edge), sig(signature, edge);
    ASSERT_EQ(dstu_verify(domain, size_of(pub), key.data(), static_cast<int32_t>(bits),
                          digest.data(), size_of(signature), sig.data()),
              expected);
}

void check_agreement(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const qale2curve curve = general(domain.ctx->curve);
    const auto ctx = std::make_unique<dstu_ctx>(*domain.ctx);
    if (in.flag())
        ctx->cofactor = in.below(6);
    const bool with_cofactor = in.flag();
    const auto edge = in.edge();
    const mpz_class near = scalar(in, domain.scalar_bound());
    const Bytes priv = bytes_within(near, in.flag() ? domain.key_len() : in.below(1200));
    Bytes pub = some_key(in, domain);
    if (in.flag())
        pub.resize(in.below(4 * domain.model().field.words() + 1));
    const mpz_class d = poly_of(priv);
    qale2point Q;
    int expected = 0;
    if (priv.size() < domain.key_len() || pub.size() < domain.field_len())
        expected = 2;
    else if (!expand(curve, Q, poly_of(pub)))
        expected = 5;
    else if (d == 0 || d >= domain.scalar_bound())
        expected = 6;
    else if (with_cofactor && ctx->cofactor != 2 && ctx->cofactor != 4)
        expected = 3;
    GuardedBytes key(priv, edge), peer(pub, edge), out(domain.field_len(), edge);
    int32_t out_len = -1;
    ASSERT_EQ(dhua_zz(ctx.get(), size_of(priv), key.data(), size_of(pub), peer.data(),
                      with_cofactor, &out_len, out.data()),
              expected);
    if (expected != 0)
        return;
    ASSERT_EQ(out_len, domain.ctx->field_len);
    const mpz_class k = with_cofactor ? mpz_class(d * ctx->cofactor) : d;
    ASSERT_EQ(poly_of(out.contents()), affine(curve, multiple(curve, k, Q)).x);
}

// Parameters that may be anything.
void check_domain(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const ModelCurve &model = domain.model();
    uint32_t f[4] = {model.field.m, model.field.a, model.field.b, model.field.c}, a = model.a;
    const unsigned changed = in.byte();
    if (changed & 1) {
        const size_t which = in.below(4);
        f[which] = static_cast<uint32_t>(in.below(432));
    }
    if (changed & 2)
        a = static_cast<uint32_t>(in.word(4));
    Poly b = model.b, n = model.n, G = model.compress(model.G);
    if (changed & 4)
        b = element(in, {f[0] + 8, 0, 0, 0}, b);
    if (changed & 8)
        n = scalar(in, n);
    if (changed & 16)
        G = element(in, model.field, G);
    if (changed & 64) {
        // The double of a point of any order, on the curve as it was.
        const TestCurve &test = domain.test;
        Polynomial x(element(in, model.field, model.G.x), model.field.words());
        qale2point P;
        if (qale2pcr(&test.curve, &P, x, nullptr) != nullptr)
            G = poly_of(compressed(test.curve, *qale2pd(&test.curve, &P, &P)));
    }
    if (changed & 128)
        n *= 2;
    const size_t whole = (f[0] + 8) / 8;
    const auto length_in = [&](size_t usual) { return changed & 32 ? in.below(70) : usual; };
    const size_t b_len = length_in(whole), G_len = length_in(whole), n_len = length_in(whole);
    const auto edge = in.edge();
    const auto ctx = std::make_unique<dstu_ctx>();
    GuardedBytes b_bytes(bytes_within(b, b_len), edge), G_bytes(bytes_within(G, G_len), edge),
        n_bytes(bytes_within(n, n_len), edge);
    b %= power_of_two(8 * b_len);
    G %= power_of_two(8 * G_len);
    n %= power_of_two(8 * n_len);

    bool known = false;
    for (const ModelField &field : model_fields)
        known = known || (f[0] == field.m && f[1] == field.a && f[2] == field.b && f[3] == field.c);
    const bool good = known && a <= 1 && b != 0 && length(b) <= f[0] && b_len <= whole;
    ASSERT_EQ(dstu_init_curve(ctx.get(), f[0], f[1], f[2], f[3], a, b_bytes.data(),
                              static_cast<int32_t>(b_len)),
              good ? 0 : 3);
    if (!good)
        return;
    const qale2curve curve = general(ctx->curve);
    qale2point P;
    int expected = 4;
    if (G_len >= 1 && G_len <= whole && n_len >= 1 && n_len <= whole && expand(curve, P, G) &&
        length(n) <= f[0] && length(n) + 2 >= f[0] && length(n) >= 160 &&
        qale2p_is_inf(&curve, std::make_unique<qale2point>(multiple(curve, n, P)).get()))
        expected = 0;
    ASSERT_EQ(dstu_init_pgen(ctx.get(), static_cast<int32_t>(G_len), G_bytes.data(),
                             static_cast<int32_t>(n_len), n_bytes.data()),
              expected);
    if (expected != 0)
        return;
    // All comes to an end but signing with a base point of order 2, of whose multiples none will
    // do.
    RandomSource::reset(in);
    const auto pool = std::make_unique<dstu_bspool>();
    ASSERT_EQ(dstu_bspool_init(pool.get(), ctx.get(), RandomSource::fill), 0);
    Bytes priv(64), pub(whole), sig(128);
    auto priv_len = size_of(priv), pub_len = size_of(pub), sig_len = size_of(sig);
    ASSERT_EQ(dstu_gen_keys(ctx.get(), pool.get(), &priv_len, priv.data(), &pub_len, pub.data()),
              0);
    qale2point Q = multiple(curve, poly_of(priv), ctx->G);
    ASSERT_EQ(pub, compressed(curve, *qale2pneg(&curve, &Q)));
    if (affine(curve, P).x == 0)
        return;
    const Bytes hash = in.bytes(32);
    ASSERT_EQ(dstu_sign(ctx.get(), pool.get(), priv_len, priv.data(), 256, hash.data(), &sig_len,
                        sig.data()),
              0);
    ASSERT_EQ(dstu_verify(ctx.get(), pub_len, pub.data(), 256, hash.data(), sig_len, sig.data()),
              0);
}

// Each pointer in turn is null.
void check_null_pointers(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const auto pool = std::make_unique<dstu_bspool>();
    ASSERT_EQ(dstu_bspool_init(pool.get(), domain, RandomSource::fill), 0);
    ASSERT_EQ(dstu_bspool_init(nullptr, domain, RandomSource::fill), 2);
    ASSERT_EQ(dstu_bspool_init(pool.get(), nullptr, RandomSource::fill), 2);
    ASSERT_EQ(dstu_bspool_init(pool.get(), domain, nullptr), 2);
    Bytes bytes(256, in.byte());
    for (int missing = 0; missing < 6; missing++) {
        const auto ctx = std::make_unique<dstu_ctx>(*domain.ctx);
        const auto unless = [missing](int i, auto *pointer) {
            return i == missing ? nullptr : pointer;
        };
        dstu_ctx *const c = unless(0, ctx.get());
        uint8_t *const b = bytes.data();
        int32_t a_len = 128, b_len = 128;
        if (missing < 2) {
            ASSERT_EQ(dstu_init_curve(c, 163, 7, 6, 3, 1, unless(1, b), 21), 3);
        }
        if (missing < 3) {
            ASSERT_EQ(dstu_init_pgen(c, 21, unless(1, b), 21, unless(2, b)), 2);
        }
        if (missing < 4) {
            ASSERT_EQ(dstu_verify(c, 21, unless(1, b), 8, unless(2, b), 42, unless(3, b)), 2);
        }
        if (missing < 5) {
            ASSERT_EQ(
                dhua_zz(c, 128, unless(1, b), 56, unless(2, b), 0, unless(3, &a_len), unless(4, b)),
                2);
        }
        ASSERT_EQ(dstu_gen_keys(c, unless(1, pool.get()), unless(2, &a_len), unless(3, b),
                                unless(4, &b_len), unless(5, b)),
                  2);
        ASSERT_EQ(dstu_sign(c, unless(1, pool.get()), 21, unless(2, b), 8, unless(3, b),
                            unless(4, &a_len), unless(5, b)),
                  2);
    }
    ASSERT_EQ(dstu_cppubk(domain, bytes.data(), nullptr, bytes.data()), 2);
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_keys) checks[] = {check_keys,         check_signing,
                                                       check_verification, check_agreement,
                                                       check_domain,       check_null_pointers};
    in.one_of(checks)(in);
}
