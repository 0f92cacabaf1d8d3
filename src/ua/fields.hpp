// The four binary fields by their polynomials, in one list: degrees, exponents, and the numbers of
// words, bits and bytes that follow from them. Fields are public.
#pragma once

#include <stdint.h>

namespace qal::ua {

// x^m + x^a + x^b + x^c + 1, or x^m + x^a + 1 if b is 0.
struct FieldPolynomial {
    uint32_t m, a, b, c;

    constexpr bool operator==(const FieldPolynomial &) const = default;

    // Words of 64 bits and of 32 bits in an element.
    constexpr unsigned words() const { return (m + 63) / 64; }
    constexpr unsigned halves() const { return (m + 31) / 32; }
    // Bytes in which the interface stores an element: there is room for x^m.
    constexpr unsigned bytes() const { return (m + 8) / 8; }
    constexpr unsigned terms() const { return b != 0 ? 4 : 2; }
    // Exponent of a term below x^m.
    constexpr unsigned term(unsigned i) const { return i == 0 ? 0 : i == 1 ? a : i == 2 ? b : c; }
};

constexpr FieldPolynomial field163 = {163, 7, 6, 3}, field191 = {191, 9, 0, 0},
                          field257 = {257, 12, 0, 0}, field431 = {431, 5, 3, 1};

// All of them, in the order that tables by field have; the last one is the largest.
constexpr FieldPolynomial fields[] = {field163, field191, field257, field431};
constexpr unsigned field_count = sizeof fields / sizeof *fields;
constexpr FieldPolynomial largest_field = field431;

// The index of a field in the list above, or field_count if it is none of them.
constexpr unsigned index_of_field(uint32_t m, uint32_t a, uint32_t b, uint32_t c)
{
    for (unsigned i = 0; i < field_count; i++) {
        const FieldPolynomial &f = fields[i];
        if (f.m == m && f.a == a && f.b == b && f.c == c)
            return i;
    }
    return field_count;
}

} // namespace qal::ua
