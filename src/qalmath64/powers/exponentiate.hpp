// What the exponentiations share: odd powers of the base, and the scan of the exponent by windows.
#ifndef QAL_QALMATH64_EXPONENTIATE_HPP
#define QAL_QALMATH64_EXPONENTIATE_HPP

#include "base/wipe.hpp"
#include "qalmath64/kernels/digits.hpp"

#include <utility>

namespace qal::math {

// Widest window of an exponent's bits, and the odd powers that it can ask for.
constexpr int64_t window_bits = 5;
constexpr size_t odd_powers = 16;

inline bool is_odd(const qald *x)
{
    return x[0] != 0 && (x[1] & 1) != 0;
}

// Products in Montgomery form.
struct MontgomeryForm {
    qald c;
    uint32_t k;
    const qald *p;

    qald *multiply(const qald *a, const qald *b, qald *t) const
    {
        return qalmulmont(c, k, p, a, b, t);
    }
    qald *square(const qald *a, qald *t) const { return qalsqrmont(c, k, p, a, t); }
};

// The form of R = 2^(64 n) for an odd p of n digits.
inline MontgomeryForm usual_form(const qald *p)
{
    return {montgomery_constant(p[1]), static_cast<uint32_t>(64 * p[0]), p};
}

inline bool is_usual_form(uint32_t k, const qald *p)
{
    return is_odd(p) && k == 64 * p[0];
}

// Products reduced by division, for any p.
struct PlainForm {
    const qald *p;

    qald *multiply(const qald *a, const qald *b, qald *t) const
    {
        qalmul(a, b, t);
        qaldiv(t, p, nullptr, t);
        return t;
    }
    qald *square(const qald *a, qald *t) const
    {
        qalsqr(a, t);
        qaldiv(t, p, nullptr, t);
        return t;
    }
};

// A number that changes places with the room for its product or square.
class Power {
public:
    explicit Power(const qald *x) { qalcopy(current_, x); }
    Power(const Power &) = delete;
    Power &operator=(const Power &) = delete;
    ~Power() { base::wipe(buffers_, sizeof buffers_); }

    template<class Form>
    void multiply(const Form &form, const qald *factor)
    {
        form.multiply(current_, factor, other_);
        std::swap(current_, other_);
    }
    template<class Form>
    void square(const Form &form)
    {
        form.square(current_, other_);
        std::swap(current_, other_);
    }
    const qald *value() const { return current_; }

private:
    qald buffers_[2][QALBIG_SIZE];
    qald *current_ = buffers_[0], *other_ = buffers_[1];
};

// power = power^(2^bits) * x^f, from the left, where f is the lowest bits of e; entry i of the
// table, `stride` words apart, is x^(2i + 1). Returns how many products it took besides the
// squares.
template<class Form>
uint64_t raise(const Form &form, Power &power, const qald *table, size_t stride, const qald *e,
               uint64_t bits)
{
    uint64_t products = 0;
    while (bits > 0) {
        int64_t length;
        const uint64_t window = qalgetslide(e, bits - 1, window_bits, &length);
        bits -= static_cast<uint64_t>(length);
        for (; length > 0; length--)
            power.square(form);
        if (window != 0) {
            power.multiply(form, table + window / 2 * stride);
            products++;
        }
    }
    return products;
}

} // namespace qal::math

#endif
