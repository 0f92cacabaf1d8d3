// The form of numbers in blocks of four digits of 52 bits: value x R mod p for R = 2^(208 blocks),
// with the products of montgomery52_avx512.hpp. scans.hpp says what each function does; p has from
// 4 to 32 digits. Time depends on the number of blocks alone, except in functions named _var.
//
// A product of a and b is below a b / R + 3p, and R >= 2^16 p. So it is
//   - below 4p if both are below 2^7 p, or if one is below 4p and the other has n digits while the
//     highest byte of p is not zero, since that is below 2^8 p;
//   - below 7p if one is below 4p and the other below R, as in begin() and with factor_var();
//   - below 4p in leave() and to_digits_form(), as write() needs it: one is at most 2^(64 n).
#ifndef QAL_QALMATH64_POWERS_FORM52_AVX512_HPP
#define QAL_QALMATH64_POWERS_FORM52_AVX512_HPP

#include "base/ct_avx512.hpp"
#include "qalmath64/kernels/montgomery52_avx512.hpp"
#include "qalmath64/powers/scans.hpp"

namespace qal::math {
namespace {

inline void copy_blocks(Block *to, const Block *from, size_t blocks)
{
    for (size_t j = 0; j < blocks; j++)
        to[j] = from[j];
}

class Table52 {
public:
    explicit Table52(size_t n) : blocks_(blocks_for(n)) {}
    Table52(const Table52 &) = delete;
    Table52 &operator=(const Table52 &) = delete;
    ~Table52() { base::wipe(table_, sizeof table_); }

    template<class Form>
    void write(size_t i, const Form &form)
    {
        form.get(entry(i));
    }

    Block *entry(size_t i) { return table_ + i * blocks_; }

    void read(Block *x, unsigned i, size_t count) const
    {
        size_t j = 0;
        for (; j + 5 <= blocks_; j += 5)
            read_blocks<5>(x, j, i, count);
        if (blocks_ - j == 4)
            read_blocks<4>(x, j, i, count);
        else if (blocks_ - j == 3)
            read_blocks<3>(x, j, i, count);
    }

private:
    // Each number of blocks is made of fives and no more than one four or three.
    static_assert([] {
        for (const size_t blocks : block_counts) {
            if (blocks % 5 == 1 || blocks % 5 == 2)
                return false;
        }
        return true;
    }());

    // Blocks `first` to `first + width` of an entry.
    template<size_t width>
    void read_blocks(Block *x, size_t first, unsigned i, size_t count) const
    {
        Block sum[width];
        QAL_UNROLL
        for (size_t j = 0; j < width; j++)
            sum[j] = _mm256_setzero_si256();
        const Block *from = table_ + first;
        for (size_t k = 0; k < count; k++, from += blocks_) {
            const Block here = base::mask_if_equal_256(k, i);
            QAL_UNROLL
            for (size_t j = 0; j < width; j++)
                sum[j] = base::or_under(sum[j], here, from[j]);
        }
        QAL_UNROLL
        for (size_t j = 0; j < width; j++)
            x[first + j] = sum[j];
    }

    size_t blocks_;
    Block table_[most_entries * most_blocks];
};

class Form52 {
public:
    using Word = Block;
    using Table = Table52;
    static constexpr size_t most_words = most_blocks;

    Form52(const qald *p, size_t n) : p_(p), n_(n), blocks_(blocks_for(n))
    {
        prepare52_avx512(m_, p, n, blocks_);
    }
    Form52(const Form52 &) = delete;
    Form52 &operator=(const Form52 &) = delete;
    ~Form52() { base::wipe(this, sizeof *this); }

    static_assert(block_bits % 16 == 0);
    [[nodiscard]] size_t r_bits() const { return block_bits * blocks_; }

    void split(Word *r, const qald *x, size_t n) const { split52_avx512(r, blocks_, x, n, 0); }
    void set(const Word *x) { copy_blocks(value_, x, blocks_); }
    void get(Word *x) const { copy_blocks(x, value_, blocks_); }

    void multiply(const Word *factor) { multiply52_avx512(value_, value_, factor, m_, blocks_); }
    void square() { square52_avx512(value_, value_, m_, blocks_); }
    void leave()
    {
        Block one[most_blocks];
        set_one(one);
        multiply(one);
    }
    void write(qald *r) const { reduce52_avx512(r, value_, blocks_, p_, n_); }

    // The form's own Montgomery form is that of the digits times R / 2^(64 n), a power of 2^8. Out
    // of line, so that its buffers take no stack while products are made.
    [[gnu::noinline]] void set_digits_form_var(const qald *x)
    {
        qald product[QALBIG_SIZE], p[most_digits52 + 1];
        memcpy(p + 1, p_, n_ * sizeof *p);
        p[0] = n_;
        qalshl(x, 8 * missing_bytes(), product);
        qaldiv(product, p, nullptr, product);
        split(value_, product + 1, product[0]);
    }
    // The same without a division: a factor need not be below p, below R is enough.
    const Word *factor_var(Word *room, const qald *x) const
    {
        split52_avx512(room, blocks_, x + 1, x[0], static_cast<ptrdiff_t>(missing_bytes()));
        return room;
    }
    // A product by 2^(64 n).
    void to_digits_form()
    {
        qald power[most_digits52 + 1] = {};
        power[n_] = 1;
        Block factor[most_blocks];
        split(factor, power, n_ + 1);
        multiply(factor);
    }

    // x = h R + l, both below R: l R is l times R^2, and h R^2 is h times R^3, in products that
    // divide by R. Entry 0 holds R^3 meanwhile, and then h R^2 and x R; entry 1 holds R^2.
    void begin(Table &table, const qald *x)
    {
        Block *const first = table.entry(0), *const second = table.entry(1);
        get(second);
        multiply(second);
        get(first);
        split52_avx512(value_, blocks_, x, 2 * n_, -static_cast<ptrdiff_t>(block_bytes * blocks_));
        multiply(first);
        get(first);
        split(value_, x, 2 * n_);
        multiply(second);
        add52_avx512(first, value_, first, blocks_);
        set(second);
        leave();
        copy_blocks(second, first, blocks_);
        get(first);
        set(second);
    }

private:
    void set_one(Block *x) const
    {
        for (size_t j = 0; j < blocks_; j++)
            x[j] = _mm256_set_epi64x(0, 0, 0, j == 0);
    }

    [[nodiscard]] size_t missing_bytes() const { return block_bytes * blocks_ - 8 * n_; }

    const qald *p_;
    size_t n_, blocks_;
    Modulus52 m_;
    Block value_[most_blocks];
};

} // namespace
} // namespace qal::math

#endif
