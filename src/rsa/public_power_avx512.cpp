// The power in digits of 52 bits.
#include "rsa/public_power.hpp"

#include "base/wipe.hpp"
#include "qalmath64/kernels/montgomery52_avx512.hpp"

namespace qal::rsa {
namespace {

using namespace qal::math;

// Fewer digits gain nothing here.
constexpr size_t fewest_digits = 16;

// A modulus of whole bytes is more than the 2^8th part of what its digits hold. So x is less than
// 2^8 n, R at least 2^16 n, and all products by x and by what is less than 4n are that, too.
class BlockPower {
public:
    explicit BlockPower(const PublicPower &power)
        : count_(power.n[0]), blocks_(blocks_for(count_)), n_(power.n + 1)
    {
        prepare52_avx512(m_, n_, count_, blocks_);
        split52_avx512(x_, blocks_, power.x, count_, 0);
        qald square[modulus_digits];
        power_of_two(square, 416 * blocks_, power.n);
        split52_avx512(power_, blocks_, square, count_, 0);
        multiply_by(x_);
        memcpy(form_, power_, blocks_ * sizeof *form_);
    }
    BlockPower(const BlockPower &) = delete;
    BlockPower &operator=(const BlockPower &) = delete;
    ~BlockPower() { base::wipe(this, sizeof *this); }

    void square() { square52_avx512(power_, power_, m_, blocks_); }
    void multiply() { multiply_by(form_); }
    void multiply_and_leave() { multiply_by(x_); }
    void leave()
    {
        const qald one = 1;
        Block factor[most_blocks];
        split52_avx512(factor, blocks_, &one, 1, 0);
        multiply_by(factor);
    }

    void write(qald *r) const { reduce52_avx512(r, power_, blocks_, n_, count_); }

private:
    void multiply_by(const Block *factor)
    {
        multiply52_avx512(power_, power_, factor, m_, blocks_);
    }

    size_t count_, blocks_;
    const qald *n_;
    Modulus52 m_;
    Block x_[most_blocks], form_[most_blocks], power_[most_blocks];
};

} // namespace

void public_power_avx512(const PublicPower &power)
{
    if (power.n[0] < fewest_digits)
        return public_power_portable(power);
    // Products keep columns on the stack.
    base::run_on_wiped_stack<4096>([&] {
        BlockPower form(power);
        raise(form, power.e);
        form.write(power.r);
    });
}

} // namespace qal::rsa
