// Kuznyechik written from the standard: R step by step in the field, nothing shared with the
// library but the published substitution.
#pragma once

#include "support/vectors.hpp"

#include <algorithm>
#include <array>

namespace qal::test {

class KuznyechikModel {
public:
    KuznyechikModel()
    {
        VectorFile file("streebog/constants.vec"); // both standards have the same substitution
        file.each("substitution", [&](Vector &v) { pi_ = v.bytes("Pi"); });
        inverse_.resize(256);
        for (size_t x = 0; x < 256; x++)
            inverse_[pi_[x]] = static_cast<uint8_t>(x);
    }

    static uint8_t product(unsigned a, unsigned b)
    {
        unsigned p = 0;
        for (int k = 7; k >= 0; k--) {
            p <<= 1;
            if (p & 0x100)
                p ^= 0x1c3; // x^8 + x^7 + x^6 + x + 1
            if (b >> k & 1)
                p ^= a;
        }
        return static_cast<uint8_t>(p);
    }

    static Bytes R(const Bytes &a)
    {
        static constexpr std::array<unsigned, 16> coefficients = {
            148, 32, 133, 16, 194, 192, 1, 251, 1, 192, 194, 16, 133, 32, 148, 1};
        unsigned sum = 0;
        for (size_t i = 0; i < 16; i++)
            sum ^= product(a[i], coefficients[i]);
        Bytes out = a;
        out.pop_back();
        out.insert(out.begin(), static_cast<uint8_t>(sum));
        return out;
    }

    static Bytes L(Bytes a)
    {
        for (int i = 0; i < 16; i++)
            a = R(a);
        return a;
    }

    // R is invertible and of finite order, but its inverse is easier: undo the shift, solve for the
    // byte that went out, whose coefficient is 1.
    static Bytes L_inverse(Bytes a)
    {
        for (int i = 0; i < 16; i++) {
            Bytes before(a.begin() + 1, a.end());
            before.push_back(0);
            before[15] = R(before)[0] ^ a[0];
            a = before;
        }
        return a;
    }

    [[nodiscard]] Bytes S(Bytes a) const
    {
        for (uint8_t &byte : a)
            byte = pi_[byte];
        return a;
    }

    static Bytes X(Bytes a, const Bytes &key)
    {
        for (size_t i = 0; i < 16; i++)
            a[i] ^= key[i];
        return a;
    }

    static Bytes constant(unsigned i)
    {
        Bytes block(16);
        block[15] = static_cast<uint8_t>(i);
        return L(block);
    }

    [[nodiscard]] std::vector<Bytes> schedule(const Bytes &key) const
    {
        Bytes a1(key.begin(), key.begin() + 16), a0(key.begin() + 16, key.end());
        std::vector<Bytes> keys = {a1, a0};
        for (unsigned i = 1; i <= 32; i++) {
            Bytes next = X(L(S(X(a1, constant(i)))), a0);
            a0 = a1;
            a1 = next;
            if (i % 8 == 0) {
                keys.push_back(a1);
                keys.push_back(a0);
            }
        }
        return keys;
    }

    [[nodiscard]] Bytes encrypt(const std::vector<Bytes> &keys, Bytes a) const
    {
        for (size_t i = 0; i < 9; i++)
            a = L(S(X(a, keys[i])));
        return X(a, keys[9]);
    }

    [[nodiscard]] Bytes decrypt(const std::vector<Bytes> &keys, Bytes a) const
    {
        a = X(a, keys[9]);
        for (size_t i = 9; i-- > 0;) {
            a = L_inverse(a);
            for (uint8_t &byte : a)
                byte = inverse_[byte];
            a = X(a, keys[i]);
        }
        return a;
    }

    // From a counter of 16 bytes, most significant first, that wraps.
    [[nodiscard]] Bytes stream(const std::vector<Bytes> &keys, Bytes counter, size_t blocks) const
    {
        Bytes out;
        for (size_t n = 0; n < blocks; n++) {
            const Bytes gamma = encrypt(keys, counter);
            out.insert(out.end(), gamma.begin(), gamma.end());
            for (size_t i = 16; i-- > 0 && ++counter[i] == 0;) {
            }
        }
        return out;
    }

    static Bytes joined(const std::vector<Bytes> &keys)
    {
        Bytes all;
        for (const Bytes &key : keys)
            all.insert(all.end(), key.begin(), key.end());
        return all;
    }

private:
    Bytes pi_, inverse_;
};

} // namespace qal::test
