// Where a value that was made from secrets becomes public.
//
// Builds with QAL_SECRECY_CHECKS run under valgrind, with secrets marked as undefined memory: a
// branch or an address that depends on one is then an error of memcheck's. What an operation makes
// known on purpose (a signature, a status code, whether a nonce is drawn again) is declassified at
// its place, and says why it may be known. In other builds nothing is left of this.
#ifndef QAL_BASE_SECRECY_HPP
#define QAL_BASE_SECRECY_HPP

#include <stddef.h>

#ifdef QAL_SECRECY_CHECKS
#include <valgrind/memcheck.h>
#endif

namespace qal::base {

static inline void declassify([[maybe_unused]] const void *memory, [[maybe_unused]] size_t size)
{
#ifdef QAL_SECRECY_CHECKS
    VALGRIND_MAKE_MEM_DEFINED(memory, size);
#endif
}

template<class T>
static inline T declassified(T value)
{
    declassify(&value, sizeof value);
    return value;
}

} // namespace qal::base

#endif
