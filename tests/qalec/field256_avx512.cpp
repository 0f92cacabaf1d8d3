#include "qalec/field256_avx512.hpp"
#include "qalec/field256_variants.hpp"

namespace qal::test {
namespace {

using namespace qal::ec;

F4 load(const uint64_t (*digits)[4], const uint64_t *top)
{
    F4 x[4];
    for (int i = 0; i < 4; i++) {
        x[i] = splat({{digits[i][0], digits[i][1], digits[i][2], digits[i][3]}});
        x[i].limb[4] =
            _mm256_add_epi64(x[i].limb[4], _mm256_set1_epi64x(static_cast<int64_t>(top[i] << 48)));
    }
    return blend<8>(blend<4>(blend<2>(x[0], x[1]), x[2]), x[3]);
}

} // namespace

void field256_avx512_mul(const uint64_t *p, const uint64_t (*a)[4], const uint64_t *a_top,
                         const uint64_t (*b)[4], const uint64_t *b_top, uint64_t (*r)[4])
{
    const Field4 field(0 - p[0]);
    const F4 product = normalised(field.mul(load(a, a_top), load(b, b_top)));
    for (int i = 0; i < 4; i++) {
        const Fe lane = field.lane(product, i);
        for (int j = 0; j < 4; j++)
            r[i][j] = lane.d[j];
    }
}

bool field256_avx512_has_room_for(uint64_t c)
{
    return Field4::has_room_for(c);
}

} // namespace qal::test
