#define QAL_CURVE256_VARIANT(name) name##_bmi2adx
#include "qalec/curve256_variant.hpp"
