// The signature of DSTU 4145-2002.
#include "ua/dstu.hpp"

#include "base/require.hpp"
#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "qalmath64/kernels/digits.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "ua/engine.hpp"
#include "ua/fields.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::math;
using namespace qal::ua;

namespace {

constexpr char qal_source[] = "../src/ua/dstu";

constexpr uint64_t least_order_bits = 160;
constexpr uint32_t slots = 5;
constexpr uint32_t all_slots = (1U << slots) - 1;
constexpr size_t longest_field = largest_field.bytes();
constexpr size_t most_order_digits = largest_field.words(); // an order has at most m bits

int32_t degree_of(const dstu_ctx &ctx)
{
    return static_cast<int32_t>(ctx.curve.mod_m);
}

uint64_t order_bits(const dstu_ctx &ctx)
{
    return qalbitlen(ctx.n, 1);
}

const Engine &engine_of(const dstu_ctx &ctx)
{
    const qale2curve &c = ctx.curve;
    return *engine_of_field(c.mod_m, c.mod_a, c.mod_b, c.mod_c);
}

// How deep the stack is at most below steps of a pool, key generation and signing, but for
// multiplications of the base point, which wipe theirs themselves.
constexpr size_t step_stack = 512, keys_stack = 768, signing_stack = 4352;

// Room for a product of two numbers below the order, and for what qaldiv wants beside it.
typedef qald Number[1 + 2 * most_order_digits + 2];

// A number as bytes and back, with neither branches nor addresses that depend on it: x gets as many
// digits as the bytes fill, zeros at the top or not.
void read_digits(qald *x, const uint8_t *bytes, size_t size)
{
    x[0] = (size + sizeof *x - 1) / sizeof *x;
    x[x[0]] = 0;
    memcpy(x + 1, bytes, size);
}

void write_digits(uint8_t *bytes, size_t size, const qald *x)
{
    const size_t have = x[0] * sizeof *x;
    memcpy(bytes, x + 1, size < have ? size : have);
}

// The hash as an element: its first m bits; 1 for 0.
void read_hash(const dstu_ctx &ctx, qal2d *h, int32_t bits, const uint8_t *hash)
{
    qal2pclear(h, degree_of(ctx));
    qal2pfrombits(h, hash, bits < degree_of(ctx) ? bits : degree_of(ctx));
    if (qal2p_is_zero(h))
        qal2pinc(h);
}

// The low L - 1 bits of an element that is not zero, where the order has L.
void to_scalar(const dstu_ctx &ctx, qald *r, const qal2d *element)
{
    qalmodexpb2(qal2ptobig(r, element), order_bits(ctx) - 1);
}

// s = (e + d r) mod n, for e, d and r shorter than n.
void signature_scalar(const dstu_ctx &ctx, qald *s, const qald *e, const qald *d, const qald *r)
{
    const qald *const n = ctx.n;
    const size_t digits = n[0];
    if ((n[1] & 1) == 0) {
        // No order of a base point of the standard is even; nothing needs to be hidden.
        Number product;
        qaldiv(qaladd(qalmul(d, r, product), e), n, nullptr, s);
        return;
    }
    // The Montgomery product of d and r R, whose time depends on neither. The division may show
    // what r is: it is the other half of the signature.
    qald shifted[1 + 2 * most_order_digits], r_montgomery[1 + 2 * most_order_digits + 2];
    memset(shifted + 1, 0, digits * sizeof *r);
    memcpy(shifted + 1 + digits, r + 1, r[0] * sizeof *r);
    shifted[0] = digits + r[0];
    qaldiv(shifted, n, nullptr, r_montgomery);
    qald operands[3][most_order_digits] = {};
    const qald *const sources[] = {e, d, r_montgomery};
    for (size_t i = 0; i < 3; i++)
        memcpy(operands[i], sources[i] + 1, sources[i][0] * sizeof *s);
    qald sum[2 * most_order_digits];
    qal_mont_mul(sum, operands[1], operands[2], n + 1, digits, montgomery_constant(n[1]));
    const qald carry = qal_add_row(sum, sum, operands[0], digits);
    subtract_once(s + 1, sum, carry, n + 1, digits);
    s[0] = digits;
    declassify(s + 1, digits * sizeof *s); // half of the signature
    qalclip(s);
}

// The pool's slots.
//
// A slot shows the course of qale2kpic_step: it takes as many steps as its scalar has windows, and
// `bits` counts down by their lengths. The multiplication behind it has a schedule of its own, with
// windows that do not depend on the scalar, one in each step as long as there are any and all that
// remain in the last step. The number of those that remain is kept behind the scalar's digits, and
// of a slot that is ready the bit with which its compressed point begins.
uint64_t &windows_left(dstu_slot &slot)
{
    return slot.e[QALBIG_SIZE - 1];
}

uint64_t &compressed_bit(dstu_slot &slot)
{
    return slot.e[QALBIG_SIZE - 2];
}

void start(dstu_bspool &pool, dstu_slot &slot)
{
    const dstu_ctx &ctx = *pool.ctx;
    uint8_t random[longest_field] = {};
    const auto size = static_cast<uint32_t>(ctx.key_len);
    pool.rnd(random, size);
    // Below 2^(L - 1), where the order has L bits: of as many digits, whose topmost one is cut.
    const uint64_t bits = order_bits(ctx) - 1, digits = bits / 64 + 1;
    read_digits(slot.e, random, size);
    for (uint64_t i = slot.e[0]; i < digits; i++)
        slot.e[i + 1] = 0;
    slot.e[digits] &= (uint64_t{1} << (bits % 64)) - 1;
    // Normalised without a branch. That the count of digits becomes known means nothing: all
    // secrets but one in 2^34 or more, which is the least that the largest digit has of them, have
    // the same.
    uint64_t count = 0;
    for (uint64_t i = 1; i <= digits; i++) {
        const uint64_t any = 0 - ((slot.e[i] | (0 - slot.e[i])) >> 63);
        count = (i & any) | (count & ~any);
    }
    slot.e[0] = declassified(count);
    qale2kpic_init(&slot.kp, &ctx.curve, slot.e, ctx.powers, ctx.ws);
    windows_left(slot) = regular_windows(order_bits(ctx));
    wipe(random, sizeof random);
}

// All ones for a < b, both below 2^63; zero otherwise.
uint64_t mask_less(uint64_t a, uint64_t b)
{
    return 0 - ((a - b) >> 63);
}

// The length of the next window, as qalgetslide finds it, by looks at all digits. Compilers make
// branches of comparisons; these are differences, whose top bits count.
uint64_t window_length(const qald *e, uint64_t bits, uint64_t ws)
{
    // `top`: the ws bits below `bits`, as the highest of a digit. `highest`: one more than the
    // index of the highest bit set below `bits`.
    uint64_t top = 0, highest = 0;
    for (uint64_t i = 0; i < e[0]; i++) {
        const uint64_t base = 64 * i, digit = e[i + 1];
        // Bits of this digit that are below `bits`: some, or all, or none.
        const uint64_t some = mask_less(base, bits) & mask_less(bits, base + 64);
        const uint64_t all = mask_less(base + 63, bits);
        const uint64_t below = digit & (all | (some & ((uint64_t{1} << (bits & 63)) - 1)));
        const auto length = static_cast<uint64_t>(64 - __builtin_clzll(below | 1));
        const uint64_t any = 0 - ((below | (0 - below)) >> 63);
        highest = (highest & ~any) | ((base + length) & any);
        // What the window has of this digit: it ends in it, or goes on above it.
        const uint64_t inside = mask_less(base, bits) & mask_less(bits, base + 65);
        const uint64_t beyond = mask_less(base + 64, bits) & mask_less(bits, base + 128);
        top |= below << ((64 - bits) & 63) & inside;
        top |= digit >> (bits & 63) & beyond;
    }
    const uint64_t window = top >> (64 - ws) | uint64_t{1} << ws; // never zero
    const auto odd = ws - static_cast<uint64_t>(__builtin_ctzll(window));
    const uint64_t run = 0 - (top >> 63 ^ 1); // of zeros
    return ((bits - highest) & run) | (odd & ~run);
}

void complete(dstu_bspool &pool, dstu_slot &slot)
{
    const dstu_ctx &ctx = *pool.ctx;
    const Engine &engine = engine_of(ctx);
    slot.kp.bits = 0;
    const uint64_t left = windows_left(slot);
    if (left > 0 && (ctx.n[1] & 1) != 0 &&
        engine.multiply_windows(&ctx.curve, &slot.kp.Q, slot.e, ctx.n, ctx.powers,
                                static_cast<unsigned>(left - 1), 0))
        windows_left(slot) = 0;
    // Where the schedule fails, it says so by being unfinished.
    if (windows_left(slot) != 0) {
        qale2kpic_init(&slot.kp, &ctx.curve, slot.e, ctx.powers, ctx.ws);
        engine.multiply(&slot.kp);
    }
    windows_left(slot) = 0;
    // The inverse is taken here, so that a secret which is ready costs whoever takes it little.
    if ((ctx.n[1] & 1) != 0)
        compressed_bit(slot) = engine.make_affine(&slot.kp.Q);
    wipe_stack<engine_stack>();
}

// The point of a slot that is ready, as qale2comp writes it.
void compress(const dstu_ctx &ctx, qal2d *c, dstu_slot &slot)
{
    if ((ctx.n[1] & 1) == 0) {
        qale2comp(&ctx.curve, c, &slot.kp.Q);
        return;
    }
    qal2pcopy(qal2pclear(c, degree_of(ctx)), slot.kp.Q.X);
    c[1] = (c[1] & ~1U) | static_cast<qal2d>(compressed_bit(slot));
}

// One window; true when it was the last.
bool proceed(dstu_bspool &pool, dstu_slot &slot)
{
    const dstu_ctx &ctx = *pool.ctx;
    if (slot.e[0] > 0)
        slot.kp.bits -= window_length(slot.e, slot.kp.bits, static_cast<uint64_t>(ctx.ws));
    // How many steps a secret takes is what the interface shows of it.
    if (declassified(slot.kp.bits == 0)) {
        complete(pool, slot);
        return true;
    }
    const uint64_t left = windows_left(slot);
    // The last window is left for the last step; a failure before shows again there.
    if (left > 1 && (ctx.n[1] & 1) != 0) {
        const auto index = static_cast<unsigned>(left - 1);
        if (engine_of(ctx).multiply_windows(&ctx.curve, &slot.kp.Q, slot.e, ctx.n, ctx.powers,
                                            index, index))
            windows_left(slot) = left - 1;
        wipe_stack<engine_stack>();
    }
    return false;
}

uint32_t lowest_clear(uint32_t mask)
{
    return static_cast<uint32_t>(__builtin_ctz(~mask));
}

// Q, compressed, of which -Q is the point: only the trace of y/x changes, by Tr(1) = 1.
void negate_compressed(const dstu_ctx &ctx, qal2d *c)
{
    if ((ctx.n[1] & 1) != 0) {
        if (!qal2p_is_zero(c))
            qal2pinc(c);
        return;
    }
    qale2point point;
    if (qale2exp(&ctx.curve, &point, c) != nullptr)
        qale2comp(&ctx.curve, c, qale2pneg(&ctx.curve, &point));
    wipe(&point, sizeof point);
}

// x of a compressed point, which is not zero: Tr(x) = Tr(a) where the order is odd.
void abscissa(const dstu_ctx &ctx, qal2d *x, const qal2d *c)
{
    if ((ctx.n[1] & 1) != 0) {
        qal2pcopy(x, c);
        qal2psbit(x, 0, 0);
        x[1] |= engine_of(ctx).trace(x) ^ ctx.curve.a;
        return;
    }
    qale2point point;
    if (qale2exp(&ctx.curve, &point, c) != nullptr)
        qale2pxy(&ctx.curve, &point, x, nullptr);
    wipe(&point, sizeof point);
}

} // namespace

