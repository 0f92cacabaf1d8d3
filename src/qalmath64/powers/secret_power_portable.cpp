// Fixed windows over any Montgomery product; entries of the table are read by reading all of it.
#include "base/wipe.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/powers/secret_power.hpp"

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
    ~Table()
    {
        base::wipe(digits_, used_ * sizeof *digits_);
        base::wipe(masks_, sizeof masks_);
    }

    // Entries are written in their order.
    void write(size_t entry, const qald *x)
    {
        qald *const place = digits_ + entry * stride_;
        used_ = (entry + 1) * stride_;
        for (size_t i = 0; i < stride_; i++)
            place[i] = i < n_ ? x[i] : 0;
    }

    // Reads the first `entries` entries, all of them, and masks all but one; x has room for whole
    // fours of digits.
    void read(qald *x, unsigned entry, size_t entries)
    {
        const __m128i wanted = _mm_set1_epi32(static_cast<int>(entry));
        for (size_t k = 0; k < entries; k++)
            masks_[k] = _mm_cmpeq_epi32(_mm_set1_epi32(static_cast<int>(k)), wanted);
        for (size_t i = 0; i < stride_; i += 4) {
            __m128i low = _mm_setzero_si128(), high = low;
            for (size_t k = 0; k < entries; k++) {
                const auto *from = reinterpret_cast<const __m128i *>(digits_ + k * stride_ + i);
                low = _mm_or_si128(low, _mm_and_si128(_mm_load_si128(from), masks_[k]));
                high = _mm_or_si128(high, _mm_and_si128(_mm_load_si128(from + 1), masks_[k]));
            }
            auto *to = reinterpret_cast<__m128i *>(x + i);
            _mm_store_si128(to, low);
            _mm_store_si128(to + 1, high);
        }
    }

private:
    size_t n_, stride_, used_ = 0;
    __m128i masks_[most_entries];
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

// One exponentiation on its way.
struct Work {
    const SecretPower &power;
    SecretForm form;
    Table table;
    alignas(16) qald factor[most_secret_digits];

    Work(const SecretPower &of, size_t n) : power(of), form(of.p, n), table(n) {}
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;
    ~Work() { base::wipe(factor, sizeof factor); }
};

// All of them in step: a product of few digits leaves the processor room for another one, which
// must not wait for it.
template<size_t count>
void raise(Work (&works)[count], size_t n, size_t bits)
{
    const auto each = [&works](auto &&step) {
        for (Work &work : works)
            step(work);
    };
    // R^2 = 2^(64 n) R, out of 2^(4 n) R by four squares.
    each([&](Work &work) { power_of_two_secret(work.form.value(), 68 * n, work.power.p, n); });
    for (int i = 0; i < 4; i++)
        each([](Work &work) { work.form.square(); });

    const unsigned w = secret_window(bits);
    const size_t entries = size_t{1} << w;
    const qald one[most_secret_digits] = {1};
    each([&](Work &work) {
        copy(work.factor, work.form.value(), n);
        work.form.multiply(one);
        work.table.write(0, work.form.value());

        // The base loses R by its reduction, and has it again after two products with R^2.
        copy(work.form.value(), work.power.x, 2 * n);
        work.form.reduce();
        work.form.multiply(work.factor);
        work.form.multiply(work.factor);
        work.table.write(1, work.form.value());
        copy(work.factor, work.form.value(), n);
    });
    for (size_t i = 2; i < entries; i++) {
        each([](Work &work) { work.form.multiply(work.factor); });
        each([&](Work &work) { work.table.write(i, work.form.value()); });
    }

    size_t position = (bits + w - 1) / w * w;
    const auto window = [&](const Work &work) {
        return bits == 0 ? 0 : exponent_window(work.power.e, bits, position, w);
    };
    position -= position == 0 ? 0 : w;
    each([&](Work &work) { work.table.read(work.form.value(), window(work), entries); });
    while (position > 0) {
        position -= w;
        for (unsigned i = 0; i < w; i++)
            each([](Work &work) { work.form.square(); });
        each([&](Work &work) { work.table.read(work.factor, window(work), entries); });
        each([](Work &work) { work.form.multiply(work.factor); });
    }
    each([&](Work &work) {
        work.form.multiply(one);
        copy(work.power.r, work.form.value(), n);
    });
}

// More than products of eight digits and less use of the stack, where they leave the last result.
constexpr size_t kernel_stack = 2048;

} // namespace

void power_secret_portable(const SecretPower &power, size_t n, size_t bits)
{
    Work works[] = {{power, n}};
    raise(works, n, bits);
    base::wipe_stack<kernel_stack>();
}

void power_secret_pair_portable(const SecretPower &first, const SecretPower &second, size_t n,
                                size_t bits)
{
    Work works[] = {{first, n}, {second, n}};
    raise(works, n, bits);
    base::wipe_stack<kernel_stack>();
}

} // namespace qal::math
