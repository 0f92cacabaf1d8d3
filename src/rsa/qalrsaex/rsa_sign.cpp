// The private operation, by the Chinese remainder theorem: RFC 8017, clause 5.1.2, step 2b.
#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/powers/powers.hpp"
#include "rsa/qalrsaex/parameters.hpp"

#include <string.h>

using namespace qal::math;
using qal::base::declassified;
using namespace qal::rsa;

namespace {

constexpr uint32_t most_prime_bytes = most_modulus_bytes / 2;
constexpr size_t prime_digits = modulus_digits / 2;

// The numbers of one operation, erased when it is over. Each has room for the remainder of a
// division, which is two digits longer, and zeros behind its own digits. The number of bytes of
// each parameter is public; its digits are secret. So leading zeros are stripped from the primes
// alone, whose lengths follow from the public size of the modulus. The other numbers are as long as
// their bytes say.
struct PrivateOperation {
    qald p[prime_digits + 3], q[prime_digits + 3];
    qald dp[prime_digits + 3], dq[prime_digits + 3], qinv[prime_digits + 3];
    qald m[modulus_digits + 3]; // message
    qald s[modulus_digits + 3]; // result; all its digits count, whatever its length word says

    PrivateOperation() = default;
    PrivateOperation(const PrivateOperation &) = delete;
    PrivateOperation &operator=(const PrivateOperation &) = delete;
    ~PrivateOperation() { qal::base::wipe(this, sizeof *this); }

    bool read_key(const uint8_t *key)
    {
        qald *const parameters[] = {p, q, dp, dq, qinv};
        for (qald *x : parameters) {
            const uint32_t length = parameter_length(key);
            if (length == 0 || length > most_prime_bytes)
                return false;
            read_digits(x + 1, prime_digits, key + length_bytes, length);
            x[0] = (length + 7) / 8;
            key += length_bytes + length;
        }
        clip(p);
        clip(q);
        return declassified(p[1] & q[1] & 1) != 0;
    }

    void read_message(const uint8_t *bytes, uint32_t length)
    {
        read_digits(m + 1, modulus_digits, bytes, length);
        m[0] = modulus_digits;
    }

    // The bits of the modulus, as the primes have them together.
    [[nodiscard]] uint64_t bits() const
    {
        return declassified(bit_length(p)) + declassified(bit_length(q));
    }

    // Whether the primes have as many digits, and the other numbers no more.
    [[nodiscard]] bool is_regular() const
    {
        return p[0] == q[0] && dp[0] <= p[0] && dq[0] <= p[0] && qinv[0] <= p[0];
    }

    static void clip(qald *x)
    {
        while (x[0] > 0 && declassified(x[x[0]] == 0))
            x[0]--;
    }

    void run_regular();
    void run_irregular();
};

// Digits of the upper half of a message less a prime, if they are not less than it. As the message
// has no more bits than p and q together, this brings it below p 2^(64 n), or q 2^(64 n).
void reduce_message(qald *r, const qald *m, const qald *prime, size_t n)
{
    memcpy(r, m, n * sizeof *m);
    subtract_once(r + n, m + n, 0, prime, n);
}

// For every ordinary key: both primes have the same number of digits. No branch and no address
// depends on the key, except on its lengths, or on the message.
void PrivateOperation::run_regular()
{
    const size_t n = p[0];
    struct {
        qald mp[modulus_digits], mq[modulus_digits];
        qald s1[prime_digits], s2[prime_digits];
        qald r2[prime_digits], x[modulus_digits], y[modulus_digits];
    } t;
    reduce_message(t.mp, m + 1, p + 1, n);
    reduce_message(t.mq, m + 1, q + 1, n);
    power_secret_pair({t.s1, t.mp, dp + 1, p + 1}, {t.s2, t.mq, dq + 1, q + 1}, n, 64 * n);

    // h = (s1 - s2) qInv mod p. In Montgomery form, so that s2 may be p or more; the product by
    // qInv leaves it.
    const qald c = montgomery_constant(p[1]);
    power_of_two_secret(t.r2, 128 * n, p + 1, n);
    qal_mont_mul(t.x, t.s1, t.r2, p + 1, n, c);
    qal_mont_mul(t.y, t.s2, t.r2, p + 1, n, c);
    const qald negative = 0 - qal_sub_row(t.x, t.x, t.y, n);
    for (size_t i = 0; i < n; i++)
        t.y[i] = p[i + 1] & negative;
    qal_add_row(t.s1, t.x, t.y, n);
    qal_mont_mul(t.x, t.s1, qinv + 1, p + 1, n, c);

    // s = s2 + h q
    qal_mul_digits(s + 1, t.x, n, q + 1, n);
    memcpy(t.y, t.s2, n * sizeof *t.s2);
    memset(t.y + n, 0, n * sizeof *t.y);
    qal_add_row(s + 1, s + 1, t.y, 2 * n);
    qal::base::wipe(&t, sizeof t);
}

// The same with numbers, of whatever lengths.
void PrivateOperation::run_irregular()
{
    struct {
        qald s1[QALBIG_SIZE], s2[QALBIG_SIZE], h[QALBIG_SIZE], x[QALBIG_SIZE];
    } t;
    qald *const numbers[] = {m, dp, dq, qinv};
    for (qald *x : numbers)
        clip(x);
    rsapowmod(m, dp, p, t.s1);
    rsapowmod(m, dq, q, t.s2);
    qaldiv(t.s2, p, nullptr, t.x);
    if (qalcmp(t.s1, t.x) < 0)
        qaladd(t.s1, p);
    qalmul(qalsub(t.s1, t.x), qinv, t.h);
    qaldiv(t.h, p, nullptr, t.h);
    memset(s, 0, sizeof s);
    qaladd(qalmul(t.h, q, s), t.s2);
    memset(s + 1 + s[0], 0, (modulus_digits - s[0]) * sizeof *s);
    qal::base::wipe(&t, sizeof t);
}

} // namespace

int rsa_sign(uint8_t *out, const uint8_t *m, int32_t mlen, const uint8_t *key)
{
    if (out == nullptr || m == nullptr || key == nullptr)
        return RSA_BAD_ARGUMENT;
    PrivateOperation operation;
    if (!operation.read_key(key))
        return RSA_BAD_ARGUMENT;
    const uint64_t bits = operation.bits();
    if (rsa_is_prermitted_modsize(static_cast<uint32_t>(bits)) == 0)
        return RSA_BAD_SIZE;
    const auto size = static_cast<uint32_t>(bits / 8);
    if (mlen < 0 || static_cast<uint32_t>(mlen) > size)
        return RSA_BAD_ARGUMENT;

    operation.read_message(m, static_cast<uint32_t>(mlen));
    // Exponentiations wipe what is theirs; the products around them leave their factors.
    qal::base::run_on_wiped_stack<8192>([&] {
        if (operation.is_regular())
            operation.run_regular();
        else
            operation.run_irregular();
    });
    write_digits(out, size, operation.s + 1);
    return RSA_OK;
}

int rsa_decrypt(uint8_t *out, const uint8_t *m, int32_t mlen, const uint8_t *key)
{
    return rsa_sign(out, m, mlen, key);
}
