// What operations on binary fields and curves leave on the stack of the values that they work on:
// nothing. An operation runs several times on one marked stack, on the same memory with different
// values in it. Whatever it leaves of arguments, results or anything made of them on the way
// differs then, in whichever form it is there.
#include "domain.hpp"
#include "support/marked_stack.hpp"

#include <qal/dhua.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <tuple>

using namespace qal::test;

namespace {

struct Case {
    std::string name;      // as exported
    std::string arguments; // what tells it from others of the same operation
    std::function<void(Random &)> draw;
    std::function<void()> call;
};

// Exported operations without secrets: they set up domains, and work on public keys and signatures.
const std::set<std::string> without_secrets = {
    "dstu_bspool_init", "dstu_cppubk", "dstu_init_curve", "dstu_init_pgen",
    "dstu_ucpubk",      "dstu_verify", "qale2cr",
};

// A random polynomial of degree below `degree`, with the count that belongs to it.
void draw_polynomial(Random &random, qal2d *p, uint32_t degree)
{
    qal2pclear(p, static_cast<int32_t>(degree));
    for (qal2d i = 1; i <= p[0]; i++)
        p[i] = static_cast<qal2d>(random.word());
    if (degree % 32 != 0)
        p[p[0]] &= (1U << degree % 32) - 1;
}

// Random words far from zero.
void draw_words(Random &random, qal2d *words, size_t n)
{
    for (size_t i = 0; i < n; i++)
        words[i] = static_cast<qal2d>(random.word()) | 1U << 30;
}

// A scalar of exactly so many bits.
void draw_scalar(Random &random, qald *k, uint64_t bits)
{
    k[0] = (bits + 63) / 64;
    for (qald i = 1; i <= k[0]; i++)
        k[i] = random.word();
    qalmodexpb2(k, bits - 1);
    qaladdb2(k, bits - 1);
}

// Bytes for pools.
uint8_t bytes_to_come[64];

int give_bytes(uint8_t *buf, uint32_t len)
{
    std::memcpy(buf, bytes_to_come, len);
    return 0;
}

void draw_bytes(Random &random)
{
    for (uint8_t &byte : bytes_to_come)
        byte = static_cast<uint8_t>(random.word());
}

// The windows of the scalar that a pool makes of them.
uint64_t windows_of_bytes_to_come(const dstu_ctx &ctx)
{
    qald e[QALBIG_SIZE];
    qalmodexpb2(qalfromrbase256(e, bytes_to_come, static_cast<uint32_t>(ctx.key_len)),
                qalbitlen(ctx.n, 1) - 1);
    uint64_t windows = 0;
    for (uint64_t bits = qalbitlen(e, 1); bits > 0; windows++) {
        int64_t length;
        qalgetslide(e, bits - 1, ctx.ws, &length);
        bits -= static_cast<uint64_t>(length);
    }
    return windows;
}

// The routines of the fields by another address, with which a curve has no engine.
template<auto routine, typename... Words>
void another(Words... words)
{
    routine(words...);
}

class Cases {
public:
    Cases()
    {
        add_polynomials();
        for (const char *name : {"m163", "m191", "m257", "m431"}) {
            auto *const ctx = make<dstu_ctx>();
            set_up_domain(*ctx, name);
            add_curve(name, *ctx, &ctx->curve);
            auto *const other = make<qale2curve>();
            *other = ctx->curve;
            switch (other->mod_m) {
            case 163:
                use<pmult192x192, psqr192x192, reduce163_7_6_3_1>(other);
                break;
            case 191:
                use<pmult192x192, psqr192x192, reduce191_9_1>(other);
                break;
            case 257:
                use<pmult257x257, psqr288x288, reduce257_12_1>(other);
                break;
            default:
                use<pmult448x448, psqr448x448, reduce431_5_3_1>(other);
            }
            add_curve(std::string(name) + ", routines of the caller's", *ctx, other);
            add_signatures(name, ctx);
        }
    }

    std::vector<Case> all;

private:
    template<class T>
    T *make(size_t n = 1)
    {
        memory_.push_back(std::make_unique<uint64_t[]>((n * sizeof(T) + 7) / 8));
        return reinterpret_cast<T *>(memory_.back().get());
    }

    template<auto mul, auto sqr, auto reduce>
    static void use(qale2curve *curve)
    {
        curve->mul = another<mul, qal2d *, const qal2d *, const qal2d *>;
        curve->sqr = another<sqr, qal2d *, const qal2d *>;
        curve->reduce = another<reduce, qal2d *>;
    }

