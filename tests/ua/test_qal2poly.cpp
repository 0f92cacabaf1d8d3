// Polynomials over GF(2) against the model.
#include "support/preconditions.hpp"
#include "support/sweeps.hpp"
#include "ua/kernels.hpp"
#include "ua/model.hpp"

#include <gtest/gtest.h>

using namespace qal::test;
using namespace qal::ua;

namespace {

constexpr char path[] = "../src/ua/qal2poly";

#define CAPACITY "((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))"

std::string count_text(const std::string &name)
{
    return "(0 < *" + name + ") && (*" + name + " <= " CAPACITY "-1)";
}

Poly random_poly(Random &random, size_t words)
{
    return poly_of(random.below(3) ? random.bytes(4 * words) : random.runs(4 * words));
}

// Bare words between inaccessible pages.
class Words {
public:
    Words(const Poly &value, size_t n) : n_(n), bytes_(bytes_of(value, 4 * n)) {}
    explicit Words(const Bytes &bytes) : n_(bytes.size() / 4), bytes_(bytes) {}

    operator qal2d *() { return reinterpret_cast<qal2d *>(bytes_.data()); }
    Poly value() { return Polynomial::value_of_words(*this, n_); }
    Poly value(size_t from) { return Polynomial::value_of_words(*this + from, n_ - from); }

private:
    size_t n_;
    GuardedBytes bytes_;
};

} // namespace

TEST(Polynomials, ClearFixesTheCount)
{
    for (int32_t degree = 1; degree <= 431; degree++) {
        const uint32_t n = static_cast<uint32_t>(degree + 31) / 32;
        Polynomial p((Poly(1) << (32 * n)) - 1, n);
        ASSERT_EQ(qal2pclear(p, degree), p.words());
        ASSERT_EQ(p.words()[0], n);
        ASSERT_EQ(p.value(), 0);
    }
}

TEST(Polynomials, CopiesSumsAndComparisons)
{
    Random random;
    for (uint32_t n = 1; n <= 14; n++) {
        for (int round = 0; round < 50; round++) {
            const Poly x = random_poly(random, n), y = random_poly(random, n);
            Polynomial a(x, n), b(y, n), r(random_poly(random, n), n);
            ASSERT_EQ(qal2pcopy(r, a), r.words());
            ASSERT_EQ(r.value(), x);
            ASSERT_EQ(qal2p_is_equal(r, a), 1);
            r.words()[1 + random.below(n)] ^= 1U << random.below(32);
            ASSERT_EQ(qal2p_is_equal(r, a), 0);
            ASSERT_EQ(qal2add(r, a, b), r.words());
            ASSERT_EQ(r.value(), x ^ y);
            qal2add(r, r, b);
            ASSERT_EQ(r.value(), x);
            qal2add(r, b, r);
            ASSERT_EQ(r.value(), x ^ y);
            qal2add(r, r, r);
            ASSERT_EQ(r.value(), 0);
            ASSERT_EQ(qal2pinc(a), a.words());
            ASSERT_EQ(a.value(), x ^ 1);
            ASSERT_EQ(qal2p_deg(b), y == 0 ? 0 : static_cast<int32_t>(length(y)) - 1);
        }
    }
}

TEST(Polynomials, ZeroAndOne)
{
    for (uint32_t n = 1; n <= 14; n++) {
        Polynomial p(0, n);
        EXPECT_EQ(qal2p_is_zero(p), 1);
        EXPECT_EQ(qal2p_is_one(p), 0);
        EXPECT_EQ(qal2p_deg(p), 0);
        EXPECT_EQ(qal2p_is_one(qal2pinc(p)), 1);
        EXPECT_EQ(qal2p_is_zero(p), 0);
        EXPECT_EQ(qal2p_deg(p), 0);
        for (uint32_t bit = 0; bit < 32 * n; bit++) {
            Polynomial power(Poly(1) << bit, n), more((Poly(1) << bit) ^ 1, n);
            EXPECT_EQ(qal2p_is_zero(power), 0);
            EXPECT_EQ(qal2p_is_one(power), bit == 0);
            EXPECT_EQ(qal2p_is_one(more), 0);
            EXPECT_EQ(qal2p_deg(power), static_cast<int32_t>(bit));
        }
    }
}

