/* Sizes and offsets of the public records: programs are compiled against these. */
#include <qal/qal.h>

#include <assert.h>
#include <stddef.h>

#define AT(record, field, offset)                                                                  \
    static_assert(offsetof(record, field) == (offset), #record "." #field)

static_assert(sizeof(g28147_ecb_ctx) == 144, "g28147_ecb_ctx");
AT(g28147_ecb_ctx, n1, 0);
AT(g28147_ecb_ctx, n2, 4);
AT(g28147_ecb_ctx, rk, 8);
AT(g28147_ecb_ctx, kext, 136);

static_assert(sizeof(g28147_hmac_ctx) == 160, "g28147_hmac_ctx");
AT(g28147_hmac_ctx, n1, 0);
AT(g28147_hmac_ctx, n2, 4);
AT(g28147_hmac_ctx, rk, 8);
AT(g28147_hmac_ctx, kext, 136);
AT(g28147_hmac_ctx, pending, 144);
AT(g28147_hmac_ctx, npending, 152);
AT(g28147_hmac_ctx, processed, 156);

static_assert(sizeof(g28147_ofb_ctx) == 160, "g28147_ofb_ctx");
AT(g28147_ofb_ctx, n3, 0);
AT(g28147_ofb_ctx, n4, 4);
AT(g28147_ofb_ctx, rk, 8);
AT(g28147_ofb_ctx, kext, 136);
AT(g28147_ofb_ctx, gamma, 144);
AT(g28147_ofb_ctx, pos, 152);

static_assert(sizeof(g28147_cfb_ctx) == 152, "g28147_cfb_ctx");
AT(g28147_cfb_ctx, r1, 0);
AT(g28147_cfb_ctx, r2, 4);
AT(g28147_cfb_ctx, rk, 8);
AT(g28147_cfb_ctx, kext, 136);
AT(g28147_cfb_ctx, direction, 144);

static_assert(sizeof(gr341194_md_ctx) == 144, "gr341194_md_ctx");
AT(gr341194_md_ctx, buffer, 0);
AT(gr341194_md_ctx, npending, 32);
AT(gr341194_md_ctx, H, 36);
AT(gr341194_md_ctx, L, 68);
AT(gr341194_md_ctx, sigma, 100);
AT(gr341194_md_ctx, kext, 136);
static_assert(sizeof CryptoPro_uz == 4096 && sizeof CryptoPro_iv == 32, "CryptoPro");
static_assert(sizeof OrderEnc == 32 && sizeof OrderDecr == 32, "OrderEnc");

static_assert(sizeof(kuzn_ecb_ctx) == 164, "kuzn_ecb_ctx");
AT(kuzn_ecb_ctx, rk, 0);
AT(kuzn_ecb_ctx, direction, 160);

static_assert(sizeof(kuzn_ctr_ctx) == 196, "kuzn_ctr_ctx");
AT(kuzn_ctr_ctx, rk, 0);
AT(kuzn_ctr_ctx, counter, 160);
AT(kuzn_ctr_ctx, gamma, 176);
AT(kuzn_ctr_ctx, pos, 192);
static_assert(sizeof kuz_pi == 256 && sizeof kuz_pi_inv == 256, "kuz_pi");
static_assert(sizeof tab_0x94 == 256 && sizeof tab_0xFB == 256, "tab_0x94");

static_assert(sizeof(qalecpoint) == 216, "qalecpoint");
AT(qalecpoint, X, 0);
AT(qalecpoint, Y, 72);
AT(qalecpoint, Z, 144);

static_assert(sizeof(qaleccurve) == 392, "qaleccurve");
AT(qaleccurve, a, 0);
AT(qaleccurve, b, 72);
AT(qaleccurve, field, 144);
AT(qaleccurve, dbl, 384);

static_assert(sizeof(qalfe) == 72, "qalfe");
static_assert(sizeof(qalpff) == 240, "qalpff");
AT(qalpff, p, 0);
AT(qalpff, one, 72);
AT(qalpff, k, 144);
AT(qalpff, l, 152);
AT(qalpff, in, 160);
AT(qalpff, out, 168);
AT(qalpff, setzero, 176);
AT(qalpff, setone, 184);
AT(qalpff, add, 192);
AT(qalpff, sub, 200);
AT(qalpff, mul, 208);
AT(qalpff, sqr, 216);
AT(qalpff, div2, 224);
AT(qalpff, inv, 232);

static_assert(sizeof(qald) == 8 && QALBIG_SIZE == 131, "qald");
static_assert(sizeof QALBIG_ZERO == 8 && sizeof QALBIG_ONE == 16, "QALBIG_ZERO");
static_assert(sizeof QALBIG_TWO == 16 && sizeof QALBIG_THREE == 16, "QALBIG_TWO");

static_assert(sizeof(rsa_keygen_rp) == 272, "rsa_keygen_rp");
AT(rsa_keygen_rp, n, 0);
AT(rsa_keygen_rp, pool, 8);
AT(rsa_keygen_rp, pos, 264);

static_assert(sizeof(qalsi) == 528, "qalsi");
AT(qalsi, mag, 0);
AT(qalsi, sign, 520);

static_assert(sizeof(rsa_keygen_ctx) == 688, "rsa_keygen_ctx");
AT(rsa_keygen_ctx, p, 0);
AT(rsa_keygen_ctx, q, 136);
AT(rsa_keygen_ctx, dP, 272);
AT(rsa_keygen_ctx, dQ, 408);
AT(rsa_keygen_ctx, qInv, 544);
AT(rsa_keygen_ctx, bits, 680);
static_assert(sizeof rsa_gen_rnd == 8, "rsa_gen_rnd");
static_assert(sizeof(rds_ctx) == 4152, "rds_ctx");
AT(rds_ctx, curve, 0);
AT(rds_ctx, q, 392);
AT(rds_ctx, G, 464);
AT(rds_ctx, pubkey_len, 680);
AT(rds_ctx, privkey_len, 684);
AT(rds_ctx, sig_len, 688);
AT(rds_ctx, w, 692);
AT(rds_ctx, table, 696);

static_assert(sizeof(streebog_ctx) == 264, "streebog_ctx");
AT(streebog_ctx, N, 0);
AT(streebog_ctx, h, 64);
AT(streebog_ctx, sigma, 128);
AT(streebog_ctx, buffer, 192);
AT(streebog_ctx, npending, 256);
static_assert(sizeof streebog_lp64 == 16384, "streebog_lp64");
static_assert(sizeof streebog_c == 768, "streebog_c");

static_assert(sizeof(qal2d) == 4 && sizeof(qal2p) == 60 && QAL2P_SIZE == 15, "qal2p");
static_assert(sizeof(qale2curve) == 104, "qale2curve");
AT(qale2curve, mod_m, 0);
AT(qale2curve, mod_a, 4);
AT(qale2curve, mod_b, 8);
AT(qale2curve, mod_c, 12);
AT(qale2curve, a, 16);
AT(qale2curve, b, 20);
AT(qale2curve, mul, 80);
AT(qale2curve, sqr, 88);
AT(qale2curve, reduce, 96);

static_assert(sizeof(qale2point) == 180, "qale2point");
AT(qale2point, Y, 60);
AT(qale2point, Z, 120);
static_assert(sizeof(qale2affine) == 120, "qale2affine");
AT(qale2affine, y, 60);

static_assert(sizeof(qale2kpic_ctx) == 224, "qale2kpic_ctx");
AT(qale2kpic_ctx, curve, 0);
AT(qale2kpic_ctx, k, 8);
AT(qale2kpic_ctx, Q, 16);
AT(qale2kpic_ctx, powers, 200);
AT(qale2kpic_ctx, ws, 208);
AT(qale2kpic_ctx, bits, 216);

static_assert(sizeof(dstu_ctx) == 5200, "dstu_ctx");
AT(dstu_ctx, curve, 0);
AT(dstu_ctx, G, 104);
AT(dstu_ctx, n, 288);
AT(dstu_ctx, cofactor, 1336);
AT(dstu_ctx, field_len, 1344);
AT(dstu_ctx, key_len, 1348);
AT(dstu_ctx, sig_len, 1352);
AT(dstu_ctx, ws, 1356);
AT(dstu_ctx, powers, 1360);

static_assert(sizeof(dstu_slot) == 1272, "dstu_slot");
AT(dstu_slot, e, 0);
AT(dstu_slot, kp, 1048);
static_assert(sizeof(dstu_bspool) == 6384, "dstu_bspool");
AT(dstu_bspool, ctx, 0);
AT(dstu_bspool, rnd, 8);
AT(dstu_bspool, ready, 16);
AT(dstu_bspool, started, 20);
AT(dstu_bspool, slot, 24);
