// Fixed windows over Montgomery products in digits of 52 bits; two exponentiations take turns
// within each product.
#include "base/wipe.hpp"
#include "qalmath64/kernels/montgomery52_avx512.hpp"
#include "qalmath64/powers/secret_power.hpp"

namespace qal::math {
namespace {

constexpr size_t most_entries = size_t{1} << widest_secret_window;

// One of the exponentiations: a number, a factor for it, and the table of powers.
struct Work {
    const SecretPower *power;
    Modulus52 m;
    Block x[most_blocks], factor[most_blocks], square[most_blocks];
    Block table[most_entries * most_blocks];
};

void copy(Block *to, const Block *from, size_t blocks)
{
    for (size_t j = 0; j < blocks; j++)
        to[j] = from[j];
}

void set_small(Block *x, size_t blocks, long long value)
{
    for (size_t j = 0; j < blocks; j++)
        x[j] = _mm256_set_epi64x(0, 0, 0, j == 0 ? value : 0);
}

// Blocks `first` to `first + count` of one entry of a table; the same of all others are read, too.
template<size_t count>
void read_blocks(Block *x, const Block *table, unsigned entry, size_t entries, size_t blocks)
{
    Block sum[count];
    QAL_UNROLL
    for (size_t j = 0; j < count; j++)
        sum[j] = _mm256_setzero_si256();
    const Block wanted = _mm256_set1_epi64x(entry);
    for (size_t k = 0; k < entries; k++, table += blocks) {
        const __mmask8 here =
            _mm256_cmpeq_epi64_mask(_mm256_set1_epi64x(static_cast<long long>(k)), wanted);
        QAL_UNROLL
        for (size_t j = 0; j < count; j++)
            sum[j] = _mm256_mask_mov_epi64(sum[j], here, table[j]);
    }
    QAL_UNROLL
    for (size_t j = 0; j < count; j++)
        x[j] = sum[j];
}

// Numbers have 3, 4, 5, 8 or 10 blocks.
void read(Block *x, const Block *table, unsigned entry, size_t entries, size_t blocks)
{
    size_t j = 0;
    for (; j + 5 <= blocks; j += 5)
        read_blocks<5>(x + j, table + j, entry, entries, blocks);
    if (blocks - j == 4)
        read_blocks<4>(x + j, table + j, entry, entries, blocks);
    else if (blocks - j == 3)
        read_blocks<3>(x + j, table + j, entry, entries, blocks);
}

// One exponentiation or two, step by step alike.
class Powers {
public:
    Powers(Work *works, size_t count, size_t n, size_t bits)
        : works_(works), count_(count), n_(n), bits_(bits), blocks_(blocks_for(n))
    {
    }

    void raise()
    {
        const unsigned w = secret_window(bits_);
        const size_t entries = size_t{1} << w;
        fill(entries);
        size_t position = (bits_ + w - 1) / w * w;
        each([&](Work &work) {
            const unsigned window =
                position == 0 ? 0 : exponent_window(work.power->e, bits_, position - w, w);
            read(work.x, work.table, window, entries, blocks_);
        });
        for (position -= position == 0 ? 0 : w; position > 0;) {
            position -= w;
            for (unsigned i = 0; i < w; i++)
                square_all();
            each([&](Work &work) {
                const unsigned window = exponent_window(work.power->e, bits_, position, w);
                read(work.factor, work.table, window, entries, blocks_);
            });
            multiply_all();
        }
        each([&](Work &work) { set_small(work.factor, blocks_, 1); });
        multiply_all();
        each([&](Work &work) {
            reduce52_avx512(work.power->r, work.x, blocks_, work.power->p, n_);
        });
    }

private:
    template<class Action>
    void each(Action action)
    {
        for (size_t i = 0; i < count_; i++)
            action(works_[i]);
    }

    void multiply_all()
    {
        each([&](Work &work) { multiply52_avx512(work.x, work.x, work.factor, work.m, blocks_); });
    }

    void square_all()
    {
        each([&](Work &work) { square52_avx512(work.x, work.x, work.m, blocks_); });
    }

    // The powers of x from 0 to entries - 1.
    void fill(size_t entries)
    {
        // R^2, out of 2^(13 blocks) R by four squares.
        each([&](Work &work) {
            const SecretPower &power = *work.power;
            qald residue[most_secret_digits];
            prepare52_avx512(work.m, power.p, n_, blocks_);
            power_of_two_secret(residue, 221 * blocks_, power.p, n_);
            split52_avx512(work.x, blocks_, residue, n_, 0);
            base::wipe(residue, sizeof residue);
        });
        for (int i = 0; i < 4; i++)
            square_all();
        // The base's part below R times R^2, and the other one times R^3.
        each([&](Work &work) {
            copy(work.factor, work.x, blocks_);
            copy(work.square, work.x, blocks_);
        });
        multiply_all();
        each([&](Work &work) {
            copy(work.factor, work.x, blocks_);
            split52_avx512(work.x, blocks_, work.power->x, 2 * n_,
                           -static_cast<ptrdiff_t>(26 * blocks_));
        });
        multiply_all();
        each([&](Work &work) {
            copy(entry(work, 1), work.x, blocks_);
            copy(work.factor, work.square, blocks_);
            split52_avx512(work.x, blocks_, work.power->x, 2 * n_, 0);
        });
        multiply_all();
        each([&](Work &work) {
            add52_avx512(entry(work, 1), work.x, entry(work, 1), blocks_);
            set_small(work.x, blocks_, 1);
        });
        multiply_all();
        each([&](Work &work) {
            copy(entry(work, 0), work.x, blocks_);
            copy(work.factor, entry(work, 1), blocks_);
        });
        for (size_t i = 2; i < entries; i++) {
            each([&](Work &work) { copy(work.x, entry(work, i % 2 ? i - 1 : i / 2), blocks_); });
            if (i % 2)
                multiply_all();
            else
                square_all();
            each([&](Work &work) { copy(entry(work, i), work.x, blocks_); });
        }
    }

    Block *entry(Work &work, size_t i) const { return work.table + i * blocks_; }

    Work *works_;
    size_t count_, n_, bits_, blocks_;
};

// Products keep their columns on the stack.
constexpr size_t kernel_stack = 4096;

// Fewer digits gain nothing here.
constexpr size_t fewest_digits = 5;

} // namespace

void power_secret_avx512(const SecretPower &power, size_t n, size_t bits)
{
    if (n < fewest_digits)
        return power_secret_portable(power, n, bits);
    Work work;
    work.power = &power;
    Powers(&work, 1, n, bits).raise();
    base::wipe(&work, sizeof work);
    base::wipe_stack<kernel_stack>();
}

void power_secret_pair_avx512(const SecretPower &first, const SecretPower &second, size_t n,
                              size_t bits)
{
    if (n < fewest_digits)
        return power_secret_pair_portable(first, second, n, bits);
    Work works[2];
    works[0].power = &first;
    works[1].power = &second;
    Powers(works, 2, n, bits).raise();
    base::wipe(works, sizeof works);
    base::wipe_stack<kernel_stack>();
}

} // namespace qal::math
