// The compression's variants against a model written from the standard's definition, and the
// exported single-block operations.
#include "ru/streebog_kernels.hpp"
#include "support/sweeps.hpp"
#include "support/vectors.hpp"

#include <qal/streebog.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace qal::test;
using namespace qal::ru;

namespace {

// LPS of GOST R 34.11-2012, clause 5, one step after the other: S on bytes, P as the transposition
// of the 8x8 bytes, L as products of 64-bit rows by the matrix A.
class Model {
public:
    Model()
    {
        VectorFile file("streebog/constants.vec");
        file.each("matrix", [&](Vector &v) {
            std::istringstream text(v.text("Rows"));
            for (uint64_t row = 0; text >> std::hex >> row;)
                rows_.push_back(row);
        });
        file.each("substitution", [&](Vector &v) { pi_ = v.bytes("Pi"); });
        file.each("iteration", [&](Vector &v) {
            v.number("Number");
            constants_.push_back(v.bytes("C"));
        });
    }

    [[nodiscard]] Bytes lpsx(const Bytes &a, const Bytes &b) const
    {
        Bytes out(64);
        for (size_t word = 0; word < 8; word++) {
            uint64_t image = 0;
            for (size_t k = 0; k < 64; k++) {
                // byte k / 8 of this word is, before the transposition, byte `word` of word k / 8
                const size_t from = 8 * (k / 8) + word;
                if (pi_[a[from] ^ b[from]] >> k % 8 & 1)
                    image ^= rows_[63 - k];
            }
            std::memcpy(out.data() + 8 * word, &image, 8);
        }
        return out;
    }

    [[nodiscard]] Bytes gN(const Bytes &h, const Bytes &m, const Bytes &N) const
    {
        Bytes key = lpsx(h, N);
        Bytes state = m;
        for (const Bytes &constant : constants_) {
            state = lpsx(key, state);
            key = lpsx(key, constant);
        }
        Bytes out(64);
        for (size_t i = 0; i < 64; i++)
            out[i] = static_cast<uint8_t>(state[i] ^ key[i] ^ h[i] ^ m[i]);
        return out;
    }

private:
    std::vector<uint64_t> rows_;
    Bytes pi_;
    std::vector<Bytes> constants_;
};

QAL_STREEBOG_ROUTINES(QAL_VARIANT_TABLE);
QAL_STREEBOG_EXPORTS(QAL_VARIANT_TABLE);

// A little-endian number plus another, byte by byte.
Bytes sum(const Bytes &a, const Bytes &b)
{
    Bytes out(a.size());
    unsigned carry = 0;
    for (size_t i = 0; i < a.size(); i++) {
        carry += static_cast<unsigned>(a[i]) + b[i];
        out[i] = static_cast<uint8_t>(carry);
        carry >>= 8;
    }
    return out;
}

Bytes number_of(uint64_t v)
{
    Bytes bytes(64);
    std::memcpy(bytes.data(), &v, 8);
    return bytes;
}

template<typename Words>
Bytes bytes_of(const Words &words)
{
    Bytes bytes(sizeof words);
    std::memcpy(bytes.data(), &words, sizeof words);
    return bytes;
}

} // namespace

TEST(StreebogKernels, PublishedSteps)
{
    VectorFile file("streebog/rfc6986.vec");
    each_variant(streebog_lpsx64_variants, [&](const auto &variant) {
        Bytes out(64);
        file.each("lps", [&](Vector &v) {
            variant.run(out.data(), v.bytes("Input").data(), streebog_zero);
            EXPECT_EQ(to_hex(out), to_hex(v.bytes("Output")));
        });
        file.each("steps", [&](Vector &v) {
            variant.run(out.data(), v.bytes("K1").data(), streebog_c[0]);
            EXPECT_EQ(to_hex(out), to_hex(v.bytes("K2")));
            Bytes block = v.bytes("Message");
            block.push_back(1);
            block.resize(64);
            variant.run(out.data(), v.bytes("K1").data(), block.data());
            EXPECT_EQ(to_hex(out), to_hex(v.bytes("LPSX")));
        });
    });
}

