// Polynomials over GF(2): all operations of qal2poly.h but the products and squares of fixed sizes
// (kernels.hpp). Shapes, aliasing and timing are as in the header.
#include "base/bytes.hpp"
#include "base/wipe.hpp"
#include "ua/counts.hpp"
#include "ua/engine.hpp"
#include "ua/kernels.hpp"
#include "ua/reduce.hpp"
#include "ua/words.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::ua;

namespace {

constexpr char qal_source[] = "../src/ua/qal2poly";

constexpr int32_t highest_degree = largest_field.m;
static_assert(QAL2P_SIZE == 1 + largest_field.halves());

// Bits in the largest polynomial.
constexpr int32_t most_bits = 32 * (QAL2P_SIZE - 1);

void read_bytes(qal2d *u, const uint8_t *in, int32_t len)
{
    memset(u + 1, 0, *u * sizeof *u);
    if (len > 0)
        memcpy(u + 1, in, static_cast<size_t>(len));
}

// c += a x^j. Coefficients beyond the last word of c are dropped.
qal2d *addshifted(qal2d *c, int32_t j, const qal2d *a)
{
    QAL_REQUIRE(c != nullptr, "c != 0");
    QAL_REQUIRE(a != nullptr, "a != 0");
    QAL2P_REQUIRE_COUNT(c);
    QAL2P_REQUIRE_COUNT(a);
    QAL_REQUIRE(*c == *a, "(*c) == (*a)");
    const qal2d n = *c;
    const auto word = static_cast<qal2d>(j) / 32, bit = static_cast<qal2d>(j) % 32;
    for (qal2d i = word; i < n; i++) {
        const uint64_t above = a[i - word + 1], below = i > word ? a[i - word] : 0;
        c[i + 1] ^= static_cast<qal2d>((above << 32 | below) << bit >> 32);
    }
    return c;
}

// A polynomial's words as 64-bit words, in place: this is one of them, Pairs are all.
struct Pair {
    qal2d *words;

    [[gnu::always_inline]] operator uint64_t() const
    {
        uint64_t value;
        memcpy(&value, words, sizeof value);
        return value;
    }
    [[gnu::always_inline]] void set(uint64_t value) { memcpy(words, &value, sizeof value); }
    [[gnu::always_inline]] void operator^=(uint64_t value) { set(*this ^ value); }
    [[gnu::always_inline]] void operator&=(uint64_t value) { set(*this & value); }
};

struct Pairs {
    qal2d *words;

