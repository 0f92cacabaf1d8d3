#define QAL_FIELD256_VARIANT field256_bmi2adx
#include "qalec/field256_variant.hpp"
