// Work on large secret numbers, after which none of them is left on the stack, wherever compiled
// code and what it calls may have kept parts of them.
#ifndef QAL_RSA_WIPED_STACK_HPP
#define QAL_RSA_WIPED_STACK_HPP

#include "base/wipe.hpp"

namespace qal::rsa {

template<class Run>
[[gnu::noinline]] void run_apart(Run &run)
{
    run();
}

template<size_t depth>
[[gnu::noinline]] void wipe_stack()
{
    uint8_t used[depth];
    base::wipe(used, sizeof used);
}

// More than what the search for a prime and the completion of a key use of the stack.
constexpr size_t stack_depth = 40960;

template<class Run>
void run_on_wiped_stack(Run run)
{
    run_apart(run);
    wipe_stack<stack_depth>();
}

} // namespace qal::rsa

#endif
