#include <qal/vko341001.h>

#include <qal/g28147.h>
#include <qal/gr341194.h>

#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "qalec/scalars256.hpp"

using namespace qal::ec;

namespace {

// The significant bytes of a coordinate at the start of 32. How many there are is secret: zero
// bytes at the top leave in steps of 16, 8, 4, 2 and 1.
void store_left_aligned(uint8_t *out, const uint64_t *coordinate)
{
    using qal::math::uint128;
    uint128 high = uint128{coordinate[3]} << 64 | coordinate[2];
    uint128 low = uint128{coordinate[1]} << 64 | coordinate[0];
    for (unsigned bits = 128; bits >= 8; bits /= 2) {
        const uint128 top = high >> (128 - bits);
        const uint64_t any = static_cast<uint64_t>(top) | static_cast<uint64_t>(top >> 64);
        uint64_t zero = ((any | (0 - any)) >> 63) - 1;
        __asm__("" : "+r"(zero)); // keeps the mask from becoming a branch
        const uint128 mask = uint128{zero} << 64 | zero;
        // Shifts of all 128 bits, in two.
        const uint128 moved_high = high << (bits / 2) << (bits / 2) | low >> (128 - bits);
        const uint128 moved_low = low << (bits / 2) << (bits / 2);
        high ^= (high ^ moved_high) & mask;
        low ^= (low ^ moved_low) & mask;
    }
    const uint64_t digits[digits256] = {
        static_cast<uint64_t>(low), static_cast<uint64_t>(low >> 64), static_cast<uint64_t>(high),
        static_cast<uint64_t>(high >> 64)};
    store_digits(out, digits);
}

[[gnu::noinline]] int gen_pubkey(const rds_ctx *ctx, const uint8_t *privkey, uint8_t *pubkey)
{
    const Scalar d = load_scalar(privkey);
    // Public: the return code reveals it.
    if (!qal::base::declassified(is_in_range(d, scalar_of(ctx->q))))
        return RDS_BAD_PRIVATE_KEY;
    const Curve256 curve = curve_of(ctx);
    uint64_t G[2 * digits256], Q[2 * digits256];
    base_point(G, ctx);
    curve256_multiply(&curve, G, d.d, Q);
    store_digits(pubkey, Q);
    store_digits(pubkey + bytes256, Q + digits256);
    return RDS_OK;
}

[[gnu::noinline]] int gen_kek(const rds_ctx *ctx, uint8_t *kek, const uint8_t *privkey,
                              const uint8_t *peer_pubkey, const uint8_t *ukm)
{
    const Curve256 curve = curve_of(ctx);
    const Scalar p = scalar_of(ctx->curve.field.p), q = scalar_of(ctx->q), zero = {};
    uint64_t P[2 * digits256];
    if (!load_point(P, curve, peer_pubkey))
        return RDS_BAD_PUBLIC_KEY;
    const Scalar d = load_scalar(privkey), u = {{qal::base::load_be64(ukm), 0, 0, 0}};
    // The bound is p, not q: the interface takes such keys, and their multiples are the same as of
    // keys below q. Public: the return code reveals it.
    if (!qal::base::declassified(is_in_range(d, p)))
        return RDS_BAD_PRIVATE_KEY;
    if (!is_in_range(u, q))
        return RDS_BAD_KEYING_MATERIAL;

    const Scalar t = sum_of_products(q, d, u, zero, zero);
    uint64_t K[2 * digits256];
    curve256_multiply(&curve, P, t.d, K);
    uint8_t coordinates[2 * bytes256];
    store_left_aligned(coordinates, K);
    store_left_aligned(coordinates + bytes256, K + digits256);
    gr341194_md_ctx hash;
    gr341194_md_init_ext(&hash, CryptoPro_iv, CryptoPro_uz);
    gr341194_md_update(&hash, coordinates, sizeof coordinates);
    gr341194_md_final(&hash, kek);
    return RDS_OK;
}

} // namespace

int vko341001_init(rds_ctx *ctx, const uint8_t *p, const uint8_t *a, const uint8_t *b,
                   const uint8_t *q, const uint8_t *x, const uint8_t *y)
{
    return rds_init(ctx, p, a, b, q, x, y);
}

int vko341001_gen_pubkey(const rds_ctx *ctx, const uint8_t *privkey, uint8_t *pubkey)
{
    if (ctx == nullptr || privkey == nullptr || pubkey == nullptr)
        return RDS_NULL_POINTER;
    const int code = gen_pubkey(ctx, privkey, pubkey);
    qal::base::wipe_stack<stack256>();
    return code;
}

int vko341001_gen_kek(const rds_ctx *ctx, uint8_t *kek, const uint8_t *privkey,
                      const uint8_t *peer_pubkey, const uint8_t *ukm)
{
    if (privkey == nullptr || peer_pubkey == nullptr || ukm == nullptr || kek == nullptr)
        return RDS_NULL_POINTER;
    const int code = gen_kek(ctx, kek, privkey, peer_pubkey, ukm);
    qal::base::wipe_stack<stack256>();
    return code;
}
