// The choice of a field's engine. Exponents are public.
#include "ua/engine.hpp"

#include "ua/fields.hpp"

namespace qal::ua {

const Engine *engine_of_field(uint32_t m, uint32_t a, uint32_t b, uint32_t c)
{
    const unsigned i = index_of_field(m, a, b, c);
    return i < field_count ? engines() + i : nullptr;
}

} // namespace qal::ua