namespace qal::ua {

bool read_point(const qale2curve &curve, qale2point *P, const uint8_t *bytes, int32_t size)
{
    qal2p c;
    const auto degree = static_cast<int32_t>(curve.mod_m);
    qal2pfromb(qal2pclear(c, degree), bytes, size);
    return qal2p_deg(c) < degree && qale2exp(&curve, P, c) != nullptr;
}

bool read_private_key(const dstu_ctx &ctx, qald *d, const uint8_t *bytes, int32_t size)
{
    const uint64_t bits = order_bits(ctx) - 1, digits = ctx.n[0];
    const size_t given = static_cast<size_t>(size), room = digits * sizeof *d;
    read_digits(d, bytes, given < room ? given : room);
    for (uint64_t i = d[0]; i < digits; i++)
        d[i + 1] = 0;
    d[0] = digits;
    // The order has one bit more, and no digit above that.
    uint64_t any = 0, above = d[digits] >> (bits % 64);
    for (uint64_t i = 1; i <= digits; i++)
        any |= d[i];
    for (size_t i = room; i < given; i++)
        above |= bytes[i];
    return declassified(any != 0 && above == 0);
}

} // namespace qal::ua

namespace {

int step(dstu_bspool &pool)
{
    if ((pool.ready & all_slots) == all_slots)
        return 1;
    const uint32_t i = lowest_clear(pool.ready);
    dstu_slot &slot = pool.slot[i];
    if ((pool.started >> i & 1) == 0) {
        start(pool, slot);
        pool.started |= 1U << i;
    } else if (proceed(pool, slot)) {
        pool.ready |= 1U << i;
    }
    return pool.ready != 0;
}

void generate(const dstu_ctx &ctx, dstu_bspool &pool, int32_t &priv_len, uint8_t *priv,
              int32_t &pub_len, uint8_t *pub)
{
    Number d;
    qal2p Q;
    do
        dstu_bspool_get(&pool, d, Q);
    while (d[0] == 0);
    negate_compressed(ctx, Q);
    pub_len = field_bytes(ctx.curve);
    qal2ptob(pub, Q, pub_len);
    memset(priv, 0, static_cast<size_t>(priv_len));
    write_digits(priv, static_cast<size_t>(ctx.key_len), d);
    priv_len = ctx.key_len;
}

int sign_hash(const dstu_ctx &ctx, dstu_bspool &pool, int32_t priv_len, const uint8_t *priv,
              int32_t hash_bits, const uint8_t *hash, int32_t *sig_len, uint8_t *sig)
{
    Number d;
    if (!read_private_key(ctx, d, priv, priv_len))
        return DSTU_BAD_PRIVATE_KEY;
    qal2p h, point, x;
    read_hash(ctx, h, hash_bits, hash);
    qal2pclear(x, degree_of(ctx));
    Number e, s;
    qald r[QALBIG_SIZE];
    for (;;) {
        dstu_bspool_get(&pool, e, point);
        if (qal2p_is_zero(point))
            continue;
        abscissa(ctx, x, point);
        // In place: what an attempt that fails below leaves is where the next one begins.
        qale2bfmul(&ctx.curve, h, h, x);
        to_scalar(ctx, r, h);
        if (r[0] == 0)
            continue;
        signature_scalar(ctx, s, e, d, r);
        if (s[0] != 0)
            break;
    }
    const int32_t size = ctx.sig_len, half = size / 2;
    memset(sig, 0, static_cast<size_t>(size));
    qaltorbase256(sig, static_cast<uint32_t>(half), r);
    qaltorbase256(sig + half, static_cast<uint32_t>(half), s);
    *sig_len = size;
    return DSTU_OK;
}

} // namespace

