/**
 * @file
 * All of qal.
 *
 * Resources: operations take no memory from the heap or the system, and hold nothing after they
 * have returned. None uses more than 57344 bytes (56 KiB) of stack. A thread whose stack has room
 * for the operations that it calls and for sysconf(_SC_THREAD_STACK_MIN) bytes more can call them;
 * what a random generator that it hands over uses comes on top. By operation, at most so many bytes
 * of stack, whatever the arguments and the processor:
 *
 * - 256: dstu_bspool_init, dummy_gen_rnd, g28147_16Steps, g28147_32Steps,
 *   g28147_cfb_enc_update_blocks, g28147_cfb_init_ext, g28147_ecb_init_ext, g28147_hmac_final,
 *   g28147_hmac_final_verify, g28147_hmac_init_ext, g28147_hmac_update, g28147_hmac_updblocks,
 *   g28147_make_kext, g28147_ofb_init_ext, gr341194_md_a, gr341194_md_add256, gr341194_md_add32,
 *   gr341194_md_init_ext, gr341194_md_mem_xor, gr341194_md_mix, gr341194_md_p, gr341194_md_psi,
 *   load_rsa_key_prm, psqr192x192, psqr288x288, psqr448x448, qal2add, qal2p_deg, qal2p_is_equal,
 *   qal2p_is_one, qal2p_is_zero, qal2pclear, qal2pcopy, qal2pfromb, qal2pfrombig, qal2pfrombits,
 *   qal2pgbit, qal2pinc, qal2psbit, qal2ptob, qal2ptobig, qaladd, qaladd2m, qaladdb2, qalbitlen,
 *   qalbscr, qalbslen, qalbsnextval, qalbssetbit, qalclear, qalclip, qalcmp, qalconvert, qalcopy,
 *   qaldivs, qale2cl, qale2cr, qale2p_is_inf, qale2pcl, qale2pcp, qaleccl, qalecpcl, qalexpb2,
 *   qalfrombase256, qalfromrbase256, qalgetbe, qalgetle, qalgetslide, qalgetwin, qalinverse,
 *   qalmodd, qalmodexpb2, qalmodsf, qalpffadd, qalpffdiv2, qalpffmontsetone, qalpffpsfout,
 *   qalpffpsfsetone, qalpffsetzero, qalpffsub, qalputbe, qalputle, qalshl, qalshr, qalsicopy,
 *   qalsicr, qalsub, qaltobase256, qaltorbase256, qaltoxstr, reduce163_7_6_3_1, reduce191_9_1,
 *   reduce257_12_1, reduce431_5_3_1, rsa_get_privkey, rsa_is_prermitted_modsize, rsa_keygen_init,
 *   rsa_keygen_rp_get, rsa_keygen_rp_init, rsa_prime_ok, save_rsa_key_prm, streebog256_init,
 *   streebog512_init, streebog_add, streebog_add512, streebog_put_block
 * - 512: dstu_init_curve, gf2x_addmul_1_n, gf2x_mul, gf2x_mul_1_n, qale2kpic_init, qalmontcom,
 *   qalpffmontmul, qalpffmontout, qalpffmontsqr, qalpffpsfmul, qalpffpsfsqr, qalvalueof32,
 *   qalvalueof64, rsa_get_pubkey
 * - 1024: kuzn_block_enc, kuzn_ctr_init, kuzn_ecb_init, kuzn_ecb_update, kuzn_setup_keys,
 *   pmult160x160, pmult192x192, pmult224x224, pmult256x256, pmult257x257, pmult288x288,
 *   pmult448x448, qale2bfmul, qale2bfsqr, qale2pneg, qalecpd, qalecpd_3
 * - 1536: qalecic, qalecickp, qalecpa, qalsisub, qalsqr, streebog256_final, streebog256_update,
 *   streebog512_final, streebog512_update, streebog512_update_blocks, streebog_gN, streebog_lpsx64,
 *   streebog_update_block
 * - 2048: qaldiv, qalpffpow, qalunitymont
 * - 3072: qal2invm, qale2bfinv, qale2kpic_step, qale2pa, qale2paa, qale2pd, qalecpcr, qalmul,
 *   qalpff_init, qalpffmontin, qalpffpsfin, qalsisubmul
 * - 4096: dstu_cppubk, dstu_ucpubk, g28147_ecb_update, gr341194_md_update, gr341194_md_updblocks,
 *   gr341194_md_x, qale2comp, qale2exp, qale2pcr, qale2pxy, qaleccr
 * - 6144: GCD, gr341194_md_final, kuzn_ctr_update, qale2kpic, qalecakp, qaleckp, qalmulmont,
 *   qalpowmodstart, qalpowmontstart, qalsqrmont, rds_init, vko341001_init
 * - 8192: g28147_cfb_dec_update_blocks, g28147_cfb_update, g28147_ofb_update, qalicpowmont,
 *   qalmodinv, qalmontic, qalpffpsfinv, rsa_encrypt
 * - 12288: dhua_zz, dstu_bspool_get, dstu_bspool_step, dstu_gen_keys, dstu_sign, inv_mod_extgcd,
 *   qalecpneg, qalecpxy, qalpffmontinv, qalpowmod, qalpowmodstop, qalpowmont, qalpowmontstop,
 *   rds_get_prms, rsa_verify
 * - 20480: dstu_init_pgen, dstu_verify, qale2ic, qale2kp, qale2skp
 * - 24576: qalrmt, rds_verify
 * - 28672: rds_gen_keys, rds_sign, rsapowmod, vko341001_gen_kek, vko341001_gen_pubkey
 * - 32768: isPrime, isRSAPrime, RabinMiller
 * - 45056: find_prime_near, rsa_gen_crt, rsa_keygen
 * - 57344: rsa_decrypt, rsa_sign
 */
#ifndef QAL_QAL_H
#define QAL_QAL_H

#include <qal/api.h>
#include <qal/dhua.h>
#include <qal/dstu.h>
#include <qal/g28147.h>
#include <qal/gr341194.h>
#include <qal/kuzn.h>
#include <qal/qal2poly.h>
#include <qal/qale2.h>
#include <qal/qalec.h>
#include <qal/qalmath64.h>
#include <qal/qalpff.h>
#include <qal/rds.h>
#include <qal/rsa.h>
#include <qal/streebog.h>
#include <qal/vko341001.h>

#endif
