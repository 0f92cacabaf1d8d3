// The features that the choice of variants goes by in test_dispatch, in place of the processor's.
#pragma once

#include <stdint.h>

// Resolvers look at it before the program is relocated, so that it must not be reached by way of
// the global offset table. 0 while the loader binds names.
extern "C" [[gnu::visibility("hidden")]] uint32_t qal_given_cpu;
