// Erasing secrets.
#ifndef QAL_BASE_WIPE_HPP
#define QAL_BASE_WIPE_HPP

#include <stddef.h>
#include <string.h>

namespace qal::base {

// Zeroes memory that dies right afterwards, which the compiler may not drop as a dead store.
static inline void wipe(void *memory, size_t size)
{
    explicit_bzero(memory, size);
}

} // namespace qal::base

#endif
