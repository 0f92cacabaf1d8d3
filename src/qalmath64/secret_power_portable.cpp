// Fixed windows over any Montgomery product; entries of the table are read by reading all of it.
#include "base/wipe.hpp"
#include "qalmath64/montgomery.hpp"
#include "qalmath64/secret_power.hpp"

#include <emmintrin.h>

#include <utility>

namespace qal::math {
namespace {

constexpr size_t most_entries = size_t{1} << widest_secret_window;

// Entries of n digits, padded to whole fours with zeros, at one distance.
class Table {
public:
    explicit Table(size_t n) : n_(n), stride_((n + 3) / 4 * 4) {}
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;
    ~Table() { base::wipe(digits_, sizeof digits_); }

    void write(size_t entry, const qald *x)
    {
        qald *const place = digits_ + entry * stride_;
        for (size_t i = 0; i < stride_; i++)
            place[i] = i < n_ ? x[i] : 0;
    }

    // Reads the first `entries` entries, all of them, and masks all but one; x has room for whole
    // fours of digits.
    void read(qald *x, unsigned entry, size_t entries) const
    {
        __m128i masks[most_entries];
        const __m128i wanted = _mm_set1_epi32(static_cast<int>(entry));
        for (size_t k = 0; k < entries; k++)
            masks[k] = _mm_cmpeq_epi32(_mm_set1_epi32(static_cast<int>(k)), wanted);
        for (size_t i = 0; i < stride_; i += 4) {
            __m128i low = _mm_setzero_si128(), high = low;
            for (size_t k = 0; k < entries; k++) {
                const auto *from = reinterpret_cast<const __m128i *>(digits_ + k * stride_ + i);
                low = _mm_or_si128(low, _mm_and_si128(_mm_load_si128(from), masks[k]));
                high = _mm_or_si128(high, _mm_and_si128(_mm_load_si128(from + 1), masks[k]));
            }
            auto *to = reinterpret_cast<__m128i *>(x + i);
            _mm_store_si128(to, low);
            _mm_store_si128(to + 1, high);
        }
        base::wipe(masks, sizeof masks);
    }

private:
    size_t n_, stride_;
    alignas(16) qald digits_[most_entries * most_secret_digits];
};

// A number in Montgomery form that changes places with the room for its product or square, which
// have twice its digits before they are reduced.
class SecretForm {
public:
    SecretForm(const qald *p, size_t n) : p_(p), n_(n), c_(montgomery_constant(p[0])) {}
    SecretForm(const SecretForm &) = delete;
    SecretForm &operator=(const SecretForm &) = delete;
    ~SecretForm() { base::wipe(this, sizeof *this); }

    void multiply(const qald *factor)
    {
        qal_mont_mul(other_, current_, factor, p_, n_, c_);
        std::swap(current_, other_);
    }
    void square()
    {
        qal_mont_sqr(other_, current_, p_, n_, c_);
        std::swap(current_, other_);
    }
    // The number, of 2n digits below p R, divided by R.
    void reduce() { math::reduce(current_, current_, p_, n_, c_); }
    qald *value() { return current_; }

private:
    const qald *p_;
    size_t n_;
    qald c_;
    alignas(16) qald buffers_[2][2 * most_secret_digits];
    qald *current_ = buffers_[0], *other_ = buffers_[1];
};

void copy(qald *to, const qald *from, size_t n)
{
    for (size_t i = 0; i < n; i++)
        to[i] = from[i];
}

} // namespace

void power_secret_portable(const SecretPower &power, size_t n, size_t bits)
{
    SecretForm form(power.p, n);
    alignas(16) qald factor[most_secret_digits];

    // R^2 = 2^(64 n) R, out of 2^(4 n) R by four squares.
    power_of_two_secret(form.value(), 68 * n, power.p, n);
    for (int i = 0; i < 4; i++)
        form.square();
    copy(factor, form.value(), n);

    const unsigned w = secret_window(bits);
    const size_t entries = size_t{1} << w;
    Table table(n);
    qald one[most_secret_digits] = {1};
    form.multiply(one);
    table.write(0, form.value());

    // The base loses R by its reduction, and has it again after two products with R^2.
    copy(form.value(), power.x, 2 * n);
    form.reduce();
    form.multiply(factor);
    form.multiply(factor);
    table.write(1, form.value());
    copy(factor, form.value(), n);
    for (size_t i = 2; i < entries; i++) {
        form.multiply(factor);
        table.write(i, form.value());
    }

    size_t position = (bits + w - 1) / w * w;
    if (position == 0) {
        table.read(form.value(), 0, entries);
    } else {
        position -= w;
        table.read(form.value(), exponent_window(power.e, bits, position, w), entries);
    }
    while (position > 0) {
        position -= w;
        for (unsigned i = 0; i < w; i++)
            form.square();
        table.read(factor, exponent_window(power.e, bits, position, w), entries);
        form.multiply(factor);
    }
    form.multiply(one);
    copy(power.r, form.value(), n);
    base::wipe(factor, sizeof factor);
}

void power_secret_pair_portable(const SecretPower &first, const SecretPower &second, size_t n,
                                size_t bits)
{
    power_secret_portable(first, n, bits);
    power_secret_portable(second, n, bits);
}

} // namespace qal::math
