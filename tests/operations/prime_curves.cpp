#include "operations/operations.hpp"
#include "support/vectors.hpp"

#include <stdexcept>

namespace qal::test {

namespace {

struct Field {
    const char *name;
    qald p[9];
    bool special; // 2^l - c
};

constexpr qald ones = ~qald{0};
constexpr qald top = qald{1} << 63;

const Field fields[] = {
    {"256 bits", {4, 0x431, 0, 0, top}, false},
    {"256 bits, special", {4, -qald{617}, ones, ones, ones}, true},
    {"512 bits", {8, 111, 0, 0, 0, 0, 0, 0, top}, false},
    {"512 bits, special", {8, -qald{569}, ones, ones, ones, ones, ones, ones, ones}, true},
};

} // namespace

void Operations::add_prime_fields()
{
    for (const Field &field : fields) {
        const std::string label = field.name;
        const size_t n = field.p[0];
        auto *const pf = make<qalpff>();
        qald *const p = room(), *const x = room(), *const a = room(), *const b = room(),
                    *const z = room(), *const e = number(n), *const wide = number(8);
        qalcopy(p, field.p);
        qalpff_init(pf, p);
        qaldiv(number(n), p, nullptr, x);
        pf->in(pf, a, x);
        pf->in(pf, b, e);
        add("qalpff_init", label, [=] { qalpff_init(pf, p); }, {whole(pf)});
        add("qalpffpow", label, [=] { qalpffpow(pf, a, e, z); }, {digits(z)});
        if (field.special) {
            add("qalpffsetzero", label, [=] { qalpffsetzero(pf, z); }, {digits(z)});
            add("qalpffadd", label, [=] { qalpffadd(pf, a, b, z); }, {digits(z)});
            add("qalpffsub", label, [=] { qalpffsub(pf, a, b, z); }, {digits(z)});
            add("qalpffdiv2", label, [=] { qalpffdiv2(pf, a, z); }, {digits(z)});
            add("qalpffpsfin", label, [=] { qalpffpsfin(pf, z, wide); }, {digits(z)});
            add("qalpffpsfout", label, [=] { qalpffpsfout(pf, z, a); }, {digits(z)});
            add("qalpffpsfsetone", label, [=] { qalpffpsfsetone(pf, z); }, {digits(z)});
            add("qalpffpsfmul", label, [=] { qalpffpsfmul(pf, a, b, z); }, {digits(z)});
            add("qalpffpsfsqr", label, [=] { qalpffpsfsqr(pf, a, z); }, {digits(z)});
            add("qalpffpsfinv", label, [=] { qalpffpsfinv(pf, a, z); }, {digits(z)});
        } else {
            add("qalpffmontin", label, [=] { qalpffmontin(pf, z, wide); }, {digits(z)});
            add("qalpffmontout", label, [=] { qalpffmontout(pf, z, a); }, {digits(z)});
            add("qalpffmontsetone", label, [=] { qalpffmontsetone(pf, z); }, {digits(z)});
            add("qalpffmontmul", label, [=] { qalpffmontmul(pf, a, b, z); }, {digits(z)});
            add("qalpffmontsqr", label, [=] { qalpffmontsqr(pf, a, z); }, {digits(z)});
            add("qalpffmontinv", label, [=] { qalpffmontinv(pf, a, z); }, {digits(z)});
        }
    }
}

void Operations::add_prime_curves()
{
    for (const Field &field : fields) {
        for (const bool minus_three : {false, true}) {
            const std::string label = std::string(field.name) + (minus_three ? ", a = -3" : "");
            const size_t n = field.p[0];
            qald *const p = room(), *const a = room(), *const b = room(), *const x = room(),
                        *const y = room();
            qalcopy(p, field.p);
            if (minus_three)
                qalsub(qalcopy(a, p), QALBIG_THREE);
            else
                qaldiv(number(n), p, nullptr, a);
            // Any point fixes a curve through it: b = y^2 - x^3 - a x.
            qaldiv(number(n), p, nullptr, x);
            qaldiv(number(n), p, nullptr, y);
            auto *const pf = make<qalpff>();
            qalpff_init(pf, p);
            qald *const u = room(), *const v = room(), *const w = room();
            pf->in(pf, u, x);
            pf->sqr(pf, u, v);
            pf->in(pf, w, a);
            pf->add(pf, v, w, v);
            pf->mul(pf, u, v, v);
            pf->in(pf, w, y);
            pf->sqr(pf, w, w);
            pf->sub(pf, w, v, w);
            pf->out(pf, b, w);

            auto *const curve = make<qaleccurve>();
            auto *const P = make<qalecpoint>(), *const Q = make<qalecpoint>(),
                        *const R = make<qalecpoint>(), *const point = make<qalecpoint>(),
                        *const table = make<qalecpoint>(16);
            if (qaleccr(curve, p, a, b) == nullptr || qalecpcr(curve, P, x, y) == nullptr)
                throw std::runtime_error("no curve");
            add("qaleccr", label, [=] { qaleccr(curve, p, a, b); }, {whole(curve)});
            add("qalecpcr", label, [=] { qalecpcr(curve, R, x, y); }, {whole(R)});
            // Points with a Z of their own
            qalecpd(curve, Q, P);
            qalecpa(curve, point, Q, P);
            add("qalecpa", label, [=] { qalecpa(curve, R, point, Q); }, {whole(R)});
            add("qalecpd", label, [=] { qalecpd(curve, R, Q); }, {whole(R)});
            if (minus_three)
                add("qalecpd_3", label, [=] { qalecpd_3(curve, R, Q); }, {whole(R)});
            auto *const other = make<qalecpoint>();
            *other = *point;
            add("qalecpxy", label, [=] { qalecpxy(curve, other, u, v); },
                {whole(other), digits(u), digits(v)});
            add("qalecpneg", label, [=] { qalecpneg(curve, other); }, {whole(other)});
            add("qalecic", label, [=] { qalecic(curve, table, P, 5); }, {whole(table, 16)});
            qald *const k = number(n), *const l = number(n);
            auto *const made = make<qalecpoint>(16);
            qalecic(curve, made, P, 5);
            add("qalecickp", label,
                [=] { qalecickp(curve, R, made, k, 5, static_cast<uint32_t>(64 * n)); },
                {whole(R)});
            add("qaleckp", label, [=] { qaleckp(curve, R, k, point); }, {whole(R)});
            add("qalecakp", label, [=] { qalecakp(curve, R, k, point, l, Q); }, {whole(R)});
            if (n == 8 && minus_three) {
                auto *const old_curve = make<qaleccurve>();
                *old_curve = *curve;
                add("qaleccl", label, [=] { qaleccl(old_curve); }, {whole(old_curve)});
                add("qalecpcl", label, [=] { qalecpcl(other); }, {whole(other)});
            }
        }
    }
}

void Operations::add_signatures()
{
    VectorFile("gost3410/curves.vec").each("curve", [&](Vector &vector) {
        const std::string label = vector.text("Name");
        const auto number_of = [&](const char *name) {
            const Bytes value = vector.bytes(name);
            auto *const copy = make<uint8_t>(32);
            std::copy(value.begin(), value.end(), copy);
            return copy;
        };
        uint8_t *const p = number_of("P"), *const a = number_of("A"), *const b = number_of("B"),
                       *const q = number_of("Q"), *const x = number_of("X"),
                       *const y = number_of("Y");
        // One field of either kind
        if (label != "gost-test" && label != "cryptopro-a")
            return;
        auto *const ctx = make<rds_ctx>();
        auto *const status = make<int>();
        add("rds_init", label, [=] { *status = rds_init(ctx, p, a, b, q, x, y); },
            {whole(ctx), whole(status)});
        auto *const second = make<rds_ctx>();
        add("vko341001_init", label, [=] { *status = vko341001_init(second, p, a, b, q, x, y); },
            {whole(second), whole(status)});
        auto *const domain = make<rds_ctx>();
        if (rds_init(domain, p, a, b, q, x, y) != 0)
            throw std::runtime_error("no domain");
        auto *const prms = make<uint8_t>(6 * 32);
        add("rds_get_prms", label,
            [=] {
                *status = rds_get_prms(domain, prms, prms + 32, prms + 64, prms + 96, prms + 128,
                                       prms + 160);
            },
            {whole(prms, 6 * 32), whole(status)});
        uint8_t *const d = bytes(32), *const k = bytes(32), *const digest = bytes(32),
                       *const ukm = bytes(8);
        // Numbers below the order, whichever end they begin at
        for (uint8_t *secret : {d, k})
            secret[0] = secret[31] = 0x55;
        auto *const pub = make<uint8_t>(64), *const sig = make<uint8_t>(64),
                    *const out = make<uint8_t>(64);
        if (rds_gen_keys(domain, d, pub) != 0 || rds_sign(domain, d, k, digest, sig) != 0)
            throw std::runtime_error("no signature");
        add("rds_gen_keys", label, [=] { *status = rds_gen_keys(domain, d, out); },
            {whole(out, 64), whole(status)});
        add("rds_sign", label, [=] { *status = rds_sign(domain, d, k, digest, out); },
            {whole(out, 64), whole(status)});
        add("rds_verify", label, [=] { *status = rds_verify(domain, pub, digest, sig); },
            {whole(status)});
        add("vko341001_gen_pubkey", label, [=] { *status = vko341001_gen_pubkey(domain, d, out); },
            {whole(out, 64), whole(status)});
        add("vko341001_gen_kek", label,
            [=] { *status = vko341001_gen_kek(domain, out, k, pub, ukm); },
            {whole(out, 64), whole(status)});
    });
}

} // namespace qal::test
