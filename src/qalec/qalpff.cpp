#include <qal/qalpff.h>

#include "base/require.hpp"

#include <string.h>

static constexpr char qal_source[] = "../src/qalec/qalpff";

namespace {

constexpr size_t fe_digits = sizeof(qalfe) / sizeof(qald) - 1;

// A sum of two elements of 512 bits has one digit more.
typedef qald Sum[1 + fe_digits + 1];

// A product, and what its reductions want beyond it.
typedef qald Product[1 + 2 * fe_digits + 2];

// t modulo p = 2^l - c. qalmodsf() takes one digit off its last sum, which exceeds p by less than
// c^2 + c: enough as long as c is below 2^32, as it is for every modulus chosen for its form.
qald *reduce_special(const qalpff *pf, qald *t)
{
    if (pf->k >> 32 == 0)
        return qalmodsf(t, pf->p, static_cast<int32_t>(pf->l), pf->k);
    qaldiv(t, pf->p, nullptr, t);
    return t;
}

} // namespace

qalpff *qalpff_init(qalpff *pf, const qald *p)
{
    QAL_REQUIRE(pf != nullptr, "pf != 0");
    if (p == nullptr || p[0] == 0)
        return nullptr;
    qalcopy(pf->p, p);
    pf->l = static_cast<uint32_t>(64 * pf->p[0]);
    pf->setzero = qalpffsetzero;
    pf->add = qalpffadd;
    pf->sub = qalpffsub;
    pf->div2 = qalpffdiv2;

    bool special = pf->p[0] >= 2;
    for (uint64_t i = 2; i <= pf->p[0]; i++)
        special = special && pf->p[i] == ~qald{0};
    if (special) {
        pf->k = 0 - pf->p[1];
        pf->in = qalpffpsfin;
        pf->out = qalpffpsfout;
        pf->setone = qalpffpsfsetone;
        pf->mul = qalpffpsfmul;
        pf->sqr = qalpffpsfsqr;
        pf->inv = qalpffpsfinv;
        return pf;
    }

    pf->k = qalinverse(0 - pf->p[1]);
    qald one[QALBIG_SIZE]; // 2^l and its reduction want more room than an element has
    qalcopy(pf->one, qalunitymont(static_cast<int32_t>(pf->l), pf->p, one));
    pf->in = qalpffmontin;
    pf->out = qalpffmontout;
    pf->setone = qalpffmontsetone;
    pf->mul = qalpffmontmul;
    pf->sqr = qalpffmontsqr;
    pf->inv = qalpffmontinv;
    return pf;
}

qald *qalpffsetzero(const qalpff * /*pf*/, qald *z)
{
    return qalcopy(z, QALBIG_ZERO);
}

qald *qalpffadd(const qalpff *pf, const qald *a, const qald *b, qald *z)
{
    Sum t;
    qaladd(qalcopy(t, a), b);
    if (qalcmp(t, pf->p) >= 0)
        qalsub(t, pf->p);
    return qalcopy(z, t);
}

qald *qalpffsub(const qalpff *pf, const qald *a, const qald *b, qald *z)
{
    Sum t;
    qalcopy(t, a);
    if (qalcmp(t, b) < 0)
        qaladd(t, pf->p);
    return qalcopy(z, qalsub(t, b));
}

qald *qalpffdiv2(const qalpff *pf, const qald *a, qald *z)
{
    Sum t;
    qalcopy(t, a);
    if (t[0] != 0 && t[1] % 2 != 0)
        qaladd(t, pf->p);
    return qalcopy(z, qalshr(t, 1, t));
}

qald *qalpffmontin(const qalpff *pf, qald *z, const qald *x)
{
    qald t[QALBIG_SIZE];
    qalmul(x, pf->one, t);
    qaldiv(t, pf->p, nullptr, t);
    return qalcopy(z, t);
}

qald *qalpffmontout(const qalpff *pf, qald *z, const qald *x)
{
    Product t;
    qalcopy(t, x);
    return qalcopy(z, qalmontcom(pf->k, pf->l, pf->p, t));
}

qald *qalpffmontsetone(const qalpff *pf, qald *z)
{
    return qalcopy(z, pf->one);
}

qald *qalpffmontmul(const qalpff *pf, const qald *a, const qald *b, qald *z)
{
    Product t;
    qalmul(a, b, t);
    return qalcopy(z, qalmontcom(pf->k, pf->l, pf->p, t));
}

qald *qalpffmontsqr(const qalpff *pf, const qald *a, qald *z)
{
    Product t;
    qalsqr(a, t);
    return qalcopy(z, qalmontcom(pf->k, pf->l, pf->p, t));
}

// qalmodinv() is Kaliski's inversion, too, whose second phase goes down to 1 / a; twice into the
// internal form makes it R^2 / a. The p that stands for the inverse of 0 would not pass that.
qald *qalpffmontinv(const qalpff *pf, const qald *a, qald *z)
{
    if (a[0] == 0)
        return qalcopy(z, pf->p);
    qald t[QALBIG_SIZE];
    qalmodinv(a, pf->p, t);
    qalpffmontin(pf, t, t);
    return qalpffmontin(pf, z, t);
}

qald *qalpffpsfin(const qalpff *pf, qald *z, const qald *x)
{
    if (qalcmp(x, pf->p) < 0)
        return qalcopy(z, x);
    qald t[QALBIG_SIZE];
    qaldiv(x, pf->p, nullptr, t);
    return qalcopy(z, t);
}

qald *qalpffpsfout(const qalpff * /*pf*/, qald *z, const qald *x)
{
    return z == x ? z : qalcopy(z, x);
}

qald *qalpffpsfsetone(const qalpff * /*pf*/, qald *z)
{
    return qalcopy(z, QALBIG_ONE);
}

qald *qalpffpsfmul(const qalpff *pf, const qald *a, const qald *b, qald *z)
{
    Product t;
    qalmul(a, b, t);
    return qalcopy(z, reduce_special(pf, t));
}

qald *qalpffpsfsqr(const qalpff *pf, const qald *a, qald *z)
{
    Product t;
    qalsqr(a, t);
    return qalcopy(z, reduce_special(pf, t));
}

qald *qalpffpsfinv(const qalpff *pf, const qald *a, qald *z)
{
    return qalmodinv(a, pf->p, z);
}

qald *qalpffpow(const qalpff *pf, const qald *x, const qald *exp, qald *z)
{
    QAL_REQUIRE(exp != z, "exp != z");
    constexpr int64_t width = 5;
    qalfe odd[1 << (width - 1)], square; // x, x^3, ..., x^31
    pf->sqr(pf, x, square);
    qalcopy(odd[0], x);
    for (size_t i = 1; i < sizeof odd / sizeof *odd; i++)
        pf->mul(pf, square, odd[i - 1], odd[i]);
    pf->setone(pf, z);
    for (uint64_t left = qalbitlen(exp, 1); left > 0;) {
        int64_t bits;
        const uint64_t window = qalgetslide(exp, left - 1, width, &bits);
        left -= static_cast<uint64_t>(bits);
        for (; bits > 0; bits--)
            pf->sqr(pf, z, z);
        if (window != 0)
            pf->mul(pf, z, odd[window / 2], z);
    }
    return z;
}
