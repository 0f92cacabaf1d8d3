// Numbers out of a fuzzer's input.
#ifndef QAL_FUZZ_NUMBERS_HPP
#define QAL_FUZZ_NUMBERS_HPP

#include "input.hpp"
#include "support/numbers.hpp"

namespace qal::fuzz {

using namespace test;

// A digit: one byte for those at which carries and estimates go wrong, nine for any other.
inline qald digit(Input &in, qald before)
{
    switch (in.byte()) {
    case 0:
        return 0;
    case 1:
        return 1;
    case 2:
        return ~qald{0};
    case 3:
        return qald{1} << 63;
    case 4:
        return (qald{1} << 63) - 1;
    case 5:
        return 0xffffffff;
    case 6:
        return ~qald{0} << 32;
    case 7:
        return before;
    case 8:
        return ~before;
    case 9:
        return before - 1;
    case 10:
        return in.byte();
    default:
        return in.word();
    }
}

// A number of so many digits at most.
inline mpz_class number(Input &in, size_t most)
{
    const size_t n = in.below(most + 1);
    std::vector<qald> digits(n);
    qald before = 0;
    for (qald &d : digits)
        d = before = digit(in, before);
    mpz_class value;
    mpz_import(value.get_mpz_t(), n, -1, sizeof(qald), 0, 0, digits.data());
    return value;
}

inline mpz_class odd_number(Input &in, size_t most)
{
    return number(in, most) | 1;
}

inline mpz_class power_mod(const mpz_class &x, const mpz_class &e, const mpz_class &p)
{
    mpz_class power;
    mpz_powm(power.get_mpz_t(), x.get_mpz_t(), e.get_mpz_t(), p.get_mpz_t());
    return power;
}

// An odd modulus in room of its own, with what Montgomery's arithmetic needs of it.
struct Modulus {
    mpz_class value;
    size_t n;
    uint64_t c;
    uint32_t k;
    Number p;

    explicit Modulus(const mpz_class &odd, GuardedBytes::Edge edge = GuardedBytes::Edge::upper)
        : value(odd), n(digits_of(odd)),
          c(qalinverse(0 - mpz_class(odd % power_of_two(64)).get_ui())),
          k(static_cast<uint32_t>(64 * n)), p(odd, n, edge)
    {
    }

    [[nodiscard]] mpz_class in_form(const mpz_class &x) const { return (x << k) % value; }
    // (t + m p) / 2^k with the m below 2^k that makes it whole, less p once if it is not less.
    [[nodiscard]] mpz_class reduced(const mpz_class &t, size_t bits) const
    {
        const mpz_class r = power_of_two(bits);
        mpz_class m, inverse;
        if (bits > 0) {
            mpz_invert(inverse.get_mpz_t(), value.get_mpz_t(), r.get_mpz_t());
            m = (r - t * inverse % r) % r;
        }
        const mpz_class x = (t + m * value) / r;
        return x >= value ? mpz_class(x - value) : x;
    }
};

} // namespace qal::fuzz

#endif
