// The power in digits of 52 bits.
#include "rsa/public_power.hpp"

#include "base/wipe.hpp"
#include "qalmath64/montgomery52_avx512.hpp"

namespace qal::rsa {
namespace {

using namespace qal::math;

// Fewer digits gain nothing here.
constexpr size_t fewest_digits = 16;

// x has no more than 2^8 n, and all products by it are less than 4n.
template<size_t blocks>
class BlockPower {
public:
    explicit BlockPower(const PublicPower &power) : count_(power.n[0]), n_(power.n + 1)
    {
        prepare52_avx512(m_, n_, count_, blocks);
        split52_avx512(x_, blocks, power.x, count_, 0);
        qald square[modulus_digits];
        power_of_two(square, 416 * blocks, power.n);
        split52_avx512(power_, blocks, square, count_, 0);
        multiply_by(x_);
        for (size_t j = 0; j < blocks; j++)
            form_[j] = power_[j];
    }
    BlockPower(const BlockPower &) = delete;
    BlockPower &operator=(const BlockPower &) = delete;
    ~BlockPower() { base::wipe(this, sizeof *this); }

    void square() { square52_avx512(power_, power_, m_, blocks); }
    void multiply() { multiply_by(form_); }
    void multiply_and_leave() { multiply_by(x_); }
    void leave()
    {
        Block one[blocks];
        for (size_t j = 0; j < blocks; j++)
            one[j] = _mm256_set_epi64x(0, 0, 0, j == 0);
        multiply_by(one);
    }

    void write(qald *r) const { reduce52_avx512(r, power_, blocks, n_, count_); }

private:
    void multiply_by(const Block *factor)
    {
        multiply52_avx512(power_, power_, factor, m_, blocks);
    }

    size_t count_;
    const qald *n_;
    Modulus52 m_;
    Block x_[blocks], form_[blocks], power_[blocks];
};

template<size_t blocks>
void run(const PublicPower &power)
{
    // Products keep columns on the stack.
    base::run_on_wiped_stack<4096>([&] {
        BlockPower<blocks> form(power);
        raise(form, power.e);
        form.write(power.r);
    });
}

} // namespace

void public_power_avx512(const PublicPower &power)
{
    if (power.n[0] < fewest_digits)
        return public_power_portable(power);
    switch (blocks_for(power.n[0])) {
    case 5:
        return run<5>(power);
    case 8:
        return run<8>(power);
    default:
        return run<10>(power);
    }
}

} // namespace qal::rsa
