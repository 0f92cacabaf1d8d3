#include "der_numbers.hpp"

#include "writer.hpp"

#include <libtasn1.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace qal::tool {

namespace {

// Tag and length of a value.
struct Head {
    std::array<uint8_t, ASN1_MAX_TL_SIZE> bytes{};
    unsigned size = ASN1_MAX_TL_SIZE;
};

// The head of a number, with the zero byte that keeps one with its highest bit set from being
// negative, or that is zero.
Head integer_head(const Secret &number)
{
    const bool with_zero = number.size() == 0 || number.data()[0] >= 0x80;
    Head head;
    // Only the length counts, but there must be a pointer.
    if (asn1_encode_simple_der(ASN1_ETYPE_INTEGER, head.bytes.data(),
                               static_cast<unsigned>(number.size() + with_zero), head.bytes.data(),
                               &head.size) != ASN1_SUCCESS)
        throw std::runtime_error("a number does not fit into DER");
    if (with_zero)
        head.bytes[head.size++] = 0;
    return head;
}

Head sequence_head(size_t size)
{
    Head head;
    head.bytes[0] = ASN1_TAG_SEQUENCE | ASN1_CLASS_STRUCTURED;
    int length = 0;
    asn1_length_der(size, head.bytes.data() + 1, &length);
    head.size = static_cast<unsigned>(length + 1);
    return head;
}

} // namespace

Secret to_der(const std::vector<Secret> &numbers)
{
    size_t size = 0;
    for (const Secret &number : numbers)
        size += integer_head(number).size + number.size();
    const Head head = sequence_head(size);
    Secret der(head.size + size);
    Writer writer(der);
    writer.put(head.bytes.data(), head.size);
    for (const Secret &number : numbers) {
        const Head integer = integer_head(number);
        writer.put(integer.bytes.data(), integer.size);
        writer.put(number.data(), number.size());
    }
    return der;
}

namespace {

// A value of the given class and tag at the beginning of some bytes, with nothing of it missing.
std::optional<std::span<const uint8_t>> contents(std::span<const uint8_t> der, unsigned char type,
                                                 unsigned long tag)
{
    unsigned char found_type;
    unsigned long found_tag;
    int tag_size, length_size;
    const auto size = static_cast<int>(der.size());
    if (asn1_get_tag_der(der.data(), size, &found_type, &tag_size, &found_tag) != ASN1_SUCCESS ||
        found_type != type || found_tag != tag || tag_size >= size)
        return std::nullopt;
    const auto rest = der.subspan(static_cast<size_t>(tag_size));
    const long length =
        asn1_get_length_der(rest.data(), static_cast<int>(rest.size()), &length_size);
    if (length < 0 || length > size - tag_size - length_size)
        return std::nullopt;
    return rest.subspan(static_cast<size_t>(length_size), static_cast<size_t>(length));
}

} // namespace

std::optional<std::vector<Secret>> from_der(std::span<const uint8_t> der)
{
    const auto sequence = contents(der, ASN1_CLASS_STRUCTURED, ASN1_TAG_SEQUENCE);
    const uint8_t *const end = der.data() + der.size();
    if (!sequence || sequence->data() + sequence->size() != end)
        return std::nullopt;
    std::vector<Secret> numbers;
    for (auto rest = *sequence; !rest.empty();) {
        const auto integer = contents(rest, ASN1_CLASS_UNIVERSAL, ASN1_TAG_INTEGER);
        if (!integer || integer->empty() || integer->front() >= 0x80)
            return std::nullopt;
        const auto value =
            std::find_if(integer->begin(), integer->end(), [](uint8_t byte) { return byte != 0; });
        std::copy(value, integer->end(),
                  numbers.emplace_back(static_cast<size_t>(integer->end() - value)).data());
        rest = {integer->data() + integer->size(), end};
    }
    return numbers;
}

} // namespace qal::tool
