#define QAL_CURVE256_VARIANT(name) name##_portable
#include "qalec/curve256_variant.hpp"
