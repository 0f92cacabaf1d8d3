// The form of numbers in digits of 64 bits: value x 2^(64 n) mod p, with the dispatched products of
// montgomery.hpp. scans.hpp says what each function does. Time depends on n alone, except in
// functions named _var.
#ifndef QAL_QALMATH64_POWERS_FORM64_HPP
#define QAL_QALMATH64_POWERS_FORM64_HPP

#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/powers/scans.hpp"

#include <emmintrin.h>

namespace qal::math {
namespace {

// The table's entries are padded to whole fours of digits, at one distance, and read in fours.
class Table64 {
public:
    explicit Table64(size_t n) : n_(n), stride_((n + 3) / 4 * 4) {}
    Table64(const Table64 &) = delete;
    Table64 &operator=(const Table64 &) = delete;
    ~Table64()
    {
        base::wipe(digits_, used_ * sizeof *digits_);
        base::wipe(masks_, sizeof masks_);
    }

    template<class Form>
    void write(size_t i, const Form &form)
    {
        qald *const entry = digits_ + i * stride_;
        used_ = (i + 1) * stride_;
        form.get(entry);
        for (size_t j = n_; j < stride_; j++)
            entry[j] = 0;
    }

    [[nodiscard]] const qald *entry(size_t i) const { return digits_ + i * stride_; }

    void read(qald *x, unsigned i, size_t count)
    {
        const __m128i wanted = _mm_set1_epi32(static_cast<int>(i));
        for (size_t k = 0; k < count; k++)
            masks_[k] = _mm_cmpeq_epi32(_mm_set1_epi32(static_cast<int>(k)), wanted);
        for (size_t j = 0; j < stride_; j += 4) {
            __m128i low = _mm_setzero_si128(), high = low;
            for (size_t k = 0; k < count; k++) {
                const auto *from = reinterpret_cast<const __m128i *>(digits_ + k * stride_ + j);
                low = _mm_or_si128(low, _mm_and_si128(_mm_load_si128(from), masks_[k]));
                high = _mm_or_si128(high, _mm_and_si128(_mm_load_si128(from + 1), masks_[k]));
            }
            auto *to = reinterpret_cast<__m128i *>(x + j);
            _mm_storeu_si128(to, low);
            _mm_storeu_si128(to + 1, high);
        }
    }

private:
    size_t n_, stride_, used_ = 0;
    __m128i masks_[most_entries];
    alignas(16) qald digits_[most_entries * most_secret_digits];
};

// For p of up to `most` digits. The value changes places with the room for its product or square,
// which have twice its digits before they are reduced.
template<size_t most>
class Form64 {
public:
    using Word = qald;
    using Table = Table64;
    static constexpr size_t most_words = most;

    Form64(const qald *p, size_t n) : p_(p), n_(n), c_(montgomery_constant(p[0])) {}
    Form64(const Form64 &) = delete;
    Form64 &operator=(const Form64 &) = delete;
    ~Form64() { base::wipe(this, sizeof *this); }

    [[nodiscard]] size_t r_bits() const { return 64 * n_; }

    void split(Word *r, const qald *x, size_t n) const
    {
        memcpy(r, x, n * sizeof *x);
        memset(r + n, 0, (n_ - n) * sizeof *r);
    }
    void set(const Word *x) { memcpy(current_, x, n_ * sizeof *x); }
    void get(Word *x) const { memcpy(x, current_, n_ * sizeof *x); }

    void multiply(const Word *factor)
    {
        qal_mont_mul(other_, current_, factor, p_, n_, c_);
        exchange();
    }
    void square()
    {
        qal_mont_sqr(other_, current_, p_, n_, c_);
        exchange();
    }
    void leave() { multiply(one); }
    void write(qald *r) const { get(r); }

    void set_digits_form_var(const qald *x) { split(current_, x + 1, x[0] < n_ ? x[0] : n_); }
    const Word *factor_var(Word *room, const qald *x) const
    {
        if (x[0] >= n_)
            return x + 1;
        split(room, x + 1, x[0]);
        return room;
    }
    void to_digits_form() {}

    // x loses R by its reduction, and has it again after two products with R^2.
    void begin(Table &table, const qald *x)
    {
        qald square[most];
        get(square);
        leave();
        table.write(0, *this);
        memcpy(current_, x, 2 * n_ * sizeof *x);
        reduce(current_, current_, p_, n_, c_);
        multiply(square);
        multiply(square);
        table.write(1, *this);
        base::wipe(square, sizeof square);
    }

private:
    static constexpr qald one[most] = {1};

    void exchange()
    {
        qald *const before = current_;
        current_ = other_;
        other_ = before;
    }

    const qald *p_;
    size_t n_;
    qald c_;
    alignas(16) qald buffers_[2][2 * most];
    qald *current_ = buffers_[0], *other_ = buffers_[1];
};

} // namespace
} // namespace qal::math

#endif
