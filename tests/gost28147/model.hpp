// GOST 28147-89 written from the standard: substitutions of four bits, a rotation, no tables.
#pragma once

#include "support/vectors.hpp"

#include <qal/g28147.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <utility>

namespace qal::test {

// Rows K1 to K8 of the published sets, by name.
using Rows = std::array<std::array<uint8_t, 16>, 8>;

inline const std::map<std::string, Rows> &published_sboxes()
{
    static const std::map<std::string, Rows> sets = [] {
        std::map<std::string, Rows> all;
        VectorFile("gost28147/gost28147.vec").each("sbox", [&](Vector &v) {
            Rows &rows = all[v.text("Name")];
            for (size_t k = 0; k < 8; k++) {
                const Bytes pairs = v.bytes(std::string("K").append(std::to_string(k + 1)));
                for (size_t x = 0; x < 16; x++)
                    rows[k][x] = x % 2 ? pairs[x / 2] & 15 : pairs[x / 2] >> 4;
            }
        });
        return all;
    }();
    return sets;
}

// The library's form of an S-box: 16 rows, the image by K8 first.
inline Bytes sbox_bytes(const Rows &rows)
{
    Bytes bytes(128);
    for (size_t x = 0; x < 16; x++)
        for (size_t k = 0; k < 8; k++)
            bytes[8 * x + k] = rows[7 - k][x];
    return bytes;
}

using Table = std::vector<uint32_t>;

inline Table expanded(const Rows &rows)
{
    Table table(1024);
    EXPECT_EQ(g28147_make_kext(table.data(), sbox_bytes(rows).data()), table.data());
    return table;
}

inline uint32_t word_at(const Bytes &bytes, size_t at)
{
    return static_cast<uint32_t>(bytes[at]) | static_cast<uint32_t>(bytes[at + 1]) << 8 |
           static_cast<uint32_t>(bytes[at + 2]) << 16 | static_cast<uint32_t>(bytes[at + 3]) << 24;
}

inline Bytes bytes_of_words(uint32_t a, uint32_t b)
{
    Bytes out;
    for (const uint32_t word : {a, b})
        for (int shift = 0; shift < 32; shift += 8)
            out.push_back(static_cast<uint8_t>(word >> shift));
    return out;
}

class GostModel {
public:
    using Block = std::pair<uint32_t, uint32_t>;
    using F = std::function<uint32_t(uint32_t)>;

    GostModel(F f, const Bytes &key) : f_(std::move(f)), key_(key) {}

    static F standard(const Rows &rows)
    {
        return [rows](uint32_t x) {
            uint32_t y = 0;
            for (unsigned k = 0; k < 8; k++)
                y |= static_cast<uint32_t>(rows[k][x >> 4 * k & 15]) << 4 * k;
            return y << 11 | y >> 21;
        };
    }

    // For tables that are of no S-box.
    static F table(const Table &t)
    {
        return [t](uint32_t x) {
            return t[x >> 24] ^ t[256 + (x >> 16) % 256] ^ t[512 + (x >> 8) % 256] ^
                   t[768 + x % 256];
        };
    }

    [[nodiscard]] uint32_t key(size_t i) const { return word_at(key_, 4 * i); }

    [[nodiscard]] Block cycle32(Block block, bool encrypt = true) const
    {
        for (size_t i = 0; i < 32; i++) {
            const bool backward = encrypt ? i >= 24 : i >= 8;
            const uint32_t k = key(backward ? 7 - i % 8 : i % 8);
            const uint32_t t = f_(block.first + k) ^ block.second;
            block = i < 31 ? Block{t, block.first} : Block{block.first, t};
        }
        return block;
    }

    [[nodiscard]] Block cycle16(Block block) const
    {
        for (size_t i = 0; i < 16; i++)
            block = {f_(block.first + key(i % 8)) ^ block.second, block.first};
        return block;
    }

    [[nodiscard]] Bytes ecb(const Bytes &in, bool encrypt) const
    {
        Bytes out;
        for (size_t i = 0; i < in.size(); i += 8) {
            const auto [a, b] = cycle32({word_at(in, i), word_at(in, i + 4)}, encrypt);
            const Bytes block = bytes_of_words(a, b);
            out.insert(out.end(), block.begin(), block.end());
        }
        return out;
    }

    // From the counters before the first increment.
    [[nodiscard]] Bytes gamma_from(uint32_t n3, uint32_t n4, size_t size) const
    {
        Bytes out;
        while (out.size() < size) {
            n3 += 0x01010101;
            const uint64_t sum = uint64_t{n4} + 0x01010104;
            n4 = static_cast<uint32_t>(sum > 0xffffffff ? sum - 0xffffffff : sum);
            const auto [a, b] = cycle32({n3, n4});
            const Bytes block = bytes_of_words(a, b);
            out.insert(out.end(), block.begin(), block.end());
        }
        out.resize(size);
        return out;
    }

    [[nodiscard]] Bytes gamma(const Bytes &iv, size_t size) const
    {
        const auto [n3, n4] = cycle32({word_at(iv, 0), word_at(iv, 4)});
        return gamma_from(n3, n4, size);
    }

    [[nodiscard]] Bytes cfb(const Bytes &iv, const Bytes &in, bool encrypt) const
    {
        Bytes out;
        Block r{word_at(iv, 0), word_at(iv, 4)};
        for (size_t i = 0; i < in.size(); i += 8) {
            const auto [a, b] = cycle32(r);
            const Bytes g = bytes_of_words(a, b);
            Bytes feedback(8);
            for (size_t j = 0; j < 8 && i + j < in.size(); j++) {
                out.push_back(in[i + j] ^ g[j]);
                feedback[j] = encrypt ? out.back() : in[i + j];
            }
            r = {word_at(feedback, 0), word_at(feedback, 4)};
        }
        return out;
    }

    // Of a message that is longer than one block.
    [[nodiscard]] Bytes mac(Bytes message) const
    {
        message.resize((message.size() + 7) / 8 * 8);
        Block n{0, 0};
        for (size_t i = 0; i < message.size(); i += 8)
            n = cycle16({n.first ^ word_at(message, i), n.second ^ word_at(message, i + 4)});
        Bytes bytes = bytes_of_words(n.first, 0);
        bytes.resize(4);
        return bytes;
    }

private:
    F f_;
    Bytes key_;
};

inline Bytes sum_of(Bytes a, const Bytes &b)
{
    for (size_t i = 0; i < a.size(); i++)
        a[i] ^= b[i];
    return a;
}

inline Bytes first_of(const Bytes &bytes, size_t size)
{
    return {bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size)};
}

} // namespace qal::test
