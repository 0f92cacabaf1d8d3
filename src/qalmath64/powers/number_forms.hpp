// Products modulo any p of numbers with length words, for exponentiations that the forms of
// scans.hpp do not take: even moduli, and Montgomery forms of other R than 2^(64 n). Shapes as in
// qalmath64.h; time depends on the values.
#ifndef QAL_QALMATH64_POWERS_NUMBER_FORMS_HPP
#define QAL_QALMATH64_POWERS_NUMBER_FORMS_HPP

#include "qalmath64/kernels/digits.hpp"
#include "qalmath64/powers/scans.hpp"

#include <utility>

namespace qal::math {

// Odd powers that a sliding window can ask for.
constexpr size_t odd_powers = size_t{1} << (sliding_window_bits - 1);

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

// A number to be raised by sliding windows, which changes places with the room for its product or
// square; entry i of the table, `stride` words apart, is x^(2i + 1).
template<class Form>
class NumberPower {
public:
    NumberPower(const Form &form, const qald *table, size_t stride)
        : form_(form), table_(table), stride_(stride)
    {
    }
    NumberPower(const NumberPower &) = delete;
    NumberPower &operator=(const NumberPower &) = delete;
    ~NumberPower() { base::wipe(buffers_, sizeof buffers_); }

    void set_number(const qald *x) { qalcopy(current_, x); }
    void set(size_t i) { set_number(table_ + i * stride_); }
    void multiply(size_t i)
    {
        form_.multiply(current_, table_ + i * stride_, other_);
        std::swap(current_, other_);
    }
    void square()
    {
        form_.square(current_, other_);
        std::swap(current_, other_);
    }
    [[nodiscard]] const qald *value() const { return current_; }

private:
    Form form_;
    const qald *table_;
    size_t stride_;
    qald buffers_[2][QALBIG_SIZE];
    qald *current_ = buffers_[0], *other_ = buffers_[1];
};

} // namespace qal::math

#endif
