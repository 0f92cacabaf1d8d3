// 2^bits mod p without a division by p, which may be secret: shifts, each followed by a subtraction
// of an estimated multiple. powers.hpp has the shapes; time depends on n and bits alone.
#include "base/wipe.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/powers/powers.hpp"

namespace qal::math {
namespace {

// floor(2^128 / (d + 1)) - 2^64 for d from 2^63 on, bit by bit: the quotient of
// 2^64 (2^64 - 1 - d) by d + 1.
qald reciprocal(qald d)
{
    const uint128 divisor = uint128{d} + 1;
    uint128 remainder = ~d;
    qald quotient = 0;
    for (int i = 0; i < 64; i++) {
        remainder = 2 * remainder - divisor;
        const qald borrow = static_cast<qald>(remainder >> 127);
        remainder += divisor & (0 - uint128{borrow});
        quotient = 2 * quotient + (borrow ^ 1);
    }
    return quotient;
}

// x * 2^bits, for bits from 0 to 63, which are secret; returns the digit that follows.
qald shift_left_secret(qald *x, size_t n, unsigned bits)
{
    qald below = 0;
    for (size_t i = 0; i < n; i++) {
        const qald digit = x[i];
        x[i] = digit << bits | below;
        below = digit >> 1 >> (63 - bits);
    }
    return below;
}

void shift_right_secret(qald *x, size_t n, unsigned bits)
{
    qald above = 0;
    for (size_t i = n; i-- > 0;) {
        const qald digit = x[i];
        x[i] = digit >> bits | above;
        above = digit << 1 << (63 - bits);
    }
}

// A number modulo a divisor whose top bit is set, to be multiplied by powers of two.
class Residue {
public:
    Residue(const qald *divisor, size_t n)
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): n is at least one.
        : divisor_(divisor), n_(n), reciprocal_(reciprocal(divisor[n - 1]))
    {
    }
    Residue(const Residue &) = delete;
    Residue &operator=(const Residue &) = delete;
    ~Residue() { base::wipe(this, sizeof *this); }

    // x, which is not above the divisor, times 2^bits, for bits from 0 to 60, which may be secret.
    //
    // With d and t the highest digits of divisor and x, the quotient of 2^bits x by the divisor is
    // estimated as 2^bits t / (d + 1), which is not above it. What it may be below it is less than
    // 2^bits (1/d + t/(d (d + 1))) <= 2^(bits - 62) and the truncation of reciprocal and product,
    // 2^(bits - 63): the estimate's whole part is right or one too small.
    void multiply(qald *x, unsigned bits)
    {
        const qald t = x[n_ - 1];
        const qald estimate = t + static_cast<qald>((uint128{t} * reciprocal_) >> 64);
        const qald quotient = estimate >> 1 >> (63 - bits);
        const qald top = shift_left_secret(x, n_, bits);
        const qald borrow = qal_submul_row(x, divisor_, n_, quotient);
        subtract_once(difference_, x, top - borrow, divisor_, n_);
        for (size_t i = 0; i < n_; i++)
            x[i] = difference_[i];
    }

private:
    const qald *divisor_;
    size_t n_;
    qald reciprocal_;
    qald difference_[most_secret_digits];
};

} // namespace

// The divisor's leading zeros are shifted away: 2^(bits + zeros) modulo 2^zeros p is 2^zeros times
// the result. It begins with 2^(64 n), which is a subtraction.
void power_of_two_secret(qald *r, size_t bits, const qald *p, size_t n)
{
    qald divisor[most_secret_digits];
    for (size_t i = 0; i < n; i++)
        divisor[i] = p[i];
    const unsigned zeros = static_cast<unsigned>(__builtin_clzll(p[n - 1]));
    shift_left_secret(divisor, n, zeros);
    for (size_t i = 0; i < n; i++)
        r[i] = 0;
    qal_sub_row(r, r, divisor, n);

    Residue residue(divisor, n);
    residue.multiply(r, zeros & 31);
    residue.multiply(r, zeros & 32);
    for (size_t left = bits - 64 * n; left > 0;) {
        const size_t step = left < 60 ? left : 60;
        residue.multiply(r, static_cast<unsigned>(step));
        left -= step;
    }
    shift_right_secret(r, n, zeros);
    base::wipe(divisor, sizeof divisor);
}

} // namespace qal::math
