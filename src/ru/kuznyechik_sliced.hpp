// Counter mode on many blocks at a time, for any width of vector registers.
//
// Register i holds byte i of every block. The shift of an R step is then a renaming of registers:
// in step t the standard's byte i is in register (i - t) mod 16, and the new byte takes the place
// of the one that is dropped. After sixteen steps every byte is back in its own register. Nothing
// in a run depends on key or data but the values in the registers.
//
// A Vector type brings the operations that differ between instruction sets:
//     Type, size (bytes, so blocks), load, store, splat (a byte, given four times over), add (XOR),
//     positions (0, 1, ... as next_counters below wants them), less (all ones where a < b,
//     unsigned), plus (bytes modulo 256), unpack_low, unpack_high (interleave bytes within 128
//     bits), both (AND), substitute, and combine(b), the sum of R over the bytes b(0) to b(15).
//     b(0) comes from the step before: what is done to it bounds the latency, the rest can be
//     early.
// Everything here has internal linkage: each file that includes it is compiled with its own flags.
#pragma once

#include "base/bytes.hpp"
#include "base/uint128.hpp"
#include "base/wipe.hpp"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace qal::ru {

namespace {

using qal::base::uint128;

constexpr size_t kuznyechik_block = 16;

uint128 load_counter(const uint32_t *words)
{
    return uint128{words[3]} << 96 | uint128{words[2]} << 64 | uint128{words[1]} << 32 | words[0];
}

void store_counter(uint32_t *words, uint128 counter)
{
    for (int i = 0; i < 4; i++)
        words[i] = static_cast<uint32_t>(counter >> (32 * i));
}

void store_block(uint8_t *block, uint128 counter)
{
    qal::base::store_be64(block, static_cast<uint64_t>(counter >> 64));
    qal::base::store_be64(block + 8, static_cast<uint64_t>(counter));
}

template<typename Vector>
class Sliced {
    using Type = typename Vector::Type;

public:
    static constexpr size_t blocks = Vector::size;
    static constexpr size_t size = blocks * kuznyechik_block;

    [[gnu::always_inline]] explicit Sliced(const uint8_t *rk)
    {
        for (size_t i = 0; i < sizeof keys_ / sizeof *keys_; i++)
            keys_[i] = rk[i] * 0x01010101U;
    }
    Sliced(const Sliced &) = delete;
    Sliced &operator=(const Sliced &) = delete;

    // out = in ^ key stream for the blocks from the counter on.
    [[gnu::always_inline]] void run(uint128 counter, const uint8_t *in, uint8_t *out) const
    {
        Type a[16];
        next_counters(a, counter);
#pragma GCC unroll 1
        for (const uint32_t *key = keys_ + 16; key != keys_ + 160; key += 16) {
            substitute<0>(a);
            step<0>(a);
            add_key<0>(a, key);
        }
        transpose(a);
        transpose(a);
        transpose(a);
        transpose(a);
        write<0>(a, in, out);
    }

private:
    // The numbers counter + 0, 1, ..., with K1 added. A transposed register holds, in its 128-bit
    // lanes, blocks that are to be consecutive in memory: with n lanes, block n * p + q is at
    // position p of lane q.
    [[gnu::always_inline]] void next_counters(Type (&a)[16], uint128 counter) const
    {
        uint8_t before[16], after[16];
        store_block(before, counter);
        store_block(after, counter + 256);
        const Type lowest = Vector::splat(before[15] * 0x01010101U);
        const Type sum = Vector::plus(lowest, Vector::positions());
        const Type carried = Vector::less(sum, lowest);
        higher_bytes<0>(a, carried, before, after);
        a[15] = Vector::add(sum, Vector::splat(keys_[15]));
    }

    template<int i>
    [[gnu::always_inline]] void higher_bytes(Type (&a)[16], Type carried, const uint8_t *before,
                                             const uint8_t *after) const
    {
        if constexpr (i < 15) {
            const Type change =
                Vector::splat(static_cast<uint32_t>(before[i] ^ after[i]) * 0x01010101U);
            a[i] = Vector::add(Vector::splat((before[i] * 0x01010101U) ^ keys_[i]),
                               Vector::both(change, carried));
            higher_bytes<i + 1>(a, carried, before, after);
        }
    }

