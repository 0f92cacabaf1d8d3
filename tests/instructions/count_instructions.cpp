// Every exported operation once, for callgrind to count: each one's counts are dumped under its
// name.
#include "operations/operations.hpp"

#include <cstdio>

#include <valgrind/callgrind.h>

int main()
{
    if (!RUNNING_ON_VALGRIND) {
        std::fputs("this program counts nothing without callgrind (./dev instructions)\n", stderr);
        return 2;
    }
    qal::test::Operations operations;
    CALLGRIND_START_INSTRUMENTATION;
    for (const qal::test::Operation &operation : operations.all) {
        if (operation.sweep)
            continue;
        const std::string label = operation.name + " | " + operation.arguments;
        operations.reset();
        CALLGRIND_ZERO_STATS;
        operation.call();
        CALLGRIND_DUMP_STATS_AT(label.c_str());
    }
    return 0;
}