extern "C" {

int dstu_init_curve(dstu_ctx *ctx, uint32_t m, uint32_t mod_a, uint32_t mod_b, uint32_t mod_c,
                    uint32_t a, const uint8_t *b, int32_t b_len)
{
    QAL_REQUIRE((largest_field.m + 7) / 8 >= (uint64_t{m} + 1 + 7) / 8,
                "((431+7)/8) >= (((((mod_m)+1)+7)/8))");
    const auto field_len = static_cast<int32_t>((m + 8) / 8);
    if (ctx == nullptr || b == nullptr || b_len > field_len)
        return DSTU_BAD_CURVE;
    memset(ctx, 0, sizeof *ctx);
    uint8_t coefficient[longest_field] = {};
    if (b_len > 0)
        memcpy(coefficient, b, static_cast<size_t>(b_len));
    if (qale2cr(&ctx->curve, m, mod_a, mod_b, mod_c, a, coefficient) == nullptr)
        return DSTU_BAD_CURVE;
    ctx->field_len = field_len;
    return DSTU_OK;
}

int dstu_init_pgen(dstu_ctx *ctx, int32_t G_len, const uint8_t *G, int32_t n_len, const uint8_t *n)
{
    if (ctx == nullptr || G == nullptr || n == nullptr)
        return DSTU_BAD_ARGUMENT;
    const int32_t most = field_bytes(ctx->curve);
    if (G_len < 1 || G_len > most || n_len < 1 || n_len > most)
        return DSTU_BAD_BASE_POINT;
    if (!read_point(ctx->curve, &ctx->G, G, G_len) || qale2p_is_inf(&ctx->curve, &ctx->G))
        return DSTU_BAD_BASE_POINT;
    qalfromrbase256(ctx->n, n, static_cast<uint32_t>(n_len));
    const uint64_t bits = order_bits(*ctx), m = ctx->curve.mod_m;
    if (bits > m || bits < m - 2 || bits < least_order_bits)
        return DSTU_BAD_BASE_POINT;
    ctx->ws = static_cast<int32_t>(regular_window);
    qale2ic(&ctx->curve, ctx->powers, &ctx->G, ctx->ws);
    qale2point multiple;
    qale2kpic(&ctx->curve, &multiple, ctx->n, ctx->powers, ctx->ws);
    if (!qale2p_is_inf(&ctx->curve, &multiple))
        return DSTU_BAD_BASE_POINT;
    ctx->key_len = static_cast<int32_t>((bits + 6) / 8);
    ctx->sig_len = static_cast<int32_t>((bits + 7) / 4) & ~1;
    return DSTU_OK;
}

int dstu_bspool_init(dstu_bspool *pool, const dstu_ctx *ctx, qal_rnd rnd)
{
    if (pool == nullptr || ctx == nullptr || rnd == nullptr)
        return DSTU_BAD_ARGUMENT;
    pool->ctx = ctx;
    pool->rnd = rnd;
    pool->ready = 0;
    pool->started = 0;
    return DSTU_OK;
}

int dstu_bspool_step(dstu_bspool *pool)
{
    return run_on_wiped_stack<step_stack>([=] { return step(*pool); });
}

int dstu_bspool_get(dstu_bspool *pool, qald *e, qal2d *cp)
{
    QAL_REQUIRE(pool != nullptr, "pool != 0");
    QAL_REQUIRE(e != nullptr, "e != 0");
    QAL_REQUIRE(cp != nullptr, "cp != 0");
    if ((pool->ready & all_slots) == 0) {
        // Steps until a slot is ready come to this.
        if ((pool->started & 1) == 0)
            start(*pool, pool->slot[0]);
        complete(*pool, pool->slot[0]);
        pool->started |= 1;
        pool->ready |= 1;
    }
    const auto i = static_cast<uint32_t>(__builtin_ctz(pool->ready));
    dstu_slot &slot = pool->slot[i];
    qalcopy(e, slot.e);
    compress(*pool->ctx, cp, slot);
    // It is a public key, or its x what everyone who verifies the signature finds.
    declassify(cp, sizeof(qal2p));
    wipe(slot.e, sizeof slot.e);
    wipe(&slot.kp.Q, sizeof slot.kp.Q);
    pool->ready &= ~(1U << i);
    pool->started &= ~(1U << i);
    return DSTU_OK;
}

int dstu_gen_keys(const dstu_ctx *ctx, dstu_bspool *pool, int32_t *priv_len, uint8_t *priv,
                  int32_t *pub_len, uint8_t *pub)
{
    if (ctx == nullptr || pool == nullptr || priv_len == nullptr || priv == nullptr ||
        pub_len == nullptr || pub == nullptr)
        return DSTU_BAD_ARGUMENT;
    if (*priv_len < ctx->key_len || *pub_len < ctx->field_len)
        return DSTU_BAD_ARGUMENT;
    run_on_wiped_stack<keys_stack>([=] { generate(*ctx, *pool, *priv_len, priv, *pub_len, pub); });
    return DSTU_OK;
}

int dstu_ucpubk(const dstu_ctx *ctx, uint8_t *out, const uint8_t *key, int32_t key_len)
{
    qale2point Q;
    if (!read_point(ctx->curve, &Q, key, key_len))
        return DSTU_BAD_PUBLIC_KEY;
    const int32_t size = ctx->field_len;
    memset(out, 0, 2 * static_cast<size_t>(size));
    if (!qale2p_is_inf(&ctx->curve, &Q)) {
        qal2ptob(out, Q.X, size);
        qal2ptob(out + size, Q.Y, size);
    }
    return DSTU_OK;
}

int dstu_cppubk(const dstu_ctx *ctx, uint8_t *out, int32_t *out_len, const uint8_t *in)
{
    if (out_len == nullptr || *out_len < ctx->field_len)
        return DSTU_BAD_ARGUMENT;
    const int32_t size = ctx->field_len, degree = degree_of(*ctx);
    qal2p x, y;
    qal2pfromb(qal2pclear(x, degree), in, size);
    qal2pfromb(qal2pclear(y, degree), in + size, size);
    qale2point Q;
    if (qal2p_deg(x) >= degree || qal2p_deg(y) >= degree ||
        qale2pcr(&ctx->curve, &Q, x, y) == nullptr)
        return DSTU_BAD_PUBLIC_KEY;
    *out_len = field_bytes(ctx->curve);
    qal2ptob(out, qale2comp(&ctx->curve, x, &Q), *out_len);
    return DSTU_OK;
}

int dstu_sign(const dstu_ctx *ctx, dstu_bspool *pool, int32_t priv_len, const uint8_t *priv,
              int32_t hash_bits, const uint8_t *hash, int32_t *sig_len, uint8_t *sig)
{
    if (ctx == nullptr || pool == nullptr || priv == nullptr || hash == nullptr ||
        sig_len == nullptr || sig == nullptr)
        return DSTU_BAD_ARGUMENT;
    if (priv_len < 1 || priv_len > ctx->key_len || *sig_len < ctx->sig_len || hash_bits < 1)
        return DSTU_BAD_ARGUMENT;
    return run_on_wiped_stack<signing_stack>(
        [=] { return sign_hash(*ctx, *pool, priv_len, priv, hash_bits, hash, sig_len, sig); });
}

int dstu_verify(const dstu_ctx *ctx, int32_t pub_len, const uint8_t *pub, int32_t hash_bits,
                const uint8_t *hash, int32_t sig_len, const uint8_t *sig)
{
    if (ctx == nullptr || pub == nullptr || hash == nullptr || sig == nullptr)
        return DSTU_BAD_ARGUMENT;
    if (pub_len < 1 || pub_len > ctx->field_len || hash_bits < 1)
        return DSTU_BAD_ARGUMENT;
    if (sig_len != ctx->sig_len)
        return DSTU_BAD_SIGNATURE;
    const auto half = static_cast<uint32_t>(ctx->sig_len / 2);
    qald r[QALBIG_SIZE], s[QALBIG_SIZE], expected[QALBIG_SIZE];
    qalfromrbase256(r, sig, half);
    qalfromrbase256(s, sig + half, half);
    if (r[0] == 0 || qalcmp(r, ctx->n) >= 0 || s[0] == 0 || qalcmp(s, ctx->n) >= 0)
        return DSTU_BAD_SIGNATURE;
    qale2point Q;
    if (!read_point(ctx->curve, &Q, pub, pub_len))
        return DSTU_BAD_PUBLIC_KEY;

    qal2p x, h;
    if (!engine_of(*ctx).joint_abscissa(&ctx->curve, x, s, ctx->powers, r, &Q))
        return DSTU_BAD_SIGNATURE;
    read_hash(*ctx, h, hash_bits, hash);
    qale2bfmul(&ctx->curve, h, h, x);
    if (qal2p_is_zero(h))
        return DSTU_BAD_SIGNATURE;
    to_scalar(*ctx, expected, h);
    return qalcmp(expected, r) == 0 ? DSTU_OK : DSTU_BAD_SIGNATURE;
}
}
