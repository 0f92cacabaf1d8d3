#include "operations/operations.hpp"
#include "secrecy/domain.hpp"

#include <stdexcept>
#include <tuple>

namespace qal::test {

namespace {

const char *const curves[] = {"m163", "m191", "m257", "m431"};

} // namespace

void Operations::add_binary_polynomials()
{
    // Any field and any length
    {
        constexpr int32_t degree = 431, words = 14;
        const auto polynomial = [this] {
            auto *const p = reinterpret_cast<qal2d *>(bytes(sizeof(qal2p)));
            p[0] = words;
            p[words] &= (1U << (degree % 32)) - 1;
            return p;
        };
        qal2d *const a = polynomial(), *const b = polynomial(), *const r = polynomial();
        uint8_t *const in = bytes(64), *const out = make<uint8_t>(64);
        qald *const number = room(), *const digits_of_it = this->number(7);
        auto *const answer = make<int64_t>();
        qal2d *const small = polynomial();
        small[0] = 13;
        add("qal2pclear", "", [=] { qal2pclear(r, degree); }, {whole(r, words + 1)});
        add("qal2pcopy", "", [=] { qal2pcopy(r, a); }, {whole(r, words + 1)});
        add("qal2pfrombig", "", [=] { qal2pfrombig(small, digits_of_it); },
            {whole(small, words + 1)});
        add("qal2ptobig", "", [=] { qal2ptobig(number, a); }, {digits(number)});
        add("qal2pfromb", "", [=] { qal2pfromb(r, in, 54); }, {whole(r, words + 1)});
        add("qal2ptob", "", [=] { qal2ptob(out, a, 64); }, {whole(out, 64)});
        add("qal2pfrombits", "", [=] { qal2pfrombits(r, in, 427); }, {whole(r, words + 1)});
        add("qal2p_is_equal", "", [=] { *answer = qal2p_is_equal(a, a); }, {whole(answer)});
        add("qal2pinc", "", [=] { qal2pinc(r); }, {whole(r, words + 1)});
        add("qal2p_deg", "", [=] { *answer = qal2p_deg(a); }, {whole(answer)});
        add("qal2pgbit", "", [=] { *answer = qal2pgbit(a, 300); }, {whole(answer)});
        add("qal2psbit", "", [=] { qal2psbit(r, 300, 1); }, {whole(r, words + 1)});
        add("qal2add", "", [=] { qal2add(r, a, b); }, {whole(r, words + 1)});
        add("qal2p_is_zero", "", [=] { *answer = qal2p_is_zero(a); }, {whole(answer)});
        add("qal2p_is_one", "", [=] { *answer = qal2p_is_one(a); }, {whole(answer)});
        // x has an inverse modulo whatever has a constant term.
        qal2d *const x = polynomial();
        qal2pclear(x, degree);
        x[1] = 2;
        sweep("qal2invm",
              [=] {
                  for (uint32_t m = 33; m <= 431; m += m % 32 == 31 ? 2 : 1) {
                      x[0] = r[0] = (m + 31) / 32;
                      qal2invm(r, x, m, 7, 0, 0);
                      qal2invm(r, x, m, 7, 5, 1);
                  }
              },
              {whole(r, words + 1)});

        constexpr int32_t most = 64;
        auto *const u = reinterpret_cast<qal2d *>(bytes(4 * most)),
                    *const v = reinterpret_cast<qal2d *>(bytes(4 * most)),
                    *const w = make<qal2d>(2 * most);
        add("gf2x_mul_1_n", "14 words", [=] { *answer = gf2x_mul_1_n(w, u, 14, v[0]); },
            {whole(w, 14), whole(answer)});
        add("gf2x_addmul_1_n", "14 words", [=] { *answer = gf2x_addmul_1_n(w, v, u, 14, v[0]); },
            {whole(w, 14), whole(answer)});
        add("gf2x_mul", "14 words", [=] { gf2x_mul(w, u, 14, v, 14); }, {whole(w, 28)});
        sweep("gf2x_mul",
              [=] {
                  for (int32_t n = 1; n <= most; n++) {
                      gf2x_mul(w, u, n, v, n);
                      gf2x_mul(w, u, n, v, 1);
                  }
              },
              {whole(w, 2 * most)});
        const auto product = [&](const char *name,
                                 void (*multiply)(qal2d *, const qal2d *, const qal2d *)) {
            add(name, "", [=] { multiply(w, u, v); }, {whole(w, 28)});
        };
        product("pmult160x160", pmult160x160);
        product("pmult192x192", pmult192x192);
        product("pmult224x224", pmult224x224);
        product("pmult256x256", pmult256x256);
        product("pmult288x288", pmult288x288);
        product("pmult448x448", pmult448x448);
        auto *const s = reinterpret_cast<qal2d *>(bytes(36)), *const t = reinterpret_cast<qal2d *>(
                                                                  bytes(36));
        s[8] = t[8] = 1;
        add("pmult257x257", "", [=] { pmult257x257(w, s, t); }, {whole(w, 18)});
        add("psqr192x192", "", [=] { psqr192x192(w, u); }, {whole(w, 12)});
        add("psqr288x288", "", [=] { psqr288x288(w, u); }, {whole(w, 18)});
        add("psqr448x448", "", [=] { psqr448x448(w, u); }, {whole(w, 28)});
        add("reduce163_7_6_3_1", "", [=] { reduce163_7_6_3_1(u); }, {whole(u, 28)});
        add("reduce191_9_1", "", [=] { reduce191_9_1(u); }, {whole(u, 28)});
        add("reduce257_12_1", "", [=] { reduce257_12_1(u); }, {whole(u, 28)});
        add("reduce431_5_3_1", "", [=] { reduce431_5_3_1(u); }, {whole(u, 28)});
    }
}

void Operations::add_binary_curves()
{
    for (const char *name : curves) {
        const std::string label = name;
        auto *const domain = make<dstu_ctx>();
        set_up_domain(*domain, name);
        const auto *const curve = &domain->curve;
        const auto *const G = &domain->G;
        const auto field_size = static_cast<size_t>(domain->field_len);
        const uint32_t words = (curve->mod_m + 31) / 32;
        auto *const copy = make<qale2curve>();
        *copy = *curve;
        auto *const b = make<uint8_t>(field_size);
        qal2ptob(b, curve->b, static_cast<int32_t>(field_size));
        auto *const u = make<qal2d>(QAL2P_SIZE), *const v = make<qal2d>(QAL2P_SIZE),
                    *const r = make<qal2d>(QAL2P_SIZE), *const s = make<qal2d>(QAL2P_SIZE);
        const Output element = whole(r, words + 1);
        // Of coordinates the words in use count.
        const auto point = [=](qale2point *P, std::vector<Output> others = {}) {
            for (qal2d *coordinate : {P->X, P->Y, P->Z})
                others.push_back(whole(coordinate, words + 1));
            return others;
        };
        auto *const status = make<int>();
        qal2pclear(r, static_cast<int32_t>(curve->mod_m));
        qal2pclear(s, static_cast<int32_t>(curve->mod_m));
        std::copy(G->X, G->X + words + 1, u);
        std::copy(G->Y, G->Y + words + 1, v);
        add("qale2cr", label,
            [=] {
                qale2cr(copy, curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c, curve->a, b);
            },
            {whole(copy)});
        add("qale2bfmul", label, [=] { qale2bfmul(curve, r, u, v); }, {element});
        add("qale2bfsqr", label, [=] { qale2bfsqr(curve, r, u); }, {element});
        add("qale2bfinv", label, [=] { qale2bfinv(curve, r, u); }, {element});
        add("qal2invm", label,
            [=] { qal2invm(r, u, curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c); },
            {element});

        auto *const P = make<qale2point>(), *const Q = make<qale2point>(),
                    *const R = make<qale2point>();
        add(
            "qale2pcr", label, [=] { qale2pcr(curve, R, u, v); }, point(R));
        sweep(
            "qale2pcr", [=] { qale2pcr(curve, R, u, nullptr); }, point(R));
        // Points with a Z of their own
        qale2pd(curve, Q, G);
        qale2paa(curve, P, Q, G);
        add(
            "qale2pcp", label, [=] { qale2pcp(curve, R, P); }, point(R));
        add(
            "qale2pneg", label, [=] { qale2pneg(curve, P); }, point(P));
        add("qale2p_is_inf", label, [=] { *status = qale2p_is_inf(curve, P); }, {whole(status)});
        add(
            "qale2pxy", label, [=] { *status = qale2pxy(curve, P, r, s); },
            point(P, {element, whole(s, words + 1), whole(status)}));
        add(
            "qale2pd", label, [=] { qale2pd(curve, R, P); }, point(R));
        add(
            "qale2paa", label, [=] { qale2paa(curve, R, P, G); }, point(R));
        add(
            "qale2pa", label, [=] { qale2pa(curve, R, P, u, v); }, point(R));
        auto *const infinity = make<qale2point>();
        qale2pcr(curve, infinity, nullptr, nullptr);
        sweep(
            "qale2pa",
            [=] {
                qale2pa(curve, R, G, u, v);
                qale2pa(curve, R, infinity, u, v);
            },
            point(R));
        constexpr int32_t ws = 6;
        auto *const table = make<qale2affine>(32);
        add("qale2ic", label, [=] { qale2ic(curve, table, P, ws); }, {whole(table, 32)});
        qald *const k = number((curve->mod_m + 63) / 64), *const l = number(k[0]);
        qalmodexpb2(k, curve->mod_m - 3);
        qalmodexpb2(l, curve->mod_m - 3);
        auto *const begun = make<qale2kpic_ctx>();
        add("qale2kpic_init", label, [=] { qale2kpic_init(begun, curve, k, domain->powers, ws); },
            {whole(&begun->bits)});
        qale2kpic_init(begun, curve, k, domain->powers, ws);
        add(
            "qale2kpic_step", label, [=] { *status = qale2kpic_step(begun, R); },
            point(&begun->Q, {whole(status)}));
        sweep(
            "qale2kpic_step",
            [=] {
                while (qale2kpic_step(begun, R) == 0) {
                }
            },
            point(R));
        add(
            "qale2kpic", label, [=] { qale2kpic(curve, R, k, domain->powers, ws); }, point(R));
        add(
            "qale2kp", label, [=] { qale2kp(curve, R, k, P); }, point(R));
        add(
            "qale2skp", label, [=] { qale2skp(curve, R, k, P, l, Q); }, point(R));
        add(
            "qale2comp", label, [=] { qale2comp(curve, r, P); }, point(P, {element}));
        auto *const c = make<qal2d>(QAL2P_SIZE);
        *R = *G;
        qale2comp(curve, c, R);
        add(
            "qale2exp", label, [=] { qale2exp(curve, R, c); }, point(R));
        if (label == "m431") {
            add("qale2cl", "", [=] { qale2cl(copy); }, {whole(copy)});
            add(
                "qale2pcl", "", [=] { qale2pcl(P); }, point(P));
        }
    }
}

void Operations::add_binary_signatures()
{
    for (const char *name : curves) {
        const std::string label = name;
        auto *const ctx = make<dstu_ctx>();
        set_up_domain(*ctx, name);
        const qale2curve *const curve = &ctx->curve;
        const int32_t field_len = ctx->field_len, key_len = ctx->key_len;
        const auto field_size = static_cast<size_t>(field_len);
        auto *const status = make<int>();

        auto *const b = make<uint8_t>(field_size), *const n = make<uint8_t>(field_size),
                    *const G = make<uint8_t>(field_size),
                    *const both = make<uint8_t>(2 * field_size);
        qal2ptob(b, curve->b, field_len);
        const auto n_len =
            static_cast<int32_t>(qaltorbase256(n, static_cast<uint32_t>(field_size), ctx->n));
        auto *const c = make<qal2d>(QAL2P_SIZE);
        auto *const base = make<qale2point>();
        *base = ctx->G;
        qale2comp(curve, c, base);
        qal2ptob(G, c, field_len);
        auto *const fresh = make<dstu_ctx>();
        add("dstu_init_curve", label,
            [=] {
                *status = dstu_init_curve(fresh, curve->mod_m, curve->mod_a, curve->mod_b,
                                          curve->mod_c, curve->a, b, field_len);
            },
            {whole(status)});
        auto *const half = make<dstu_ctx>();
        std::ignore = dstu_init_curve(half, curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c,
                                      curve->a, b, field_len);
        add("dstu_init_pgen", label,
            [=] { *status = dstu_init_pgen(half, field_len, G, n_len, n); },
            {whole(half->powers, 32), whole(status)});

        // Pools: empty ones, a full one, and one in which two secrets are begun
        auto *const empty = make<dstu_bspool>(), *const full = make<dstu_bspool>(),
                    *const begun = make<dstu_bspool>();
        for (dstu_bspool *pool : {empty, full, begun})
            std::ignore = dstu_bspool_init(pool, ctx, fixed_random);
        while (full->ready != 31)
            dstu_bspool_step(full);
        dstu_bspool_step(begun);
        qald *const e = room();
        auto *const pool = make<dstu_bspool>();
        add("dstu_bspool_init", label, [=] { *status = dstu_bspool_init(pool, ctx, fixed_random); },
            {whole(&pool->ready), whole(status)});
        add("dstu_bspool_step", label, [=] { *status = dstu_bspool_step(begun); }, {whole(status)});
        sweep("dstu_bspool_step",
              [=] {
                  while (empty->ready != 31)
                      *status = dstu_bspool_step(empty);
              },
              {whole(status)});
        auto *const point = make<qal2d>(QAL2P_SIZE);
        qal2pclear(point, static_cast<int32_t>(curve->mod_m));
        add("dstu_bspool_get", label, [=] { *status = dstu_bspool_get(full, e, point); },
            {digits(e), whole(point, QAL2P_SIZE), whole(status)});
        sweep("dstu_bspool_get", [=] { *status = dstu_bspool_get(empty, e, point); },
              {digits(e), whole(point, QAL2P_SIZE), whole(status)});

        // A pair of keys and a signature
        auto *const priv = make<uint8_t>(64), *const pub = make<uint8_t>(64),
                    *const sig = make<uint8_t>(128), *const out = make<uint8_t>(128),
                    *const second = make<uint8_t>(128);
        auto *const lengths = make<int32_t>(2);
        lengths[0] = key_len;
        lengths[1] = field_len;
        auto *const drawing = make<dstu_bspool>();
        std::ignore = dstu_bspool_init(drawing, ctx, fixed_random);
        const uint8_t *const hash = bytes(32);
        auto *const sig_len = make<int32_t>();
        *sig_len = ctx->sig_len;
        if (dstu_gen_keys(ctx, drawing, &lengths[0], priv, &lengths[1], pub) != 0 ||
            dstu_sign(ctx, drawing, key_len, priv, 256, hash, sig_len, sig) != 0 ||
            dstu_ucpubk(ctx, both, pub, field_len) != 0)
            throw std::runtime_error("no signature");
        for (dstu_bspool *from : {full, empty}) {
            const std::string which = label + (from == full ? ", full pool" : ", empty pool");
            add("dstu_gen_keys", which,
                [=] { *status = dstu_gen_keys(ctx, from, &lengths[0], out, &lengths[1], second); },
                {whole(out, 128), whole(second, 128), whole(status)});
            add("dstu_sign", which,
                [=] { *status = dstu_sign(ctx, from, key_len, priv, 256, hash, sig_len, out); },
                {whole(out, 128), whole(status)});
        }
        add("dstu_verify", label,
            [=] { *status = dstu_verify(ctx, field_len, pub, 256, hash, ctx->sig_len, sig); },
            {whole(status)});
        add("dstu_ucpubk", label, [=] { *status = dstu_ucpubk(ctx, out, pub, field_len); },
            {whole(out, 128), whole(status)});
        add("dstu_cppubk", label, [=] { *status = dstu_cppubk(ctx, out, &lengths[1], both); },
            {whole(out, 128), whole(status)});
        for (const int cofactor : {0, 1}) {
            add("dhua_zz", label + (cofactor ? ", cofactor" : ""),
                [=] {
                    *status =
                        dhua_zz(ctx, key_len, priv, field_len, pub, cofactor, &lengths[1], out);
                },
                {whole(out, 128), whole(status)});
        }
    }
}

} // namespace qal::test
