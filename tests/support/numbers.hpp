// Multiprecision integers of the library and of GMP.
#ifndef QAL_TESTS_SUPPORT_NUMBERS_HPP
#define QAL_TESTS_SUPPORT_NUMBERS_HPP

#include "support/bytes.hpp"

#include <qal/qalmath64.h>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace qal::test {

// A page between two inaccessible ones, out of a store: numbers come and go by the million.
class GuardedPage {
public:
    static constexpr size_t size = 4096;

    GuardedPage()
    {
        if (store().empty())
            store().push_back(std::make_unique<GuardedBytes>(size));
        page_ = std::move(store().back());
        store().pop_back();
    }
    GuardedPage(const GuardedPage &) = delete;
    GuardedPage &operator=(const GuardedPage &) = delete;
    ~GuardedPage() { store().push_back(std::move(page_)); }

    uint8_t *data() { return page_->data(); }

private:
    static std::vector<std::unique_ptr<GuardedBytes>> &store()
    {
        static std::vector<std::unique_ptr<GuardedBytes>> pages;
        return pages;
    }

    std::unique_ptr<GuardedBytes> page_;
};

// A number of the library between inaccessible pages: room for exactly `room` digits, with the
// length word right behind the lower page or the last digit right before the upper one.
class Number {
public:
    explicit Number(const mpz_class &value, size_t room,
                    GuardedBytes::Edge edge = GuardedBytes::Edge::upper)
    {
        const size_t n = mpz_size(value.get_mpz_t()), size = (room + 1) * sizeof(qald);
        if (size > GuardedPage::size)
            throw std::length_error("a number of more than a page");
        words_ = reinterpret_cast<qald *>(edge == GuardedBytes::Edge::upper
                                              ? page_.data() + (GuardedPage::size - size)
                                              : page_.data());
        // What is behind the digits must not matter.
        std::memset(words_, 0xa5, size);
        words_[0] = n;
        for (size_t i = 0; i < n; i++)
            words_[i + 1] = mpz_getlimbn(value.get_mpz_t(), static_cast<mp_size_t>(i));
    }
    explicit Number(const mpz_class &value) : Number(value, mpz_size(value.get_mpz_t())) {}

    qald *words() { return words_; }
    operator qald *() { return words_; }

private:
    GuardedPage page_;
    qald *words_;
};

// Digits alone, least significant first, between inaccessible pages: right before the upper one
// and, every other time, right behind the lower one.
class Digits {
public:
    Digits(const mpz_class &value, size_t n) : n_(n)
    {
        static bool upper = false;
        upper = !upper;
        digits_ = reinterpret_cast<qald *>(
            upper ? page_.data() + (GuardedPage::size - n * sizeof(qald)) : page_.data());
        for (size_t i = 0; i < n; i++)
            digits_[i] = mpz_getlimbn(value.get_mpz_t(), static_cast<mp_size_t>(i));
    }

    operator qald *() { return digits_; }
    operator const qald *() const { return digits_; }

    // The number from digit `from` on.
    [[nodiscard]] mpz_class value(size_t from = 0) const
    {
        mpz_class value;
        mpz_import(value.get_mpz_t(), n_ - from, -1, sizeof(qald), 0, 0, digits_ + from);
        return value;
    }

private:
    GuardedPage page_;
    size_t n_;
    qald *digits_;
};

inline mpz_class value_of(const qald *x)
{
    mpz_class value;
    mpz_import(value.get_mpz_t(), x[0], -1, sizeof(qald), 0, 0, x + 1);
    return value;
}

inline bool is_normalised(const qald *x)
{
    return x[0] == 0 || x[x[0]] != 0;
}

// Numbers of exactly n digits, made of digits at which carries and estimates go wrong.
inline mpz_class random_number(Random &random, size_t n)
{
    static constexpr qald adversarial[] = {0,
                                           1,
                                           2,
                                           0x7fffffffffffffff,
                                           0x8000000000000000,
                                           0x8000000000000001,
                                           0xffffffffffffffff,
                                           0xfffffffffffffffe,
                                           0x00000000ffffffff,
                                           0xffffffff00000000,
                                           0x0000000100000000,
                                           0xfffffffeffffffff};
    std::vector<qald> digits(n);
    const size_t style = random.below(4);
    for (qald &digit : digits)
        digit = style == 0 || (style == 1 && random.below(2)) ? random.word()
                : style == 2                                  ? ~qald{0}
                                                              : adversarial[random.below(12)];
    if (style == 2 && n > 0)
        digits[random.below(n)] ^= qald{1} << random.below(64);
    if (n > 0 && digits[n - 1] == 0)
        digits[n - 1] = adversarial[1 + random.below(11)];
    mpz_class value;
    mpz_import(value.get_mpz_t(), n, -1, sizeof(qald), 0, 0, digits.data());
    return value;
}

// Digits of a full buffer.
constexpr size_t capacity = QALBIG_SIZE - 1;

// All lengths up to 65 digits, and some up to the capacity.
inline size_t some_length(Random &random)
{
    return random.below(8) ? random.below(66) : random.below(capacity + 1);
}

inline GuardedBytes::Edge some_edge(Random &random)
{
    return random.below(2) ? GuardedBytes::Edge::upper : GuardedBytes::Edge::lower;
}

// The result is in the destination, normalised and right.
inline void expect_number(const qald *result, Number &destination, const mpz_class &expected)
{
    ASSERT_EQ(result, destination.words());
    ASSERT_TRUE(is_normalised(result));
    ASSERT_EQ(value_of(result), expected);
}

inline mpz_class power_of_two(size_t bits)
{
    return mpz_class(1) << bits;
}

inline size_t digits_of(const mpz_class &value)
{
    return mpz_size(value.get_mpz_t());
}

} // namespace qal::test

#endif
