#include "rsa/qalrsaex/parameters.hpp"

using namespace qal::rsa;

static constexpr uint32_t bad_parameter = 0xffffffff;

uint32_t load_rsa_key_prm(qald *x, const uint8_t *b)
{
    const uint32_t length = parameter_length(b);
    if (length > most_modulus_bytes)
        return bad_parameter;
    qalfrombase256(x, b + length_bytes, length);
    return length_bytes + length;
}

uint32_t save_rsa_key_prm(uint8_t *b, const qald *x)
{
    const uint64_t length = qalbitlen(x, 8);
    b[0] = static_cast<uint8_t>(length >> 8);
    b[1] = static_cast<uint8_t>(length);
    if (length > most_modulus_bytes)
        return bad_parameter;
    return length_bytes + qaltobase256(b + length_bytes, most_modulus_bytes, x);
}