TEST(Polynomials, Bits)
{
    Random random;
    for (uint32_t n = 1; n <= 14; n++) {
        const Poly x = random_poly(random, n);
        Polynomial a(x, n);
        Poly expected = x;
        for (int32_t i = 0; i < static_cast<int32_t>(32 * n); i++) {
            ASSERT_EQ(qal2pgbit(a, i), coefficient(expected, static_cast<size_t>(i)));
            for (const int val : {0, 1, 1, 0, i % 2}) {
                qal2psbit(a, i, val);
                val ? mpz_setbit(expected.get_mpz_t(), static_cast<mp_bitcnt_t>(i))
                    : mpz_clrbit(expected.get_mpz_t(), static_cast<mp_bitcnt_t>(i));
                ASSERT_EQ(a.value(), expected);
            }
        }
    }
}

TEST(Polynomials, FromBytes)
{
    Random random;
    for (uint32_t n = 1; n <= 14; n++) {
        for (size_t size = 0; size <= 4 * n; size++) {
            GuardedBytes in(random.bytes(size));
            Polynomial p(random_poly(random, n), n);
            ASSERT_EQ(qal2pfromb(p, in.data(), static_cast<int32_t>(size)), p.words());
            ASSERT_EQ(p.value(), poly_of(in.contents()));
        }
        Polynomial p(1, n);
        EXPECT_EQ(qal2pfromb(p, nullptr, -1), p.words());
        EXPECT_EQ(p.value(), 0);
    }
}

TEST(Polynomials, ToBytes)
{
    Random random;
    for (uint32_t n = 1; n <= 14; n++) {
        Polynomial p(random_poly(random, n), n);
        for (size_t size = 0; size <= 4 * n + 9; size++) {
            MarkedBytes out(random.bytes(size));
            ASSERT_EQ(qal2ptob(out.data(), p, static_cast<int32_t>(size)), out.data());
            ASSERT_EQ(poly_of(out.contents()),
                      size >= 4 * n ? p.value() : Poly(p.value() & ((Poly(1) << (8 * size)) - 1)));
        }
        uint8_t untouched = 7;
        EXPECT_EQ(qal2ptob(&untouched, p, -1), &untouched);
        EXPECT_EQ(untouched, 7);
    }
}

TEST(Polynomials, FromBits)
{
    Random random;
    for (uint32_t n = 1; n <= 14; n++) {
        for (size_t bits = 0; bits <= 32 * n; bits++) {
            GuardedBytes in(random.bytes((bits + 7) / 8));
            Polynomial p(random_poly(random, n), n);
            ASSERT_EQ(qal2pfrombits(p, in.data(), static_cast<int32_t>(bits)), p.words());
            ASSERT_EQ(p.value(), poly_of(in.contents()) & ((Poly(1) << bits) - 1));
        }
    }
    const uint8_t twelve[] = {0xff, 0xff};
    Polynomial p(0, 2);
    EXPECT_EQ(poly_of(qal2pfrombits(p, twelve, 12)), 0xfff);
    // A polynomial larger than all others.
    Polynomial large(0, 15);
    const Bytes in = random.bytes(60);
    EXPECT_EQ(poly_of(qal2pfrombits(large, in.data(), 480)), poly_of(in));
}

TEST(Polynomials, ToNumber)
{
    Random random;
    for (uint32_t n = 1; n <= 14; n++) {
        for (int round = 0; round < 100; round++) {
            Poly x = random_poly(random, n) >> random.below(32 * n);
            if (x == 0)
                x = 1;
            Polynomial p(x, n);
            Number number(0, (length(x) + 63) / 64);
            ASSERT_EQ(qal2ptobig(number, p), number.words());
            ASSERT_TRUE(is_normalised(number));
            ASSERT_EQ(value_of(number), x);
        }
    }
}