TEST(StreebogKernels, LpsxMatchesTheModel)
{
    const Model model;
    Random random;
    each_variant(streebog_lpsx64_variants, [&](const auto &variant) {
        for (int round = 0; round < 500; round++) {
            const Bytes a = round % 2 ? random.bytes(64) : random.runs(64), b = random.runs(64);
            MarkedBytes out(64, random.below(64));
            variant.run(out.data(), a.data(), b.data());
            ASSERT_EQ(to_hex(out.contents()), to_hex(model.lpsx(a, b)));
        }
        // each byte value at each position
        for (size_t position = 0; position < 64; position++) {
            for (unsigned value = 0; value < 256; value++) {
                Bytes a(64), out(64);
                a[position] = static_cast<uint8_t>(value);
                variant.run(out.data(), a.data(), streebog_zero);
                ASSERT_EQ(out, model.lpsx(a, Bytes(64))) << position << " " << value;
            }
        }
    });
}

TEST(StreebogKernels, GNMatchesTheModel)
{
    const Model model;
    Random random;
    each_variant(streebog_gN_variants, [&](const auto &variant) {
        for (int round = 0; round < 100; round++) {
            const Bytes h = random.bytes(64), m = random.runs(64), N = random.runs(64);
            MarkedBytes state(h, random.below(64));
            variant.run(state.data(), m.data(), N.data());
            ASSERT_EQ(to_hex(state.contents()), to_hex(model.gN(h, m, N)));
        }
    });
}

TEST(StreebogKernels, OutputsMayBeInputs)
{
    const Model model;
    Random random;
    const Bytes a = random.bytes(64), b = random.bytes(64);
    each_variant(streebog_lpsx64_variants, [&](const auto &variant) {
        Bytes x = a;
        variant.run(x.data(), x.data(), b.data());
        EXPECT_EQ(x, model.lpsx(a, b));
        x = b;
        variant.run(x.data(), a.data(), x.data());
        EXPECT_EQ(x, model.lpsx(a, b));
        x = a;
        variant.run(x.data(), x.data(), x.data());
        EXPECT_EQ(x, model.lpsx(a, a));
    });
    each_variant(streebog_gN_variants, [&](const auto &variant) {
        Bytes h = a;
        variant.run(h.data(), h.data(), b.data());
        EXPECT_EQ(h, model.gN(a, a, b));
        h = a;
        variant.run(h.data(), b.data(), h.data());
        EXPECT_EQ(h, model.gN(a, b, a));
        h = a;
        variant.run(h.data(), h.data(), h.data());
        EXPECT_EQ(h, model.gN(a, a, a));
    });
}

TEST(StreebogKernels, ReadAndWriteNothingElse)
{
    const Model model;
    Random random;
    for (const auto edge : {GuardedBytes::Edge::lower, GuardedBytes::Edge::upper}) {
        GuardedBytes h(random.bytes(64), edge), m(random.bytes(64), edge),
            N(random.bytes(64), edge);
        m.make_read_only();
        N.make_read_only();
        each_variant(streebog_lpsx64_variants,
                     [&](const auto &variant) { variant.run(h.data(), m.data(), N.data()); });
        each_variant(streebog_gN_variants, [&](const auto &variant) {
            const Bytes before = h.contents();
            variant.run(h.data(), m.data(), N.data());
            EXPECT_EQ(h.contents(), model.gN(before, m.contents(), N.contents()));
        });
        for (size_t n = 0; n < 4; n++) {
            GuardedBytes data(random.bytes(64 * n), edge);
            GuardedBytes memory(sizeof(streebog_ctx), edge);
            data.make_read_only();
            each_variant(streebog_blocks_variants, [&](const auto &variant) {
                auto *ctx = streebog512_init(reinterpret_cast<streebog_ctx *>(memory.data()));
                variant.run(ctx, data.data(), n, 512);
                EXPECT_EQ(ctx->N[0], 512 * n);
            });
        }
    }
}

