// The pool of one-time secrets: each slot draws a secret e and multiplies the base point by it, a
// window at a time. Constant time but for the number of steps, and unless e is one of a few hundred
// small values.
#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "ua/dstu_domain.hpp"
#include "ua/dstu_even_order.hpp"

using namespace qal::base;
using namespace qal::ua;

namespace {

constexpr uint32_t slots = 5;
constexpr uint32_t all_slots = (1U << slots) - 1;

// How deep the stack is at most below a step, but for multiplications, which wipe theirs
// themselves.
constexpr size_t step_stack = 512;

// A slot of the pool, with the two words that the pool keeps behind the digits of its secret.
//
// The interface shows the course of qale2kpic_step(): a slot takes as many steps as its scalar has
// windows, and kp.bits counts down by their lengths. The multiplication behind it has windows of
// its own, at places that do not depend on the scalar. Each step does one of these as long as there
// are any, and the last step does all that remain.
struct Slot {
    dstu_slot &record;
    uint64_t &windows_left;   // windows of the multiplication that remain
    uint64_t &compressed_bit; // once the slot is ready: bit 0 of its compressed point

    explicit Slot(dstu_slot &slot)
        : record(slot), windows_left(slot.e[QALBIG_SIZE - 1]),
          compressed_bit(slot.e[QALBIG_SIZE - 2])
    {
    }
};
static_assert(most_order_digits < QALBIG_SIZE - 2);

void start(dstu_bspool &pool, Slot slot)
{
    const dstu_ctx &ctx = *pool.ctx;
    qald *const e = slot.record.e;
    uint8_t random[largest_field.bytes()] = {};
    const auto size = static_cast<uint32_t>(ctx.key_len);
    pool.rnd(random, size);
    // e < 2^(L - 1), where the order has L bits: e has as many digits as L - 1 bits reach into, and
    // the highest one is cut.
    const uint64_t bits = order_bits(ctx) - 1, digits = bits / 64 + 1;
    read_digits(e, random, size);
    for (uint64_t i = e[0]; i < digits; i++)
        e[i + 1] = 0;
    e[digits] &= (uint64_t{1} << (bits % 64)) - 1;
    // Normalised without a branch. The count of digits becomes public, which tells next to nothing:
    // the highest digit that e can have gets at least 32 random bits, so the count is smaller with
    // a probability of at most 2^-32.
    uint64_t count = 0;
    for (uint64_t i = 1; i <= digits; i++) {
        const uint64_t any = 0 - ((e[i] | (0 - e[i])) >> 63);
        count = (i & any) | (count & ~any);
    }
    e[0] = declassified(count);
    qale2kpic_init(&slot.record.kp, &ctx.curve, e, ctx.powers, ctx.ws);
    slot.windows_left = window_count(order_bits(ctx));
    wipe(random, sizeof random);
}

// All ones for a < b, both below 2^63; zero otherwise.
uint64_t mask_less(uint64_t a, uint64_t b)
{
    return 0 - ((a - b) >> 63);
}

// The length of the next window, as qalgetslide() finds it, in constant time: it reads all digits.
// Masks come from the top bits of differences, because compilers turn comparisons into branches.
uint64_t window_length(const qald *e, uint64_t bits, uint64_t ws)
{
    // `top` gets the ws bits below `bits`, at the top of the word. `highest` gets one more than the
    // index of the highest bit set below `bits`.
    uint64_t top = 0, highest = 0;
    for (uint64_t i = 0; i < e[0]; i++) {
        const uint64_t base = 64 * i, digit = e[i + 1];
        // The bits of this digit that are below `bits`: some, all or none of them.
        const uint64_t some = mask_less(base, bits) & mask_less(bits, base + 64);
        const uint64_t all = mask_less(base + 63, bits);
        const uint64_t below = digit & (all | (some & ((uint64_t{1} << (bits & 63)) - 1)));
        const auto length = static_cast<uint64_t>(64 - __builtin_clzll(below | 1));
        const uint64_t any = 0 - ((below | (0 - below)) >> 63);
        highest = (highest & ~any) | ((base + length) & any);
        // The part of the window in this digit, if it begins here, or in the digit above.
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

// Does the next `count` windows of the multiplication. Returns false, and counts none of them, if
// they failed or the order is even: see Engine::multiply_windows.
bool multiply_windows(const dstu_ctx &ctx, Slot slot, uint64_t count)
{
    const auto from = static_cast<unsigned>(slot.windows_left - 1),
               to = static_cast<unsigned>(slot.windows_left - count);
    if (!has_odd_order(ctx) ||
        !engine_of(ctx).multiply_windows(&ctx.curve, &slot.record.kp.Q, slot.record.e, ctx.n,
                                         ctx.powers, from, to))
        return false;
    slot.windows_left = to;
    return true;
}

void complete(const dstu_ctx &ctx, Slot slot)
{
    const Engine &engine = engine_of(ctx);
    qale2kpic_ctx &kp = slot.record.kp;
    kp.bits = 0;
    if (!multiply_windows(ctx, slot, slot.windows_left)) {
        qale2kpic_init(&kp, &ctx.curve, slot.record.e, ctx.powers, ctx.ws);
        engine.multiply_var(&kp);
    }
    slot.windows_left = 0;
    // The inversion is done here, so that taking a ready secret costs little.
    if (has_odd_order(ctx))
        slot.compressed_bit = engine.make_affine(&kp.Q);
    wipe_stack<engine_stack>();
}

// Writes the point of a ready slot as qale2comp() does.
void compress(const dstu_ctx &ctx, qal2d *c, Slot slot)
{
    qale2point &Q = slot.record.kp.Q;
    if (!has_odd_order(ctx)) {
        even_order::compress_var(ctx, c, &Q);
        return;
    }
    qal2pcopy(qal2pclear(c, degree_of(ctx)), Q.X);
    c[1] = (c[1] & ~1U) | static_cast<qal2d>(slot.compressed_bit);
}

// Does one step of a slot that has its secret; returns true if it was the last one.
bool proceed(const dstu_ctx &ctx, Slot slot)
{
    const qald *const e = slot.record.e;
    uint64_t &bits = slot.record.kp.bits;
    if (e[0] > 0)
        bits -= window_length(e, bits, static_cast<uint64_t>(ctx.ws));
    // The number of steps that a secret takes is public: the interface shows it.
    if (declassified(bits == 0)) {
        complete(ctx, slot);
        return true;
    }
    // The last window is left for the last step. A failure here leaves Z = 0 in Q, with which all
    // windows fail: the last step finds it.
    if (slot.windows_left > 1) {
        multiply_windows(ctx, slot, 1);
        wipe_stack<engine_stack>();
    }
    return false;
}

uint32_t lowest_clear(uint32_t mask)
{
    return static_cast<uint32_t>(__builtin_ctz(~mask));
}

int step(dstu_bspool &pool)
{
    if ((pool.ready & all_slots) == all_slots)
        return 1;
    const uint32_t i = lowest_clear(pool.ready);
    const Slot slot(pool.slot[i]);
    if ((pool.started >> i & 1) == 0) {
        start(pool, slot);
        pool.started |= 1U << i;
    } else if (proceed(*pool.ctx, slot)) {
        pool.ready |= 1U << i;
    }
    return pool.ready != 0;
}

} // namespace

extern "C" {

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
        // The same as steps until a slot is ready.
        const Slot first(pool->slot[0]);
        if ((pool->started & 1) == 0)
            start(*pool, first);
        complete(*pool->ctx, first);
        pool->started |= 1;
        pool->ready |= 1;
    }
    const auto i = static_cast<uint32_t>(__builtin_ctz(pool->ready));
    dstu_slot &slot = pool->slot[i];
    qalcopy(e, slot.e);
    compress(*pool->ctx, cp, Slot(slot));
    // cp becomes public: it is a public key, or verification computes its x from the signature.
    declassify(cp, sizeof(qal2p));
    wipe(slot.e, sizeof slot.e);
    wipe(&slot.kp.Q, sizeof slot.kp.Q);
    pool->ready &= ~(1U << i);
    pool->started &= ~(1U << i);
    return DSTU_OK;
}
}