TEST(Polynomials, FromNumberShiftsBySixteen)
{
    Random random;
    for (uint32_t n = 1; n <= 13; n++) {
        for (size_t digits = 0; digits <= 8; digits++) {
            Number number(random_number(random, digits));
            Polynomial p(random_poly(random, n), n);
            ASSERT_EQ(qal2pfrombig(p, number), p.words());
            for (uint32_t i = 0; i < n; i++) {
                const qal2d expected =
                    i < 2 * digits ? static_cast<qal2d>(number.words()[i / 2 + 1] >> (16 * i % 64))
                                   : 0;
                ASSERT_EQ(p.words()[i + 1], expected);
            }
        }
    }
    const qald digits[] = {3, 0x1111222233334444, 0x5555666677778888, 0x9999aaaabbbbcccc};
    Polynomial p(0, 6);
    qal2pfrombig(p, digits);
    const qal2d expected[] = {6,          0x33334444, 0x22223333, 0x55556666,
                              0x00005555, 0xbbbbcccc, 0xaaaabbbb};
    EXPECT_TRUE(std::equal(expected, expected + 7, p.words()));
}

TEST(Polynomials, Inverse)
{
    Random random;
    // Fields without a reduction of their own, among them small ones.
    for (const ModelField &f :
         {ModelField{3, 1, 0, 0}, ModelField{5, 2, 0, 0}, ModelField{8, 4, 3, 1},
          ModelField{113, 9, 0, 0}, ModelField{131, 8, 3, 2}, ModelField{173, 10, 2, 1},
          ModelField{233, 74, 0, 0}, ModelField{283, 12, 7, 5}, ModelField{409, 87, 0, 0},
          model_fields[0], model_fields[1], model_fields[2], model_fields[3]}) {
        for (int round = 0; round < 40; round++) {
            Poly x = f.m < 9 ? Poly(1 + round % ((1 << f.m) - 1)) : f.random(random);
            if (x == 0)
                x = 1;
            Polynomial a(x, f.words()), r(0, f.words());
            ASSERT_EQ(qal2invm(r, a, f.m, f.a, f.b, f.c), r.words());
            ASSERT_EQ(f.mul(r.value(), x), 1);
            ASSERT_LE(length(r.value()), f.m);
            ASSERT_EQ(a.value(), x);
            qal2invm(a, a, f.m, f.a, f.b, f.c);
            ASSERT_EQ(a.value(), r.value());
        }
        // An operand that is not reduced.
        const uint32_t room = 32 * f.words();
        Poly x = (Poly(1) << room) - 1 - (Poly(1) << (f.m - 1));
        if (remainder(x, f.modulus()) == 0)
            x ^= 1;
        Polynomial a(x, f.words()), r(0, f.words());
        qal2invm(r, a, f.m, f.a, f.b, f.c);
        ASSERT_EQ(r.value(), f.inv(x)) << f.m;
    }
}

TEST(Polynomials, ProductsWithOneWord)
{
    Random random;
    for (int32_t n = 0; n <= 9; n++) {
        for (int round = 0; round < 200; round++) {
            const auto size = static_cast<size_t>(n);
            const Poly x = random_poly(random, size), s = random_poly(random, size);
            const qal2d b = random.below(4) ? static_cast<qal2d>(random.word()) : 0x80000001;
            const Poly expected = product(x, Poly(b));
            Words a(x, size), r(Poly(0), size), sum(s, size);
            qal2d top = gf2x_mul_1_n(r, a, n, b);
            ASSERT_EQ(r.value() + (Poly(top) << (32 * size)), expected);
            top = gf2x_addmul_1_n(r, sum, a, n, b);
            ASSERT_EQ(r.value() + (Poly(top) << (32 * size)), expected ^ s);
            top = gf2x_addmul_1_n(sum, sum, a, n, b);
            ASSERT_EQ(sum.value() + (Poly(top) << (32 * size)), expected ^ s);
            top = gf2x_mul_1_n(a, a, n, b);
            ASSERT_EQ(a.value() + (Poly(top) << (32 * size)), expected);
        }
    }
    EXPECT_EQ(gf2x_mul_1_n(nullptr, nullptr, -1, 5), 0U);
    EXPECT_EQ(gf2x_addmul_1_n(nullptr, nullptr, nullptr, 0, 5), 0U);
}

