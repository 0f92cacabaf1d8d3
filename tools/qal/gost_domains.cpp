#include "gost_domains.hpp"

#include "files.hpp"
#include "hex.hpp"
#include "quoting.hpp"
#include "randomness.hpp"
#include "soundness.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qal::tool {

namespace {

// p, a, b, q, x and y, most significant digit first.
struct Set {
    const char *name, *identifier;
    std::array<const char *, 6> numbers;
};

// RFC 4357, section 11.4
constexpr Set sets[] = {
    {"cryptopro-a",
     "1.2.643.2.2.35.1",
     {"fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd97",
      "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd94", "a6",
      "ffffffffffffffffffffffffffffffff6c611070995ad10045841b09b761b893", "1",
      "8d91e471e0989cda27df505a453f2b7635294f2ddf23e3b122acc99c9e9f1e14"}},
    {"cryptopro-b",
     "1.2.643.2.2.35.2",
     {"8000000000000000000000000000000000000000000000000000000000000c99",
      "8000000000000000000000000000000000000000000000000000000000000c96",
      "3e1af419a269a5f866a7d3c25c3df80ae979259373ff2b182f49d4ce7e1bbc8b",
      "800000000000000000000000000000015f700cfff1a624e5e497161bcc8a198f", "1",
      "3fa8124359f96680b83d1c3eb2c070e5c545c9858d03ecfb744bf8d717717efc"}},
    {"cryptopro-c",
     "1.2.643.2.2.35.3",
     {"9b9f605f5a858107ab1ec85e6b41c8aacf846e86789051d37998f7b9022d759b",
      "9b9f605f5a858107ab1ec85e6b41c8aacf846e86789051d37998f7b9022d7598", "805a",
      "9b9f605f5a858107ab1ec85e6b41c8aa582ca3511eddfb74f02f3a6598980bb9", "0",
      "41ece55743711a8c3cbf3783cd08c0ee4d4dc440d4641a8f366e550dfdb3bb67"}},
    {"cryptopro-xcha",
     "1.2.643.2.2.36.0",
     {"fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd97",
      "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd94", "a6",
      "ffffffffffffffffffffffffffffffff6c611070995ad10045841b09b761b893", "1",
      "8d91e471e0989cda27df505a453f2b7635294f2ddf23e3b122acc99c9e9f1e14"}},
    {"cryptopro-xchb",
     "1.2.643.2.2.36.1",
     {"9b9f605f5a858107ab1ec85e6b41c8aacf846e86789051d37998f7b9022d759b",
      "9b9f605f5a858107ab1ec85e6b41c8aacf846e86789051d37998f7b9022d7598", "805a",
      "9b9f605f5a858107ab1ec85e6b41c8aa582ca3511eddfb74f02f3a6598980bb9", "0",
      "41ece55743711a8c3cbf3783cd08c0ee4d4dc440d4641a8f366e550dfdb3bb67"}},
    {"test",
     "1.2.643.2.2.35.0",
     {"8000000000000000000000000000000000000000000000000000000000000431", "7",
      "5fbff498aa938ce739b8e022fbafef40563f6e6a3472fc2a514c0ce9dae23b7e",
      "8000000000000000000000000000000150fe8a1892976154c59cfc193accf5b3", "2",
      "8e2a8a0e65147d4bd6316030e16d19c85c97f0a9ca267122b96abbcea7e8fc8"}},
};

constexpr std::string_view letters = "pabqxy";

std::optional<Bytes> number(std::string_view text)
{
    std::string pairs(text.size() % 2, '0');
    const auto bytes = from_hex(pairs.append(text));
    if (!bytes || bytes->empty() || bytes->size() > 32)
        return std::nullopt;
    Bytes aligned(32 - bytes->size());
    aligned.insert(aligned.end(), bytes->begin(), bytes->end());
    return aligned;
}

GostDomain make(const std::string &name, const std::array<Bytes, 6> &numbers,
                const std::string &source)
{
    GostDomain domain;
    domain.name = name;
    switch (rds_init(&domain.ctx, numbers[0].data(), numbers[1].data(), numbers[2].data(),
                     numbers[3].data(), numbers[4].data(), numbers[5].data())) {
    case 0:
        return domain;
    case 3:
        throw std::runtime_error(quote(source) + ": p, a or b is not possible");
    case 4:
        throw std::runtime_error(quote(source) + ": (x, y) is not on the curve");
    default:
        throw std::runtime_error(quote(source) + ": q is not possible");
    }
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

} // namespace

std::vector<std::string> domain_names()
{
    std::vector<std::string> names;
    for (const Set &set : sets)
        names.emplace_back(set.name);
    return names;
}

GostDomain named_domain(const std::string &name)
{
    const Set &set = *std::find_if(std::begin(sets), std::end(sets),
                                   [&](const Set &s) { return s.name == name; });
    std::array<Bytes, 6> numbers;
    std::transform(set.numbers.begin(), set.numbers.end(), numbers.begin(),
                   [](const char *text) { return number(text).value(); });
    return make(name, numbers, name);
}

GostDomain domain_from_file(const std::string &file)
{
    std::string text;
    Bytes buffer;
    Input(file).read_all(buffer, [&](const uint8_t *data, size_t size) {
        text.append(reinterpret_cast<const char *>(data), size);
        if (text.size() > 65536)
            throw std::runtime_error(quote(file) + ": too long for domain parameters");
    });
    std::array<Bytes, 6> numbers;
    size_t line_number = 0;
    for (size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
        end = std::min(text.find('\n', begin), text.size());
        line_number++;
        std::string_view line = std::string_view(text).substr(begin, end - begin);
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty())
            continue;
        const size_t sign = line.find('=');
        const std::string_view name = trimmed(line.substr(0, sign));
        const size_t index = name.size() == 1 ? letters.find(name) : std::string_view::npos;
        const auto value = sign == std::string_view::npos || index == std::string_view::npos
                               ? std::nullopt
                               : number(trimmed(line.substr(sign + 1)));
        if (!value || !numbers.at(index).empty())
            throw std::runtime_error(quote(file) + ": line " + std::to_string(line_number) +
                                     ": not one of p, a, b, q, x and y = HEX, each once");
        numbers.at(index) = *value;
    }
    for (size_t i = 0; i < numbers.size(); i++)
        if (numbers.at(i).empty())
            throw std::runtime_error(quote(file) + ": no " + letters[i]);
    GostDomain domain = make("", numbers, file);
    const DomainFault fault = fault_of(domain.ctx, system_random);
    if (fault != DomainFault::none)
        throw std::runtime_error(quote(file) + ": " + description(fault));
    return domain;
}

std::string domain_identifier(const std::string &name)
{
    for (const Set &set : sets)
        if (set.name == name)
            return set.identifier;
    return {};
}

std::string domain_of_identifier(const std::string &identifier)
{
    for (const Set &set : sets)
        if (set.identifier == identifier)
            return set.name;
    return {};
}

} // namespace qal::tool
