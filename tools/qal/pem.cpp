#include "pem.hpp"

#include <libtasn1.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <stdexcept>

namespace qal::tool {

namespace {

constexpr size_t line_length = 64;
constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Bytes that are written one after the other into room that was made before, since a vector that
// grows leaves what it held behind.
class Writer {
public:
    explicit Writer(Secret &to) : to_(to) {}

    template<typename Byte>
    void put(const Byte *data, size_t size)
    {
        std::copy(data, data + size, to_.data() + size_);
        size_ += size;
    }
    void put(std::string_view text) { put(text.data(), text.size()); }

private:
    Secret &to_;
    size_t size_ = 0;
};

int base64_value(char c)
{
    const char *found = c == '\0' ? nullptr : std::strchr(alphabet, c);
    return found == nullptr ? -1 : static_cast<int>(found - alphabet);
}

std::string boundary(const char *what, const std::string &label)
{
    return std::string("-----") + what + " " + label + "-----";
}

bool is_blank(char c)
{
    return c == '\n' || c == '\r' || c == ' ' || c == '\t';
}

std::optional<Secret> from_base64(std::string_view text)
{
    size_t characters = 0, padding = 0;
    for (const char c : text) {
        if (is_blank(c))
            continue;
        if (c == '=')
            padding++;
        else if (padding > 0 || base64_value(c) < 0)
            return std::nullopt;
        characters++;
    }
    if (characters % 4 != 0 || padding > 2 || characters == 0)
        return std::nullopt;
    Secret bytes(characters / 4 * 3 - padding);
    uint32_t bits = 0;
    size_t used = 0;
    for (const char c : text) {
        if (is_blank(c))
            continue;
        bits = bits << 6 | (c == '=' ? 0u : static_cast<uint32_t>(base64_value(c)));
        if (++used % 4 != 0)
            continue;
        for (size_t i = 0; i < 3; i++) {
            if (const size_t at = used / 4 * 3 - 3 + i; at < bytes.size())
                bytes.data()[at] = static_cast<uint8_t>(bits >> (16 - 8 * i));
        }
    }
    return bytes;
}

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

std::optional<std::vector<Secret>> from_der(const Secret &der)
{
    const auto sequence =
        contents({der.data(), der.size()}, ASN1_CLASS_STRUCTURED, ASN1_TAG_SEQUENCE);
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

} // namespace

std::optional<std::string> pem_label(std::string_view text)
{
    constexpr std::string_view begin = "-----BEGIN ", dashes = "-----";
    const size_t from = text.find(begin);
    if (from == std::string_view::npos || (from > 0 && text[from - 1] != '\n'))
        return std::nullopt;
    text.remove_prefix(from + begin.size());
    const size_t length = text.substr(0, text.find('\n')).find(dashes);
    if (length == std::string_view::npos)
        return std::nullopt;
    return std::string(text.substr(0, length));
}

std::optional<std::vector<Secret>> from_pem(std::string_view text, const std::string &label)
{
    const std::string begin = boundary("BEGIN", label), end = boundary("END", label);
    const size_t from = text.find(begin);
    if (from == std::string_view::npos)
        return std::nullopt;
    const size_t to = text.find(end, from);
    if (to == std::string_view::npos)
        return std::nullopt;
    for (const char c : text.substr(to + end.size()))
        if (!is_blank(c))
            return std::nullopt;
    const auto der = from_base64(text.substr(from + begin.size(), to - from - begin.size()));
    return der ? from_der(*der) : std::nullopt;
}

Secret to_pem(const std::vector<Secret> &numbers, const std::string &label)
{
    const Secret der = to_der(numbers);
    const std::string begin = boundary("BEGIN", label), end = boundary("END", label);
    const size_t characters = (der.size() + 2) / 3 * 4;
    const size_t lines = (characters + line_length - 1) / line_length;
    Secret text(begin.size() + 1 + characters + lines + end.size() + 1);
    Writer writer(text);
    writer.put(begin);
    for (size_t i = 0; i < der.size(); i += 3) {
        if (i / 3 * 4 % line_length == 0)
            writer.put("\n");
        uint32_t bits = 0;
        for (size_t j = 0; j < 3; j++)
            bits = bits << 8 | (i + j < der.size() ? der.data()[i + j] : 0u);
        char four[4];
        for (size_t j = 0; j < 4; j++)
            four[j] = i + j > der.size() ? '=' : alphabet[bits >> (18 - 6 * j) & 63];
        writer.put(four, sizeof four);
    }
    writer.put("\n");
    writer.put(end);
    writer.put("\n");
    return text;
}

} // namespace qal::tool
