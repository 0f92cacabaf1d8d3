#include "ua/engine.hpp"

#include "ua/reduce.hpp"

namespace qal::ua {

const Engine *engine_of_field(uint32_t m, uint32_t a, uint32_t b, uint32_t c)
{
    constexpr FieldPolynomial fields[] = {field163, field191, field257, field431};
    for (unsigned i = 0; i < 4; i++) {
        const FieldPolynomial &f = fields[i];
        if (f.m == m && f.a == a && f.b == b && f.c == c)
            return engines() + i;
    }
    return nullptr;
}

} // namespace qal::ua