// Sums that carry through all eight words, and past the top.
TEST(StreebogKernels, BlocksKeepTheSums)
{
    const Model model;
    Random random;
    each_variant(streebog_blocks_variants, [&](const auto &variant) {
        for (size_t n = 0; n <= 9; n++) {
            for (const uint64_t bits : {uint64_t{0}, uint64_t{8}, uint64_t{512}, ~uint64_t{0}}) {
                Bytes h = random.bytes(64), N = random.runs(64), sigma = random.runs(64);
                if (n % 3 == 0)
                    N.assign(64, 0xff);
                if (n % 3 == 1)
                    sigma.assign(64, 0xff);
                Bytes data = random.runs(64 * n);
                if (n > 0 && n % 2)
                    std::fill_n(data.begin(), 64, uint8_t{0xff});

                MarkedBytes memory(sizeof(streebog_ctx), 8 * (n % 8));
                auto *ctx = reinterpret_cast<streebog_ctx *>(memory.data());
                std::memcpy(ctx->h, h.data(), 64);
                std::memcpy(ctx->N, N.data(), 64);
                std::memcpy(ctx->sigma, sigma.data(), 64);
                std::memset(ctx->buffer, 0x5c, 64);
                ctx->npending = 17;
                const MarkedBytes copy(data, n);
                variant.run(ctx, const_cast<MarkedBytes &>(copy).data(), n, bits);

                for (size_t i = 0; i < n; i++) {
                    const Bytes block(data.begin() + static_cast<ptrdiff_t>(64 * i),
                                      data.begin() + static_cast<ptrdiff_t>(64 * i + 64));
                    h = model.gN(h, block, N);
                    N = sum(N, number_of(bits));
                    sigma = sum(sigma, block);
                }
                ASSERT_EQ(bytes_of(ctx->h), h);
                ASSERT_EQ(bytes_of(ctx->N), N);
                ASSERT_EQ(bytes_of(ctx->sigma), sigma);
                ASSERT_EQ(bytes_of(ctx->buffer), Bytes(64, 0x5c));
                ASSERT_EQ(ctx->npending, 17U);
            }
        }
    });
}

TEST(StreebogKernels, BlocksAtEveryAlignment)
{
    Random random;
    const Bytes data = random.bytes(5 * 64);
    streebog_ctx expected;
    streebog512_init(&expected);
    streebog_blocks_portable(&expected, data.data(), 5, 512);
    each_variant(streebog_blocks_variants, [&](const auto &variant) {
        at_every_alignment([&](size_t offset) {
            MarkedBytes copy(data, offset);
            streebog_ctx ctx;
            variant.run(streebog512_init(&ctx), copy.data(), 5, 512);
            EXPECT_EQ(bytes_of(ctx.h), bytes_of(expected.h));
            EXPECT_EQ(bytes_of(ctx.sigma), bytes_of(expected.sigma));
        });
    });
}

TEST(StreebogSums, CarryAsFarAsTheyMust)
{
    Random random;
    for (int round = 0; round < 10000; round++) {
        const Bytes a = random.runs(64), b = random.runs(64);
        MarkedBytes memory(a, 8 * random.below(8));
        streebog_add512(reinterpret_cast<uint64_t *>(memory.data()), b.data());
        ASSERT_EQ(memory.contents(), sum(a, b));

        MarkedBytes number(a, 8 * random.below(8));
        uint64_t v = 0;
        std::memcpy(&v, b.data(), 8);
        streebog_add(reinterpret_cast<uint64_t *>(number.data()), v);
        ASSERT_EQ(number.contents(), sum(a, number_of(v)));
    }
    uint64_t words[8];
    std::fill(std::begin(words), std::end(words), ~uint64_t{0});
    streebog_add(words, 1);
    EXPECT_EQ(bytes_of(words), Bytes(64));
    std::fill(std::begin(words), std::end(words), ~uint64_t{0});
    streebog_add512(words, reinterpret_cast<const uint8_t *>(words));
    EXPECT_EQ(words[0], ~uint64_t{0} - 1);
    EXPECT_EQ(words[7], ~uint64_t{0});
}

TEST(StreebogPutBlock, WritesLittleEndian)
{
    const uint64_t words[8] = {0x0706050403020100, 0x0f0e0d0c0b0a0908, 2, 3, 4, 5, 6,
                               0xff00000000000000};
    MarkedBytes out(64, 3);
    streebog_put_block(out.data(), words);
    for (size_t i = 0; i < 16; i++)
        EXPECT_EQ(out.data()[i], i);
    EXPECT_EQ(out.data()[63], 0xff);
    Bytes same = bytes_of(words);
    streebog_put_block(same.data(), reinterpret_cast<const uint64_t *>(same.data()));
    EXPECT_EQ(same, out.contents());
}
