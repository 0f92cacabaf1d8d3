// Erasing secrets.
#ifndef QAL_BASE_WIPE_HPP
#define QAL_BASE_WIPE_HPP

#include <stddef.h>
#include <string.h>
#include <type_traits>

namespace qal::base {

// Zeroes memory that dies right afterwards, which the compiler may not drop as a dead store.
static inline void wipe(void *memory, size_t size)
{
    explicit_bzero(memory, size);
}

// Runs it and clears the stack that it used, no more than `depth` bytes: registers go there when
// the compiler runs out of them, and what is in them is nobody's to wipe by name.
template<class Run>
[[gnu::noinline]] static auto run_apart(Run &run)
{
    return run();
}
template<size_t depth>
[[gnu::noinline]] static void wipe_stack()
{
    unsigned char used[depth];
    wipe(used, depth);
}
template<size_t depth, class Run>
[[gnu::always_inline]] static inline auto run_on_wiped_stack(Run run)
{
    if constexpr (std::is_void_v<decltype(run())>) {
        run_apart(run);
        wipe_stack<depth>();
    } else {
        const auto result = run_apart(run);
        wipe_stack<depth>();
        return result;
    }
}

// What follows reads this memory anew. In a loop it keeps the compiler from taking more of a key
// out of its record than there are registers, which leaves a copy on the stack.
static inline void keep_in_memory(const void *memory)
{
    __asm__ volatile("" : : "r"(memory) : "memory");
}

} // namespace qal::base

#endif