    [[gnu::always_inline]] Pair operator[](unsigned i) const { return {words + 2 * i}; }
};

// Reduces the `halves` words of x. The remainder replaces the lower words. The higher words do not
// change, so the reduction works on a copy, in registers.
template<const FieldPolynomial &f, unsigned halves>
void reduce_in_registers(qal2d *x)
{
    constexpr unsigned pairs = halves / 2;
    uint64_t t[2 * f.words()] = {};
    unroll<pairs>([&](auto i) QAL_INLINED { t[i()] = Pairs{x}[i()]; });
    if constexpr (halves % 2 != 0)
        t[pairs] = x[halves - 1];
    reduce<f>(t);
    unroll<f.halves() / 2>([&](auto i) QAL_INLINED { Pairs{x}[i()].set(t[i()]); });
    if constexpr (f.halves() % 2 != 0)
        x[f.halves() - 1] = static_cast<qal2d>(t[f.halves() / 2]);
}

// How deep the stack is at most below an inversion.
constexpr size_t inversion_stack = 1920;

// The inverse of u modulo the polynomial with these exponents, in one of the buffers; v, g1 and g2
// are zero before. The binary variant of Euclid's algorithm: each step cancels the leading term of
// the longer one of u and v. Throughout, u = g1 a and v = g2 a modulo the polynomial, where a is
// the first value of u.
qal2d *euclid_var(qal2d *u, qal2d *v, qal2d *g1, qal2d *g2, uint32_t mod_m, uint32_t mod_a,
                  uint32_t mod_b, uint32_t mod_c)
{
    const auto degree = static_cast<int32_t>(mod_m);
    qal2psbit(v, degree, 1);
    qal2psbit(v, 0, 1);
    qal2psbit(v, static_cast<int32_t>(mod_a), 1);
    if (mod_b != 0) {
        qal2psbit(v, static_cast<int32_t>(mod_b), 1);
        qal2psbit(v, static_cast<int32_t>(mod_c), 1);
    }
    g1[1] = 1;
    while (!(qal2p_deg(u) == 0 && u[1] == 1)) {
        int32_t j = qal2p_deg(u) - qal2p_deg(v);
        if (j < 0) {
            j = -j;
            qal2d *const shorter = u, *const factor = g1;
            u = v;
            v = shorter;
            g1 = g2;
            g2 = factor;
        }
        addshifted(u, j, v);
        addshifted(g1, j, g2);
    }
    return g1;
}

// Constant time in the four fields.
void invert(qal2d *r, const qal2d *a, uint32_t mod_m, uint32_t mod_a, uint32_t mod_b,
            uint32_t mod_c)
{
    const auto degree = static_cast<int32_t>(mod_m);
    qal2p u, v, g1, g2;
    qal2pclear(u, degree);
    qal2pclear(v, degree);
    qal2pclear(g1, degree);
    qal2pclear(g2, degree);
    qal2pcopy(u, a);
    const qal2d *inverse = g1;
    if (const Engine *engine = engine_of_field(mod_m, mod_a, mod_b, mod_c))
        engine->invert(g1, u);
    else
        inverse = euclid_var(u, v, g1, g2, mod_m, mod_a, mod_b, mod_c);
    qal2pcopy(r, inverse);
}

// How deep the stack is at most below a product of a polynomial and a word.
constexpr size_t words_stack = 192;

// r = the low n words of a b, or of s + a b if `added`; returns the top word. It is not inlined, so
// that b is in a register and the callers can wipe all of the stack that it used.
template<bool added>
[[gnu::noinline]] qal2d multiply_by_word(qal2d *r, const qal2d *s, const qal2d *a, int32_t n,
                                         qal2d b)
{
    qal2d carry = 0;
    for (int32_t i = 0; i < n; i++) {
        const uint64_t product = product32(a[i], b);
        r[i] = (added ? s[i] : 0) ^ static_cast<qal2d>(product) ^ carry;
        carry = static_cast<qal2d>(product >> 32);
    }
    return carry;
}

} // namespace