TEST(Polynomials, SchoolbookProduct)
{
    Random random;
    for (int32_t an = 1; an <= 8; an++) {
        for (int32_t bn = 0; bn <= 8; bn++) {
            const auto m = static_cast<size_t>(an), n = static_cast<size_t>(bn);
            const Poly x = random_poly(random, m), y = random_poly(random, n);
            Words a(x, m), b(y, n), r(random.bytes(4 * (m + n)));
            gf2x_mul(r, a, an, b, bn);
            ASSERT_EQ(r.value(), product(x, y));
        }
    }
}

namespace {

using Multiply = void(qal2d *, const qal2d *, const qal2d *);
using Square = void(qal2d *, const qal2d *);

struct Multiplier {
    size_t words;
    std::vector<Variant<Multiply>> variants;
};

QAL_POLYNOMIAL_ROUTINES(QAL_VARIANT_TABLE);

const Multiplier multipliers[] = {
    {5, pmult160x160_variants}, {6, pmult192x192_variants}, {7, pmult224x224_variants},
    {8, pmult256x256_variants}, {9, pmult288x288_variants}, {14, pmult448x448_variants},
};

struct Squarer {
    size_t words;
    std::vector<Variant<Square>> variants;
};

const Squarer squarers[] = {
    {6, psqr192x192_variants},
    {9, psqr288x288_variants},
    {14, psqr448x448_variants},
};

} // namespace

TEST(Polynomials, FixedProducts)
{
    Random random;
    for (const Multiplier &multiplier : multipliers) {
        const size_t n = multiplier.words;
        each_variant(multiplier.variants, [&](const Variant<Multiply> &variant) {
            for (int round = 0; round < 300; round++) {
                const Poly x = round == 0 ? (Poly(1) << (32 * n)) - 1 : random_poly(random, n);
                const Poly y = round == 1 ? (Poly(1) << (32 * n)) - 1 : random_poly(random, n);
                Words a(x, n), b(y, n), r(random.bytes(8 * n));
                variant.run(r, a, b);
                ASSERT_EQ(r.value(), product(x, y)) << n << " words";
                variant.run(r, a, a);
                ASSERT_EQ(r.value(), product(x, x)) << n << " words";
            }
            // Each pair of single coefficients.
            for (size_t i = 0; i < 32 * n; i += 13) {
                for (size_t j = 0; j < 32 * n; j += 11) {
                    Words a(Poly(1) << i, n), b(Poly(1) << j, n), r(random.bytes(8 * n));
                    variant.run(r, a, b);
                    ASSERT_EQ(r.value(), Poly(1) << (i + j));
                }
            }
        });
    }
}

TEST(Polynomials, ProductOf257Bits)
{
    Random random;
    auto variants = qal_pmult257_variants;
    variants.push_back({"exported", 0, pmult257x257});
    each_variant(variants, [&](const Variant<Multiply> &variant) {
        for (int round = 0; round < 400; round++) {
            Poly x = random_poly(random, 8), y = random_poly(random, 8);
            const bool x_top = round & 1, y_top = round & 2;
            x |= Poly(x_top) << 256;
            y |= Poly(y_top) << 256;
            Words a(x, 9), b(y, 9);
            // The last word is written when both have their top coefficient, and only then.
            const auto word16 = static_cast<qal2d>(random.word());
            Words r(Poly(word16) << (32 * 16), 17);
            variant.run(r, a, b);
            ASSERT_EQ(r[16], x_top && y_top ? 1U : word16);
            r[16] = x_top && y_top;
            ASSERT_EQ(r.value(), product(x, y));
        }
    });
}