    void add(const std::string &name, const std::string &arguments,
             std::function<void(Random &)> draw, std::function<void()> call)
    {
        all.push_back({name, arguments, std::move(draw), std::move(call)});
    }

    void add_polynomials();
    void add_inversion(uint32_t m, uint32_t a, uint32_t b, uint32_t c);
    void add_curve(const std::string &label, const dstu_ctx &ctx, const qale2curve *curve);
    void add_signatures(const std::string &label, dstu_ctx *ctx);

    std::vector<std::unique_ptr<uint64_t[]>> memory_;
};

void Cases::add_inversion(uint32_t m, uint32_t a, uint32_t b, uint32_t c)
{
    auto *const u = make<qal2d>(QAL2P_SIZE), *const r = make<qal2d>(QAL2P_SIZE);
    add(
        "qal2invm", "m = " + std::to_string(m),
        [=](Random &random) {
            draw_polynomial(random, u, m);
            qal2pclear(r, static_cast<int32_t>(m));
        },
        [=] { qal2invm(r, u, m, a, b, c); });
}

void Cases::add_polynomials()
{
    constexpr uint32_t degree = 431;
    auto *const a = make<qal2d>(QAL2P_SIZE), *const b = make<qal2d>(QAL2P_SIZE),
                *const r = make<qal2d>(QAL2P_SIZE);
    auto *const number = make<qald>(QALBIG_SIZE);
    auto *const bytes = make<uint8_t>(64);
    const auto draw = [=](Random &random) {
        draw_polynomial(random, a, degree);
        draw_polynomial(random, b, degree);
        draw_polynomial(random, r, degree);
        draw_scalar(random, number, 448);
        std::copy_n(random.bytes(64).data(), 64, bytes);
    };
    add("qal2pclear", "", draw, [=] { qal2pclear(r, degree); });
    add("qal2pcopy", "", draw, [=] { qal2pcopy(r, a); });
    add(
        "qal2pfrombig", "",
        [=](Random &random) {
            draw(random);
            r[0] = 13;
        },
        [=] { qal2pfrombig(r, number); });
    add("qal2ptobig", "", draw, [=] { qal2ptobig(number, a); });
    add("qal2pfromb", "", draw, [=] { qal2pfromb(r, bytes, 54); });
    add("qal2ptob", "", draw, [=] { qal2ptob(bytes, a, 64); });
    add("qal2pfrombits", "", draw, [=] { qal2pfrombits(r, bytes, 427); });
    add("qal2p_is_equal", "", draw, [=] { qal2p_is_equal(a, b); });
    add("qal2pinc", "", draw, [=] { qal2pinc(r); });
    add("qal2p_deg", "", draw, [=] { qal2p_deg(a); });
    add("qal2pgbit", "", draw, [=] { qal2pgbit(a, 300); });
    add("qal2psbit", "", draw, [=] { qal2psbit(r, 300, 1); });
    add("qal2add", "", draw, [=] { qal2add(r, a, b); });
    add("qal2p_is_zero", "", draw, [=] { qal2p_is_zero(a); });
    add("qal2p_is_one", "", draw, [=] { qal2p_is_one(a); });
    // Irreducible: the four fields, and three that are none of them.
    add_inversion(163, 7, 6, 3);
    add_inversion(191, 9, 0, 0);
    add_inversion(257, 12, 0, 0);
    add_inversion(431, 5, 3, 1);
    add_inversion(89, 38, 0, 0);
    add_inversion(283, 12, 7, 5);
    add_inversion(409, 87, 0, 0);

    constexpr int32_t n = 14;
    auto *const u = make<qal2d>(2 * n), *const v = make<qal2d>(2 * n),
                *const w = make<qal2d>(2 * n);
    const auto draw_all = [=](Random &random) {
        for (qal2d *words : {u, v, w})
            draw_words(random, words, 2 * n);
    };
    add("gf2x_mul_1_n", "", draw_all, [=] { gf2x_mul_1_n(w, u, n, v[0]); });
    add("gf2x_addmul_1_n", "", draw_all, [=] { gf2x_addmul_1_n(w, v, u, n, v[0]); });
    add("gf2x_mul", "", draw_all, [=] { gf2x_mul(w, u, n, v, n); });
    const auto product = [&](const char *name,
                             void (*multiply)(qal2d *, const qal2d *, const qal2d *)) {
        add(
            name, "",
            [=](Random &random) {
                draw_all(random);
                u[8] = multiply == pmult257x257 ? 1 : u[8];
                v[8] = multiply == pmult257x257 ? 1 : v[8];
            },
            [=] { multiply(w, u, v); });
    };
    product("pmult160x160", pmult160x160);
    product("pmult192x192", pmult192x192);
    product("pmult224x224", pmult224x224);
    product("pmult256x256", pmult256x256);
    product("pmult257x257", pmult257x257);
    product("pmult288x288", pmult288x288);
    product("pmult448x448", pmult448x448);
    add("psqr192x192", "", draw_all, [=] { psqr192x192(w, u); });
    add("psqr288x288", "", draw_all, [=] { psqr288x288(w, u); });
    add("psqr448x448", "", draw_all, [=] { psqr448x448(w, u); });
    add("reduce163_7_6_3_1", "", draw_all, [=] { reduce163_7_6_3_1(u); });
    add("reduce191_9_1", "", draw_all, [=] { reduce191_9_1(u); });
    add("reduce257_12_1", "", draw_all, [=] { reduce257_12_1(u); });
    add("reduce431_5_3_1", "", draw_all, [=] { reduce431_5_3_1(u); });
}

void Cases::add_curve(const std::string &label, const dstu_ctx &ctx, const qale2curve *curve)
{
    const auto m = curve->mod_m;
    const qale2curve *const known = &ctx.curve;
    auto *const u = make<qal2d>(QAL2P_SIZE), *const v = make<qal2d>(QAL2P_SIZE),
                *const r = make<qal2d>(QAL2P_SIZE), *const s = make<qal2d>(QAL2P_SIZE);
    const auto draw_elements = [=](Random &random) {
        for (qal2d *element : {u, v, r, s})
            draw_polynomial(random, element, m);
    };
    add("qale2bfmul", label, draw_elements, [=] { qale2bfmul(curve, r, u, v); });
    add("qale2bfsqr", label, draw_elements, [=] { qale2bfsqr(curve, r, u); });
    add("qale2bfinv", label, draw_elements, [=] { qale2bfinv(curve, r, u); });

    // P with a Z of its own; Q affine, with its coordinates in x and y; k and l scalars.
    auto *const P = make<qale2point>(), *const Q = make<qale2point>(),
                *const R = make<qale2point>();
    auto *const x = make<qal2d>(QAL2P_SIZE), *const y = make<qal2d>(QAL2P_SIZE),
                *const c = make<qal2d>(QAL2P_SIZE);
    auto *const k = make<qald>(QALBIG_SIZE), *const l = make<qald>(QALBIG_SIZE);
    auto *const begun = make<qale2kpic_ctx>();
    auto *const table = make<qale2affine>(64);
    auto *const infinity = make<qale2point>();
    const qale2affine *const powers = ctx.powers;
    const int32_t ws = ctx.ws;
    const uint64_t bits = qalbitlen(ctx.n, 1) - 1;
    const auto draw = [=](Random &random) {
        draw_elements(random);
        draw_scalar(random, k, bits);
        draw_scalar(random, l, bits);
        qale2pcr(known, infinity, nullptr, nullptr);
        qale2kpic(known, P, k, powers, ws);
        qale2kpic(known, Q, l, powers, ws);
        qale2pxy(known, Q, x, y);
        *R = *Q;
        qale2comp(known, c, R);
        *R = *P;
        draw_scalar(random, k, bits);
        draw_scalar(random, l, bits);
        qale2kpic_init(begun, curve, k, powers, ws);
        for (int i = 0; i < 3; i++)
            qale2kpic_step(begun, nullptr);
    };
    add("qale2pcr", label, draw, [=] { qale2pcr(curve, R, x, y); });
    add("qale2pcr", label + ", not on the curve", draw, [=] { qale2pcr(curve, R, u, v); });
    add("qale2pcr", label + ", a y is found", draw, [=] { qale2pcr(curve, R, x, nullptr); });
    add("qale2pcp", label, draw, [=] { qale2pcp(curve, R, P); });
    add("qale2pneg", label, draw, [=] { qale2pneg(curve, P); });
    add("qale2p_is_inf", label, draw, [=] { qale2p_is_inf(curve, P); });
    add("qale2pxy", label, draw, [=] { qale2pxy(curve, P, r, s); });
    add("qale2pd", label, draw, [=] { qale2pd(curve, R, P); });
    add("qale2pcl", label, draw, [=] { qale2pcl(P); });
    // Equal and opposite points, and infinity
    const auto draw_equal = [=](Random &random) {
        draw(random);
        *P = *Q;
    };
    const auto draw_opposite = [=](Random &random) {
        draw_equal(random);
        qale2pneg(known, P);
    };
    const auto draw_infinity = [=](Random &random) {
        draw(random);
        *P = *infinity;
    };
    const std::pair<const char *, std::function<void(Random &)>> pairs[] = {
        {"", draw},
        {", equal", draw_equal},
        {", opposite", draw_opposite},
        {", infinity", draw_infinity}};
    for (const auto &[which, draw_pair] : pairs) {
        add("qale2paa", label + which, draw_pair, [=] { qale2paa(curve, R, P, Q); });
        add("qale2pa", label + which, draw_pair, [=] { qale2pa(curve, R, P, x, y); });
    }
    add("qale2paa", label + ", plus infinity", draw, [=] { qale2paa(curve, R, P, infinity); });
    add("qale2ic", label, draw, [=] { qale2ic(curve, table, P, ws); });
    add("qale2ic", label + ", 7 bits", draw, [=] { qale2ic(curve, table, P, 7); });
    add("qale2kpic_init", label, draw, [=] { qale2kpic_init(begun, curve, k, powers, ws); });
    add(
        "qale2kpic_step", label,
        [=](Random &random) {
            draw(random);
            // A scalar of the same form, so that the steps are the same.
            k[k[0]] |= qald{0x2f} << ((bits - 6) & 63);
        },
        [=] { qale2kpic_step(begun, nullptr); });
    add("qale2kpic", label, draw, [=] { qale2kpic(curve, R, k, powers, ws); });
    add("qale2kp", label, draw, [=] { qale2kp(curve, R, k, P); });
    add("qale2skp", label, draw, [=] { qale2skp(curve, R, k, P, l, Q); });
    add("qale2comp", label, draw, [=] { qale2comp(curve, c, P); });
    add("qale2exp", label, draw, [=] { qale2exp(curve, R, c); });
    auto *const copy = make<qale2curve>();
    add(
        "qale2cl", label, [=](Random &) { *copy = *curve; }, [=] { qale2cl(copy); });
}

void Cases::add_signatures(const std::string &label, dstu_ctx *ctx)
{
    const int32_t field_len = ctx->field_len, key_len = ctx->key_len;
    auto *const priv = make<uint8_t>(64), *const pub = make<uint8_t>(64),
                *const peer = make<uint8_t>(64), *const out = make<uint8_t>(128),
                *const hash = make<uint8_t>(32);
    auto *const priv_len = make<int32_t>(), *const pub_len = make<int32_t>(),
                *const sig_len = make<int32_t>();
    auto *const pool = make<dstu_bspool>();
    auto *const e = make<qald>(QALBIG_SIZE);
    auto *const cp = make<qal2d>(QAL2P_SIZE);

    // An empty pool, one in which the first secret is begun, and a full one
    const auto draw = [=](Random &random) {
        *priv_len = key_len;
        *pub_len = field_len;
        *sig_len = ctx->sig_len;
        std::copy_n(random.bytes(32).data(), 32, hash);
        std::ignore = dstu_bspool_init(pool, ctx, give_bytes);
        draw_bytes(random);
        std::ignore = dstu_gen_keys(ctx, pool, priv_len, peer, pub_len, pub);
        std::copy_n(pub, field_len, peer);
        draw_bytes(random);
        std::ignore = dstu_gen_keys(ctx, pool, priv_len, priv, pub_len, pub);
        draw_bytes(random);
    };
    const auto draw_begun = [=](Random &random) {
        draw(random);
        dstu_bspool_step(pool);
        dstu_bspool_step(pool);
    };
    const auto draw_full = [=](Random &random) {
        draw(random);
        while (pool->ready != 31) {
            if ((pool->started & ~pool->ready) == 0)
                draw_bytes(random);
            dstu_bspool_step(pool);
        }
    };
    add("dstu_bspool_step", label + ", draw", draw, [=] { dstu_bspool_step(pool); });
    add("dstu_bspool_step", label + ", window", draw_begun, [=] { dstu_bspool_step(pool); });
    // Secrets that take the same number of steps, which is no secret.
    auto *const windows = make<uint64_t>();
    add(
        "dstu_bspool_step", label + ", all windows",
        [=](Random &random) {
            draw(random);
            if (*windows == 0)
                *windows = windows_of_bytes_to_come(*ctx);
            while (windows_of_bytes_to_come(*ctx) != *windows)
                draw_bytes(random);
        },
        [=] {
            while (dstu_bspool_step(pool) == 0) {
            }
        });
    const std::pair<const char *, std::function<void(Random &)>> pools[] = {
        {", empty pool", draw}, {", begun", draw_begun}, {", full pool", draw_full}};
    for (const auto &[which, draw_pool] : pools) {
        add("dstu_bspool_get", label + which, draw_pool, [=] { dstu_bspool_get(pool, e, cp); });
        add("dstu_gen_keys", label + which, draw_pool,
            [=] { std::ignore = dstu_gen_keys(ctx, pool, priv_len, priv, pub_len, pub); });
        add("dstu_sign", label + which, draw_pool,
            [=] { std::ignore = dstu_sign(ctx, pool, key_len, priv, 256, hash, sig_len, out); });
    }
    // Keys that are refused are secrets, too.
    const auto draw_long = [=](Random &random) {
        draw(random);
        priv[key_len - 1] = priv[key_len] = 0xff;
    };
    add("dstu_sign", label + ", key refused", draw_long,
        [=] { std::ignore = dstu_sign(ctx, pool, key_len, priv, 256, hash, sig_len, out); });
    for (const int cofactor : {0, 1}) {
        add("dhua_zz", label + (cofactor != 0 ? ", cofactor" : ""), draw, [=] {
            std::ignore = dhua_zz(ctx, key_len, priv, field_len, peer, cofactor, pub_len, out);
        });
    }
    add("dhua_zz", label + ", key refused", draw_long,
        [=] { std::ignore = dhua_zz(ctx, key_len + 1, priv, field_len, peer, 0, pub_len, out); });
    auto *const unset = make<dstu_ctx>();
    *unset = *ctx;
    unset->cofactor = 0;
    add("dhua_zz", label + ", cofactor refused", draw,
        [=] { std::ignore = dhua_zz(unset, key_len, priv, field_len, peer, 1, pub_len, out); });
}

// Where two of these differ, as distances from the top.
std::string differences(const Bytes &a, const Bytes &b)
{
    std::ostringstream places;
    size_t count = 0;
    for (size_t i = a.size(); i-- > 0;) {
        if (a[i] == b[i])
            continue;
        if (count++ < 8)
            places << " " << a.size() - i;
    }
    return count == 0 ? "" : std::to_string(count) + " bytes differ, at" + places.str();
}

std::set<std::string> exported_functions()
{
    std::set<std::string> names;
    std::ifstream file(QAL_EXPORTS);
    std::string name, kind, header;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        if (words >> name >> kind >> header && kind == "function" &&
            (header == "qal2poly.h" || header == "qale2.h" || header == "dstu.h" ||
             header == "dhua.h"))
            names.insert(name);
    }
    return names;
}

