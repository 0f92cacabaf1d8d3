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

// What follows reads this memory anew. In a loop it keeps the compiler from taking more of a key
// out of its record than there are registers, which leaves a copy on the stack.
static inline void keep_in_memory(const void *memory)
{
    __asm__ volatile("" : : "r"(memory) : "memory");
}

} // namespace qal::base

#endif