    template<int i>
    [[gnu::always_inline]] void substitute(Type (&a)[16]) const
    {
        if constexpr (i < 16) {
            a[i] = Vector::substitute(a[i]);
            substitute<i + 1>(a);
        }
    }

    template<int i>
    [[gnu::always_inline]] static void add_key(Type (&a)[16], const uint32_t *key)
    {
        if constexpr (i < 16) {
            a[i] = Vector::add(a[i], Vector::splat(key[i]));
            add_key<i + 1>(a, key);
        }
    }

    // Steps t to 15 of R.
    template<int t>
    [[gnu::always_inline]] static void step(Type (&a)[16])
    {
        if constexpr (t < 16) {
            a[15 - t] = Vector::combine([&a](int i) { return a[(i - t) & 15]; });
            step<t + 1>(a);
        }
    }

    // One of four rounds. With r the number of a register and p a position within 128 bits, it
    // rotates the eight bits of (r, p) by one; after four rounds r and p have changed places.
    [[gnu::always_inline]] static void transpose(Type (&a)[16])
    {
        Type b[16];
        transpose_pair<0>(a, b);
        copy<0>(a, b);
    }

    template<int i>
    [[gnu::always_inline]] static void transpose_pair(const Type (&a)[16], Type (&b)[16])
    {
        if constexpr (i < 8) {
            b[2 * i] = Vector::unpack_low(a[i], a[i + 8]);
            b[2 * i + 1] = Vector::unpack_high(a[i], a[i + 8]);
            transpose_pair<i + 1>(a, b);
        }
    }

    template<int i>
    [[gnu::always_inline]] static void copy(Type (&a)[16], const Type (&b)[16])
    {
        if constexpr (i < 16) {
            a[i] = b[i];
            copy<i + 1>(a, b);
        }
    }

    template<size_t i>
    [[gnu::always_inline]] static void write(const Type (&a)[16], const uint8_t *in, uint8_t *out)
    {
        if constexpr (i < 16) {
            constexpr size_t offset = i * Vector::size;
            Vector::store(out + offset, Vector::add(a[i], Vector::load(in + offset)));
            write<i + 1>(a, in, out);
        }
    }

    uint32_t keys_[160];
};

using Encrypt = void (*)(uint8_t *blocks, const uint8_t *rk);

// All of a call: whole runs, then a last run through a buffer when there are at least `enough`
// blocks left, else `group` blocks at a time by encrypt_group(blocks, rk) where a variant has that,
// and single ones by encrypt(block, rk).
template<typename Vector, size_t enough, size_t group = 1>
[[gnu::always_inline]] inline void
sliced_ctr_blocks(const uint8_t *rk, uint32_t *words, const uint8_t *in, uint8_t *out,
                  size_t blocks, Encrypt encrypt, Encrypt encrypt_group = nullptr)
{
    using Slices = Sliced<Vector>;
    uint128 counter = load_counter(words);
    if (blocks >= enough) {
        constexpr size_t depth = sizeof(Slices) + Slices::size + 2048;
        qal::base::run_on_wiped_stack<depth>([&] {
            const Slices slices(rk);
            for (; blocks >= Slices::blocks; blocks -= Slices::blocks) {
                slices.run(counter, in, out);
                counter += Slices::blocks;
                in += Slices::size;
                out += Slices::size;
            }
            if (blocks >= enough) {
                alignas(64) uint8_t buffer[Slices::size];
                const size_t size = blocks * kuznyechik_block;
                memcpy(buffer, in, size);
                memset(buffer + size, 0, Slices::size - size);
                slices.run(counter, buffer, buffer);
                memcpy(out, buffer, size);
                counter += blocks;
                blocks = 0;
            }
        });
    }
    uint8_t gamma[group * kuznyechik_block];
    while (blocks > 0) {
        const size_t now = blocks < group ? blocks : group, size = now * kuznyechik_block;
        for (size_t i = 0; i < group; i++)
            store_block(gamma + i * kuznyechik_block, counter + i);
        if (group > 1 && now > 1)
            encrypt_group(gamma, rk);
        else
            encrypt(gamma, rk);
        qal::base::xor_bytes(out, in, gamma, size);
        counter += now;
        in += size;
        out += size;
        blocks -= now;
    }
    qal::base::wipe(gamma, sizeof gamma);
    store_counter(words, counter);
}

} // namespace

} // namespace qal::ru
