// Loops that are unrolled at compile time: the counter is a constant expression in the body. Files
// with compiler flags of their own include this, so everything has internal linkage.
#ifndef QAL_UA_UNROLL_HPP
#define QAL_UA_UNROLL_HPP

// Makes the body of a loop inline: it stands behind the body's parameters.
#define QAL_INLINED __attribute__((always_inline))

namespace qal::ua {

namespace {

template<unsigned value>
struct Constant {
    constexpr unsigned operator()() const { return value; }
};

template<unsigned i, unsigned n, typename Body>
[[gnu::always_inline]] inline void unroll_from(const Body &body)
{
    if constexpr (i < n) {
        body(Constant<i>{});
        unroll_from<i + 1, n>(body);
    }
}

// body(i) for i = 0, 1, ..., n - 1; the body asks i() for the value.
template<unsigned n, typename Body>
[[gnu::always_inline]] inline void unroll(const Body &body)
{
    unroll_from<0, n>(body);
}

} // namespace

} // namespace qal::ua

#endif
