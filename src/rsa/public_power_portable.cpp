#include "rsa/public_power.hpp"

#include "base/wipe.hpp"
#include "qalmath64/kernels/montgomery.hpp"

#include <utility>

namespace qal::rsa {
namespace {

class DigitPower {
public:
    explicit DigitPower(const PublicPower &power)
        : n_(power.n + 1), x_(power.x), count_(power.n[0]), c_(math::montgomery_constant(n_[0]))
    {
        power_of_two(form_, 128 * count_, power.n);
        multiply(current_, form_, x_);
        memcpy(form_, current_, count_ * sizeof *form_);
    }
    DigitPower(const DigitPower &) = delete;
    DigitPower &operator=(const DigitPower &) = delete;
    ~DigitPower()
    {
        base::wipe(buffer_, sizeof buffer_);
        base::wipe(form_, sizeof form_);
    }

    void square()
    {
        qal_mont_sqr(other_, current_, n_, count_, c_);
        std::swap(current_, other_);
    }
    void multiply() { multiply_by(form_); }
    void multiply_and_leave() { multiply_by(x_); }
    void leave()
    {
        const qald one[modulus_digits] = {1};
        multiply_by(one);
    }
    const qald *digits() const { return current_; }

private:
    void multiply(qald *r, const qald *a, const qald *b) const
    {
        qal_mont_mul(r, a, b, n_, count_, c_);
    }
    void multiply_by(const qald *factor)
    {
        multiply(other_, current_, factor);
        std::swap(current_, other_);
    }

    const qald *n_, *x_;
    size_t count_;
    qald c_, form_[modulus_digits], buffer_[2][2 * modulus_digits];
    qald *current_ = buffer_[0], *other_ = buffer_[1];
};

} // namespace

void public_power_portable(const PublicPower &power)
{
    DigitPower digits(power);
    raise(digits, power.e);
    memcpy(power.r, digits.digits(), power.n[0] * sizeof *power.r);
}

} // namespace qal::rsa