TEST(Polynomials, Squares)
{
    Random random;
    for (const Squarer &squarer : squarers) {
        const size_t n = squarer.words;
        each_variant(squarer.variants, [&](const Variant<Square> &variant) {
            for (int round = 0; round < 300; round++) {
                const Poly x = round == 0 ? (Poly(1) << (32 * n)) - 1 : random_poly(random, n);
                Words a(x, n), r(random.bytes(8 * n)), overlaid(x, 2 * n);
                variant.run(r, a);
                ASSERT_EQ(r.value(), product(x, x));
                variant.run(overlaid, overlaid);
                ASSERT_EQ(overlaid.value(), r.value());
            }
        });
    }
}

TEST(Polynomials, Reductions)
{
    struct Case {
        const ModelField &field;
        size_t words; // that are folded
        void (*reduce)(qal2d *);
    };
    Random random;
    for (const Case &test :
         {Case{model_fields[0], 11, reduce163_7_6_3_1}, Case{model_fields[1], 12, reduce191_9_1},
          Case{model_fields[2], 18, reduce257_12_1}, Case{model_fields[3], 28, reduce431_5_3_1}}) {
        const uint32_t n = test.field.words();
        for (size_t round = 0; round < 500 + 32 * test.words; round++) {
            const Poly x = round < 500 ? random_poly(random, test.words) : Poly(1) << (round - 500);
            Words words(x, test.words);
            test.reduce(words);
            ASSERT_EQ(Polynomial::value_of_words(words, n), remainder(x, test.field.modulus()))
                << test.field.m;
            if (test.field.m == 431) {
                ASSERT_EQ(words.value(n), 0);
            }
        }
    }
}