// What runs of this on different values leave.
std::string left_behind(MarkedStack &stack, const Case &one, Random &random)
{
    Bytes first;
    std::string found;
    for (int round = 0; round < 4 && found.empty(); round++) {
        one.draw(random);
        stack.run(one.call);
        if (round == 0)
            first = stack.contents();
        else
            found = differences(first, stack.contents());
    }
    return found;
}

} // namespace

TEST(BinaryWiping, EveryOperationIsSearched)
{
    const Cases cases;
    std::set<std::string> names = without_secrets;
    for (const Case &one : cases.all)
        names.insert(one.name);
    EXPECT_EQ(names, exported_functions());
}

TEST(BinaryWiping, TheSearchFinds)
{
    MarkedStack stack;
    Random random;
    uint64_t secret;
    const auto draw = [&](Random &from) { secret = from.word(); };
    const auto find = [&](const std::function<void()> &call) {
        return left_behind(stack, {"", "", draw, call}, random);
    };
    EXPECT_EQ(find([] {}), "");
    EXPECT_EQ(find([&] { secret++; }), "");
    // A copy, something made of it, a bit of it
    EXPECT_NE(find([&] {
                  volatile uint64_t copy = secret;
                  (void)copy;
              }),
              "");
    EXPECT_NE(find([&] {
                  volatile uint64_t made = ~secret * 3;
                  (void)made;
              }),
              "");
    EXPECT_NE(find([&] {
                  volatile uint8_t bit = secret & 1;
                  (void)bit;
              }),
              "");
}

TEST(BinaryWiping, NothingIsLeft)
{
    const Cases cases;
    MarkedStack stack;
    Random random;
    for (const Case &one : cases.all)
        EXPECT_EQ(left_behind(stack, one, random), "") << one.name << " (" << one.arguments << ")";
}
