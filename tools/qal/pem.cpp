#include "pem.hpp"

#include "writer.hpp"

#include <cstring>

namespace qal::tool {

namespace {

constexpr size_t line_length = 64;
constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

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

std::optional<Secret> from_pem(std::string_view text, const std::string &label)
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
    return from_base64(text.substr(from + begin.size(), to - from - begin.size()));
}

Secret to_pem(std::span<const uint8_t> der, const std::string &label)
{
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
            bits = bits << 8 | (i + j < der.size() ? der[i + j] : 0u);
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
