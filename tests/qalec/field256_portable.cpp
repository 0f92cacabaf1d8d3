#define QAL_FIELD256_VARIANT field256_portable
#include "qalec/field256_variant.hpp"
