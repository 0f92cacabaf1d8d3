#include "soundness.hpp"

#include <qal/qalmath64.h>
#include <qal/rsa.h>

namespace qal::tool {

namespace {

// A composite number passes a round for at most a quarter of all bases, whoever made it, and none
// is drawn more than twice as often as it should be: all rounds together let it pass with a chance
// of at most 2^-128, as long as they are independent. The rounds of one call are not: successive
// bases share all bytes but one.
constexpr int rounds = 128;

bool is_prime(const qald *n)
{
    for (int i = 0; i < rounds; i++)
        if (RabinMiller(n, 1) == 0)
            return false;
    return true;
}

// p^t = 1 modulo q for a t from 1 to 31: logarithms on the curve would be logarithms in the field
// of p^t elements.
bool has_small_embedding_degree(const qald *p, const qald *q)
{
    constexpr int most = 31;
    qald power[QALBIG_SIZE], product[QALBIG_SIZE];
    qalcopy(power, QALBIG_ONE);
    for (int t = 1; t <= most; t++) {
        qalmul(power, p, product);
        qaldiv(product, q, nullptr, product);
        qalcopy(power, product);
        if (qalcmp(power, QALBIG_ONE) == 0)
            return true;
    }
    return false;
}

// 4 a^3 + 27 b^2 = 0
bool is_singular(const qaleccurve &curve)
{
    const qalpff &f = curve.field;
    qalfe left, right, twice;
    f.sqr(&f, curve.a, left);
    f.mul(&f, left, curve.a, left);
    f.add(&f, left, left, left);
    f.add(&f, left, left, left);
    f.sqr(&f, curve.b, right);
    for (int i = 0; i < 3; i++) {
        f.add(&f, right, right, twice);
        f.add(&f, right, twice, right);
    }
    f.add(&f, left, right, left);
    return left[0] == 0;
}

bool is_infinity(const rds_ctx &domain, qalecpoint &P)
{
    return qalecpxy(&domain.curve, &P, nullptr, nullptr) == 0;
}

// q P = 0
bool is_annulled(const rds_ctx &domain, const qalecpoint &P)
{
    qalecpoint multiple;
    qaleckp(&domain.curve, &multiple, domain.q, &P);
    return is_infinity(domain, multiple);
}

} // namespace

// The other demands of the standard follow from these. rds_init() takes neither a = 0 nor b = 0, so
// that the curve's invariant is neither 0 nor 1728, and no prime q outside of 2^254 < q < 2^256.
// The number m of the curve's points is a multiple of q within Hasse's bounds by theorems; m = p
// would make q = p.
DomainFault fault_of(const rds_ctx &domain, qal_rnd random)
{
    const qald *const p = domain.curve.field.p, *const q = domain.q;
    rsa_gen_rnd = random;
    if (!is_prime(p))
        return DomainFault::composite_modulus;
    if (!is_prime(q))
        return DomainFault::composite_order;
    if (qalcmp(p, q) == 0)
        return DomainFault::anomalous;
    if (has_small_embedding_degree(p, q))
        return DomainFault::small_embedding_degree;
    if (is_singular(domain.curve))
        return DomainFault::singular;
    qalecpoint G = domain.G;
    if (is_infinity(domain, G) || !is_annulled(domain, G))
        return DomainFault::wrong_base_point;
    return DomainFault::none;
}

KeyFault fault_of_key(const rds_ctx &domain, std::span<const uint8_t> key)
{
    const qald *const p = domain.curve.field.p;
    qalfe x, y;
    qalfrombase256(x, key.data(), 32);
    qalfrombase256(y, key.data() + 32, 32);
    qalecpoint Q;
    if (qalcmp(x, p) >= 0 || qalcmp(y, p) >= 0 || qalecpcr(&domain.curve, &Q, x, y) == nullptr)
        return KeyFault::no_point;
    if (is_infinity(domain, Q))
        return KeyFault::infinity;
    return is_annulled(domain, Q) ? KeyFault::none : KeyFault::no_member;
}

KeyFault fault_of_key(const dstu_ctx &domain, std::span<const uint8_t> key)
{
    const qale2curve *const curve = &domain.curve;
    const auto m = static_cast<int32_t>(curve->mod_m);
    qal2p x;
    qal2pfromb(qal2pclear(x, m), key.data(), static_cast<int32_t>(key.size()));
    qale2point Q;
    if (qal2p_deg(x) >= m || qale2exp(curve, &Q, x) == nullptr)
        return KeyFault::no_point;
    // Infinity cannot be compressed; zero stands for the point of order 2.
    qale2kp(curve, &Q, domain.n, &Q);
    return qale2p_is_inf(curve, &Q) != 0 ? KeyFault::none : KeyFault::no_member;
}

const char *description(DomainFault fault)
{
    switch (fault) {
    case DomainFault::none:
        break;
    case DomainFault::composite_modulus:
        return "p is not prime";
    case DomainFault::composite_order:
        return "q is not prime";
    case DomainFault::anomalous:
        return "q equals p";
    case DomainFault::small_embedding_degree:
        return "a power p^t with t < 32 is 1 modulo q";
    case DomainFault::singular:
        return "4 a^3 + 27 b^2 is zero";
    case DomainFault::wrong_base_point:
        return "(x, y) is not a point of order q";
    }
    return "sound";
}

const char *description(KeyFault fault)
{
    switch (fault) {
    case KeyFault::none:
        break;
    case KeyFault::no_point:
        return "not a point of the curve";
    case KeyFault::infinity:
        return "the point at infinity";
    case KeyFault::no_member:
        return "not a multiple of the base point";
    }
    return "sound";
}

} // namespace qal::tool