TEST(PolynomialsDeathTest, Preconditions)
{
    Polynomial a(1, 6), b(1, 6), other(1, 7), empty(0, 0), large(1, 15);
    uint8_t bytes[64] = {};
    qald number[QALBIG_SIZE] = {1, 1};
    EXPECT_PRECONDITION(qal2pclear(nullptr, 5), "r != 0", path, "qal2pclear");
    EXPECT_PRECONDITION(qal2pclear(a, 0), "deg > 0", path, "qal2pclear");
    EXPECT_PRECONDITION(qal2pclear(a, 432), "deg <= 431", path, "qal2pclear");

    EXPECT_PRECONDITION(qal2pcopy(nullptr, a), "r != 0", path, "qal2pcopy");
    EXPECT_PRECONDITION(qal2pcopy(a, nullptr), "a != 0", path, "qal2pcopy");
    EXPECT_PRECONDITION(qal2pcopy(a, a), "r != a", path, "qal2pcopy");
    EXPECT_PRECONDITION(qal2pcopy(empty, a), count_text("r"), path, "qal2pcopy");
    EXPECT_PRECONDITION(qal2pcopy(a, large), count_text("a"), path, "qal2pcopy");
    EXPECT_PRECONDITION(qal2pcopy(a, other), "*a == *r", path, "qal2pcopy");

    // Counts are from 1 to 14, everywhere.
    EXPECT_PRECONDITION(qal2pcopy(large, a), count_text("r"), path, "qal2pcopy");
    EXPECT_PRECONDITION(qal2pcopy(a, empty), count_text("a"), path, "qal2pcopy");
    EXPECT_PRECONDITION(qal2pfromb(empty, bytes, 0), count_text("u"), path, "qal2pfromb");
    EXPECT_PRECONDITION(qal2p_is_equal(empty, a), count_text("r"), path, "qal2p_is_equal");
    EXPECT_PRECONDITION(qal2p_is_equal(a, large), count_text("a"), path, "qal2p_is_equal");
    EXPECT_PRECONDITION(qal2pinc(empty), count_text("r"), path, "qal2pinc");
    EXPECT_PRECONDITION(qal2p_deg(large), count_text("a"), path, "qal2p_deg");
    EXPECT_PRECONDITION(qal2add(large, a, b), count_text("r"), path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, empty, b), count_text("a"), path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, b, empty), count_text("b"), path, "qal2add");
    const char otherwise[] = "( 0<*r) && (*r<=(" CAPACITY "-1))";
    EXPECT_PRECONDITION(qal2p_is_zero(large), otherwise, path, "qal2p_is_zero");
    EXPECT_PRECONDITION(qal2p_is_one(empty), otherwise, path, "qal2p_is_one");
    EXPECT_PRECONDITION(qal2pfrombits(empty, bytes, 0), "(0 < *u) && (*u <= " CAPACITY ")", path,
                        "qal2pfrombits");
    EXPECT_PRECONDITION(qal2psbit(a, -1, 1),
                        "(0 <= no) && (no < (" CAPACITY "-1)*(sizeof(qal2d)<<3))", path,
                        "qal2psbit");

    Polynomial fourteen(0, 14);
    EXPECT_PRECONDITION(qal2pfrombig(fourteen, number), "*p < (" CAPACITY "-1)", path,
                        "qal2pfrombig");
    EXPECT_PRECONDITION(qal2pfrombig(a, nullptr), "b != 0", path, "qal2pfrombig");
    EXPECT_PRECONDITION(qal2ptobig(nullptr, a), "b != 0", path, "qal2ptobig");

    EXPECT_PRECONDITION(qal2pfromb(nullptr, bytes, 1), "u != 0", path, "qal2pfromb");
    EXPECT_PRECONDITION(qal2pfromb(large, bytes, 1), count_text("u"), path, "qal2pfromb");
    EXPECT_PRECONDITION(qal2pfromb(a, bytes, 25), "(0<*u) && (len <= (*u) * (sizeof(qal2d)))", path,
                        "qal2pfromb");
    EXPECT_PRECONDITION(qal2ptob(nullptr, a, 1), "out != 0", path, "qal2ptob");
    EXPECT_PRECONDITION(qal2ptob(bytes, nullptr, 1), "u != 0", path, "qal2ptob");

    Polynomial sixteen(0, 16);
    EXPECT_PRECONDITION(qal2pfrombits(nullptr, bytes, 1), "u != 0", path, "qal2pfrombits");
    EXPECT_PRECONDITION(qal2pfrombits(sixteen, bytes, 1), "(0 < *u) && (*u <= " CAPACITY ")", path,
                        "qal2pfrombits");
    EXPECT_PRECONDITION(qal2pfrombits(a, nullptr, 1), "in != 0", path, "qal2pfrombits");
    const char length_text[] = "(0<=len) && (len <= ((*u) * (sizeof(qal2d)) * 8))";
    EXPECT_PRECONDITION(qal2pfrombits(a, bytes, -1), length_text, path, "qal2pfrombits");
    EXPECT_PRECONDITION(qal2pfrombits(a, bytes, 193), length_text, path, "qal2pfrombits");

    EXPECT_PRECONDITION(qal2p_is_equal(nullptr, a), "r != 0", path, "qal2p_is_equal");
    EXPECT_PRECONDITION(qal2p_is_equal(a, nullptr), "a != 0", path, "qal2p_is_equal");
    EXPECT_PRECONDITION(qal2p_is_equal(large, a), count_text("r"), path, "qal2p_is_equal");
    EXPECT_PRECONDITION(qal2p_is_equal(a, empty), count_text("a"), path, "qal2p_is_equal");
    EXPECT_PRECONDITION(qal2p_is_equal(a, other), "*a == *r", path, "qal2p_is_equal");

    EXPECT_PRECONDITION(qal2pinc(nullptr), "r != 0", path, "qal2pinc");
    EXPECT_PRECONDITION(qal2pinc(large), count_text("r"), path, "qal2pinc");
    EXPECT_PRECONDITION(qal2p_deg(nullptr), "a != 0", path, "qal2p_deg");
    EXPECT_PRECONDITION(qal2p_deg(empty), count_text("a"), path, "qal2p_deg");

    const char bits[] = "(0 <= no) && (no < (" CAPACITY "-1)*(sizeof(qal2d)<<3))";
    EXPECT_PRECONDITION(qal2pgbit(nullptr, 0), "x != 0", path, "qal2pgbit");
    EXPECT_PRECONDITION(qal2pgbit(a, -1), bits, path, "qal2pgbit");
    EXPECT_PRECONDITION(qal2pgbit(large, 448), bits, path, "qal2pgbit");
    EXPECT_PRECONDITION(qal2pgbit(a, 192), "(0 <= no) && (no < (x[0])*(sizeof(qal2d)<<3))", path,
                        "qal2pgbit");
    EXPECT_PRECONDITION(qal2psbit(nullptr, 0, 1), "x != 0", path, "qal2psbit");
    EXPECT_PRECONDITION(qal2psbit(a, 0, 2), "(val == 0) || (val==1)", path, "qal2psbit");
    EXPECT_PRECONDITION(qal2psbit(a, 448, 1), bits, path, "qal2psbit");
    EXPECT_PRECONDITION(qal2psbit(a, 192, 1), "(0 <= no) && (no < (x[0])*8*sizeof(qal2d))", path,
                        "qal2psbit");

    EXPECT_PRECONDITION(qal2add(nullptr, a, b), "r != 0", path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, nullptr, b), "a != 0", path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, b, nullptr), "b != 0", path, "qal2add");
    EXPECT_PRECONDITION(qal2add(empty, a, b), count_text("r"), path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, large, b), count_text("a"), path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, b, large), count_text("b"), path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, other, b), "*(r) == *(a)", path, "qal2add");
    EXPECT_PRECONDITION(qal2add(a, b, other), "*(r) == *(b)", path, "qal2add");

    const char count[] = "( 0<*r) && (*r<=(" CAPACITY "-1))";
    EXPECT_PRECONDITION(qal2p_is_zero(nullptr), "r != 0", path, "qal2p_is_zero");
    EXPECT_PRECONDITION(qal2p_is_zero(empty), count, path, "qal2p_is_zero");
    EXPECT_PRECONDITION(qal2p_is_one(nullptr), "r != 0", path, "qal2p_is_one");
    EXPECT_PRECONDITION(qal2p_is_one(large), count, path, "qal2p_is_one");

    EXPECT_PRECONDITION(qal2invm(a, b, 0, 7, 0, 0), "mod_m!=0", path, "qal2invm");
    EXPECT_PRECONDITION(qal2invm(a, b, 163, 0, 0, 0), "mod_a!=0", path, "qal2invm");
    EXPECT_PRECONDITION(qal2invm(a, b, 432, 7, 0, 0), "deg <= 431", path, "qal2pclear");
    EXPECT_PRECONDITION(qal2invm(a, b, 192, 7, 0, 0), "(0 <= no) && (no < (x[0])*8*sizeof(qal2d))",
                        path, "qal2psbit");
    EXPECT_PRECONDITION(qal2invm(a, other, 163, 7, 6, 3), "*a == *r", path, "qal2pcopy");

    Words u(Poly(0), 9), v(Poly(0), 9), r(Poly(0), 18);
    u[8] = 2;
    EXPECT_PRECONDITION(pmult257x257(r, u, v), "(a[8] == 0) || ( a[8] == 1)", path, "pmult257x257");
    EXPECT_PRECONDITION(pmult257x257(r, v, u), "(b[8] == 0) || ( b[8] == 1)", path, "pmult257x257");
    EXPECT_PRECONDITION(reduce163_7_6_3_1(nullptr), "x!=0", path, "reduce163_7_6_3_1");
    EXPECT_PRECONDITION(reduce191_9_1(nullptr), "x!=0", path, "reduce191_9_1");
    EXPECT_PRECONDITION(reduce431_5_3_1(nullptr), "x!=0", path, "reduce431_5_3_1");
}
