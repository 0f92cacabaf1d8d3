// Sliding windows over Montgomery products in digits of 52 bits.
#include "qalmath64/powers/odd_powers.hpp"

#include "qalmath64/kernels/montgomery52_avx512.hpp"
#include "qalmath64/powers/exponentiate.hpp"

namespace qal::math {
namespace {

// Below, there are other products that are as fast.
constexpr size_t fewest_digits = 8;

// A number in Montgomery form of R = 2^(208 blocks).
class Power52 {
public:
    Power52(const qald *p, size_t blocks) : p_(p), blocks_(blocks)
    {
        prepare52_avx512(m_, p + 1, p[0], blocks);
    }
    Power52(const Power52 &) = delete;
    Power52 &operator=(const Power52 &) = delete;
    ~Power52() { base::wipe(this, sizeof *this); }

    // What is in the form of 2^(64 n) is in this one when it is multiplied by R / 2^(64 n).
    void set(const qald *x)
    {
        qald product[QALBIG_SIZE];
        qalshl(x, 8 * missing_bytes(), product);
        qaldiv(product, p_, nullptr, product);
        split52_avx512(x_, blocks_, product + 1, product[0], 0);
    }

    // The same need not be below p for a factor: below R is enough.
    void multiply(const qald *x)
    {
        Block factor[most_blocks];
        split52_avx512(factor, blocks_, x + 1, x[0], static_cast<ptrdiff_t>(missing_bytes()));
        multiply52_avx512(x_, x_, factor, m_, blocks_);
    }

    void square() { square52_avx512(x_, x_, m_, blocks_); }

    // Back to the form of 2^(64 n), by a product with that.
    void get(qald *r)
    {
        const size_t n = p_[0];
        qald factor[most_digits52 + 1] = {};
        factor[n] = 1;
        Block blocks[most_blocks];
        split52_avx512(blocks, blocks_, factor, n + 1, 0);
        multiply52_avx512(x_, x_, blocks, m_, blocks_);
        reduce52_avx512(r + 1, x_, blocks_, p_ + 1, n);
        r[0] = n;
        qalclip(r);
    }

private:
    size_t missing_bytes() const { return 26 * blocks_ - 8 * p_[0]; }

    const qald *p_;
    size_t blocks_;
    Modulus52 m_;
    Block x_[most_blocks];
};

} // namespace

void raise_odd_powers_avx512(qald *r, const qald *table, size_t stride, const qald *e,
                             const qald *p)
{
    if (p[0] < fewest_digits || p[0] > most_digits52)
        return raise_odd_powers_portable(r, table, stride, e, p);
    uint64_t bits = qalbitlen(e, 1);
    int64_t length;
    uint64_t window = qalgetslide(e, bits - 1, window_bits, &length);
    bits -= static_cast<uint64_t>(length);
    Power52 power(p, blocks_for(p[0]));
    power.set(table + window / 2 * stride);
    while (bits > 0) {
        window = qalgetslide(e, bits - 1, window_bits, &length);
        bits -= static_cast<uint64_t>(length);
        for (; length > 0; length--)
            power.square();
        if (window != 0)
            power.multiply(table + window / 2 * stride);
    }
    power.get(r);
}

} // namespace qal::math