extern "C" {

qal2d *qal2pclear(qal2d *r, int32_t deg)
{
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(deg > 0, "deg > 0");
    QAL_REQUIRE(deg <= highest_degree, "deg <= 431");
    const auto n = static_cast<qal2d>(deg + 31) / 32;
    memset(r, 0, (n + 1) * sizeof *r);
    *r = n;
    return r;
}

qal2d *qal2pcopy(qal2d *r, const qal2d *a)
{
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(a != nullptr, "a != 0");
    QAL_REQUIRE(r != a, "r != a");
    QAL2P_REQUIRE_COUNT(r);
    QAL2P_REQUIRE_COUNT(a);
    QAL_REQUIRE(*a == *r, "*a == *r");
    memcpy(r + 1, a + 1, *r * sizeof *r);
    return r;
}

qal2d *qal2pfrombig(qal2d *p, const qald *b)
{
    QAL_REQUIRE(*p < QAL2P_SIZE - 1, "*p < (" QAL2P_CAPACITY "-1)");
    QAL_REQUIRE(b != nullptr, "b != 0");
    const qal2d n = *p;
    memset(p + 1, 0, n * sizeof *p);
    for (qal2d i = 0; i < n && i < 2 * b[0]; i++)
        p[i + 1] = static_cast<qal2d>(b[i / 2 + 1] >> (16 * i % 64)); // as documented
    return p;
}

qald *qal2ptobig(qald *b, const qal2d *p)
{
    QAL_REQUIRE(b != nullptr, "b != 0");
    qal2d top = *p;
    while (top > 0 && p[top] == 0)
        top--;
    b[0] = (top + 1) / 2;
    for (qal2d i = 0; i < b[0]; i++) {
        const qald high = 2 * i + 1 < top ? p[2 * i + 2] : 0;
        b[i + 1] = high << 32 | p[2 * i + 1];
    }
    return b;
}

qal2d *qal2pfromb(qal2d *u, const uint8_t *in, int32_t len)
{
    QAL_REQUIRE(u != nullptr, "u != 0");
    QAL2P_REQUIRE_COUNT(u);
    QAL_REQUIRE(len <= static_cast<int32_t>(4 * *u), "(0<*u) && (len <= (*u) * (sizeof(qal2d)))");
    read_bytes(u, in, len);
    return u;
}

uint8_t *qal2ptob(uint8_t *out, const qal2d *u, int32_t len)
{
    QAL_REQUIRE(out != nullptr, "out != 0");
    QAL_REQUIRE(u != nullptr, "u != 0");
    if (len < 1)
        return out;
    const size_t size = static_cast<size_t>(len), have = *u * sizeof *u;
    memcpy(out, u + 1, size < have ? size : have);
    if (size > have)
        memset(out + have, 0, size - have);
    return out;
}

qal2d *qal2pfrombits(qal2d *u, const uint8_t *in, int32_t len)
{
    QAL_REQUIRE(u != nullptr, "u != 0");
    QAL_REQUIRE(0 < *u && *u <= QAL2P_SIZE, "(0 < *u) && (*u <= " QAL2P_CAPACITY ")");
    QAL_REQUIRE(in != nullptr, "in != 0");
    QAL_REQUIRE(0 <= len && len <= static_cast<int32_t>(32 * *u),
                "(0<=len) && (len <= ((*u) * (sizeof(qal2d)) * 8))");
    const int32_t whole = len / 8, bits = len % 8;
    read_bytes(u, in, whole);
    if (bits != 0)
        u[whole / 4 + 1] |= (in[whole] & ((1U << bits) - 1)) << (8 * (whole % 4));
    return u;
}

int qal2p_is_equal(const qal2d *r, const qal2d *a)
{
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(a != nullptr, "a != 0");
    QAL2P_REQUIRE_COUNT(r);
    QAL2P_REQUIRE_COUNT(a);
    QAL_REQUIRE(*a == *r, "*a == *r");
    qal2d difference = 0;
    for (qal2d i = 1; i <= *r; i++)
        difference |= r[i] ^ a[i];
    return difference == 0;
}

qal2d *qal2pinc(qal2d *r)
{
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL2P_REQUIRE_COUNT(r);
    r[1] ^= 1;
    return r;
}

int32_t qal2p_deg(const qal2d *a)
{
    QAL_REQUIRE(a != nullptr, "a != 0");
    QAL2P_REQUIRE_COUNT(a);
    for (qal2d i = *a; i > 0; i--) {
        if (a[i] != 0)
            return static_cast<int32_t>(32 * i) - 1 - __builtin_clz(a[i]);
    }
    return 0;
}

int qal2pgbit(const qal2d *x, int32_t no)
{
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(0 <= no && no < most_bits,
                "(0 <= no) && (no < (" QAL2P_CAPACITY "-1)*(sizeof(qal2d)<<3))");
    QAL_REQUIRE(static_cast<qal2d>(no) / 32 < x[0],
                "(0 <= no) && (no < (x[0])*(sizeof(qal2d)<<3))");
    return static_cast<int>(x[no / 32 + 1] >> (no % 32) & 1);
}

void qal2psbit(qal2d *x, int32_t no, int32_t val)
{
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(val == 0 || val == 1, "(val == 0) || (val==1)");
    QAL_REQUIRE(0 <= no && no < most_bits,
                "(0 <= no) && (no < (" QAL2P_CAPACITY "-1)*(sizeof(qal2d)<<3))");
    QAL_REQUIRE(static_cast<qal2d>(no) / 32 < x[0], "(0 <= no) && (no < (x[0])*8*sizeof(qal2d))");
    const int32_t i = no / 32 + 1, bit = no % 32;
    x[i] = (x[i] & ~(1U << bit)) | static_cast<qal2d>(val) << bit;
}

qal2d *qal2add(qal2d *r, const qal2d *a, const qal2d *b)
{
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(a != nullptr, "a != 0");
    QAL_REQUIRE(b != nullptr, "b != 0");
    QAL2P_REQUIRE_COUNT(r);
    QAL2P_REQUIRE_COUNT(a);
    QAL2P_REQUIRE_COUNT(b);
    QAL_REQUIRE(*r == *a, "*(r) == *(a)");
    QAL_REQUIRE(*r == *b, "*(r) == *(b)");
    for (qal2d i = 1; i <= *r; i++)
        r[i] = a[i] ^ b[i];
    return r;
}

int qal2p_is_zero(const qal2d *r)
{
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(0 < *r && *r < QAL2P_SIZE, "( 0<*r) && (*r<=(" QAL2P_CAPACITY "-1))");
    qal2d any = 0;
    for (qal2d i = 1; i <= *r; i++)
        any |= r[i];
    return any == 0;
}

int qal2p_is_one(const qal2d *r)
{
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(0 < *r && *r < QAL2P_SIZE, "( 0<*r) && (*r<=(" QAL2P_CAPACITY "-1))");
    qal2d others = r[1] ^ 1;
    for (qal2d i = 2; i <= *r; i++)
        others |= r[i];
    return others == 0;
}

qal2d *qal2invm(qal2d *r, const qal2d *a, uint32_t mod_m, uint32_t mod_a, uint32_t mod_b,
                uint32_t mod_c)
{
    QAL_REQUIRE(mod_m != 0, "mod_m!=0");
    QAL_REQUIRE(mod_a != 0, "mod_a!=0");
    run_on_wiped_stack<inversion_stack>([=] { invert(r, a, mod_m, mod_a, mod_b, mod_c); });
    return r;
}

qal2d gf2x_mul_1_n(qal2d *r, const qal2d *a, int32_t n, qal2d b)
{
    const qal2d top = multiply_by_word<false>(r, nullptr, a, n, b);
    wipe_stack<words_stack>();
    return top;
}

qal2d gf2x_addmul_1_n(qal2d *r, const qal2d *s, const qal2d *a, int32_t n, qal2d b)
{
    const qal2d top = multiply_by_word<true>(r, s, a, n, b);
    wipe_stack<words_stack>();
    return top;
}

void gf2x_mul(qal2d *r, const qal2d *a, int32_t an, const qal2d *b, int32_t bn)
{
    r[bn] = multiply_by_word<false>(r, nullptr, b, bn, a[0]);
    for (int32_t i = 1; i < an; i++)
        r[i + bn] = multiply_by_word<true>(r + i, r + i, b, bn, a[i]);
    wipe_stack<words_stack>();
}

void pmult257x257(qal2d *r, const qal2d *a, const qal2d *b)
{
    QAL_REQUIRE(a[8] == 0 || a[8] == 1, "(a[8] == 0) || ( a[8] == 1)");
    QAL_REQUIRE(b[8] == 0 || b[8] == 1, "(b[8] == 0) || ( b[8] == 1)");
    qal_pmult257(r, a, b);
}

void reduce163_7_6_3_1(qal2d *x)
{
    QAL_REQUIRE(x != nullptr, "x!=0");
    reduce_in_registers<field163, 11>(x);
}

void reduce191_9_1(qal2d *x)
{
    QAL_REQUIRE(x != nullptr, "x!=0");
    reduce_in_registers<field191, 12>(x);
}

void reduce257_12_1(qal2d *x)
{
    reduce_in_registers<field257, 18>(x);
}

void reduce431_5_3_1(qal2d *x)
{
    QAL_REQUIRE(x != nullptr, "x!=0");
    // In place, since the words above the result become zero.
    reduce<field431>(Pairs{x});
    memset(x + field431.halves(), 0, field431.halves() * sizeof *x);
}
}
