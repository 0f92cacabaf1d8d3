// Key parameters: two bytes of length, and a number.
#ifndef QAL_RSA_QALRSAEX_PARAMETERS_HPP
#define QAL_RSA_QALRSAEX_PARAMETERS_HPP

#include "base/bytes.hpp"

#include <qal/rsa.h>

#include <stddef.h>

namespace qal::rsa {

// The public exponent of every key that is made here.
constexpr qald public_exponent = 65537;
inline constexpr qald public_exponent_number[] = {1, public_exponent};

// The longest modulus, and the longest value of a key parameter.
constexpr size_t modulus_digits = 32;
constexpr uint32_t most_modulus_bytes = 8 * modulus_digits;

constexpr uint32_t length_bytes = 2;

inline uint32_t parameter_length(const uint8_t *b)
{
    return uint32_t{b[0]} << 8 | b[1];
}

// Reads the parameter at `key` and moves on behind it. False, without a look at the value, if that
// has no byte or more than `most`.
inline bool read_parameter(qald *x, const uint8_t *&key, uint32_t most)
{
    const uint32_t length = parameter_length(key);
    if (length == 0 || length > most)
        return false;
    qalfrombase256(x, key + length_bytes, length);
    key += length_bytes + length;
    return true;
}

// Numbers that may be secret, on digits whose count says nothing of the value.

// x[0..n) = big-endian bytes, no more than n digits hold.
inline void read_digits(qald *x, size_t n, const uint8_t *bytes, size_t size)
{
    size_t i = 0;
    for (; size >= 8; size -= 8)
        x[i++] = base::load_be64(bytes + size - 8);
    if (size > 0) {
        qald digit = 0;
        for (size_t j = 0; j < size; j++)
            digit = digit << 8 | bytes[j];
        x[i++] = digit;
    }
    for (; i < n; i++)
        x[i] = 0;
}

// x on whole digits as big-endian bytes, zeros first; size is a multiple of 8.
inline void write_digits(uint8_t *out, size_t size, const qald *x)
{
    for (size_t i = 0; i < size / 8; i++)
        base::store_be64(out + size - 8 * (i + 1), x[i]);
}

} // namespace qal::rsa

#endif
