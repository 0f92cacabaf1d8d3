// The public operation: RFC 8017, clauses 5.1.1 and 5.2.2.
#include "base/wipe.hpp"
#include "qalmath64/montgomery.hpp"
#include "rsa/qalrsaex/parameters.hpp"
#include "rsa/qalrsaex/status.hpp"

#include <string.h>

#include <utility>

using namespace qal::math;
using namespace qal::rsa;

namespace {

class PublicKey {
public:
    int read(const uint8_t *key)
    {
        if (!read_parameter(n_, key, most_modulus_bytes) || n_[0] == 0 || n_[1] % 2 == 0)
            return bad_argument;
        if (rsa_is_prermitted_modsize(8 * bytes()) == 0)
            return size_not_permitted;
        return read_parameter(e_, key, most_modulus_bytes) ? success : bad_argument;
    }

    [[nodiscard]] uint32_t bytes() const { return static_cast<uint32_t>(qalbitlen(n_, 8)); }
    [[nodiscard]] size_t digits() const { return n_[0]; }

    // r = x mod n on digits, for a number of at most twice as many.
    void reduce(qald *r, const qald *x) const
    {
        qald remainder[QALBIG_SIZE];
        qaldiv(x, n_, nullptr, remainder);
        memcpy(r, remainder + 1, remainder[0] * sizeof *r);
        memset(r + remainder[0], 0, (digits() - remainder[0]) * sizeof *r);
    }

    void raise(qald *r, const qald *x) const;

private:
    [[nodiscard]] bool bit(uint64_t i) const { return (e_[i / 64 + 1] >> (i % 64) & 1) != 0; }

    qald n_[modulus_digits + 1], e_[modulus_digits + 1];
};

// r = x^e' mod n on digits, with e' the bits of e in reverse, for any x of as many digits as n.
//
// The last bit that is taken is the highest, a one: its product takes x itself, and so leaves
// Montgomery form on the way. The time depends on the key and not on x.
void PublicKey::raise(qald *r, const qald *x) const
{
    const qald *const n = n_ + 1;
    const size_t count = digits();
    const uint64_t bits = qalbitlen(e_, 1);
    const qald one[modulus_digits] = {1};
    if (bits == 0) {
        memcpy(r, one, count * sizeof *r);
        return;
    }

    const qald c = montgomery_constant(n[0]);
    qald form[2 * modulus_digits], buffer[2][2 * modulus_digits];
    qald *power = buffer[0], *other = buffer[1];
    qald square[QALBIG_SIZE];
    reduce(square, qalexpb2(square, 128 * count));
    qal_mont_mul(form, x, square, n, count, c);

    // Up to its lowest bit the squares are those of one.
    uint64_t i = 0;
    while (!bit(i))
        i++;
    if (++i == bits) {
        qal_mont_mul(power, form, one, n, count, c);
    } else {
        memcpy(power, form, count * sizeof *power);
        for (; i < bits; i++) {
            qal_mont_sqr(other, power, n, count, c);
            std::swap(power, other);
            if (bit(i)) {
                qal_mont_mul(other, power, i + 1 == bits ? x : form, n, count, c);
                std::swap(power, other);
            }
        }
    }
    memcpy(r, power, count * sizeof *r);
    qal::base::wipe(form, sizeof form);
    qal::base::wipe(buffer, sizeof buffer);
}

// r = big-endian bytes modulo n, on digits: each step takes as many as n has digits, the first one
// what is left over.
void reduce_message(qald *r, const uint8_t *m, uint32_t mlen, const PublicKey &key)
{
    const size_t digits = key.digits();
    const auto step = static_cast<uint32_t>(8 * digits);
    qald x[2 * modulus_digits + 1];
    memset(r, 0, digits * sizeof *r);
    for (uint32_t done = 0; done < mlen;) {
        const uint32_t length = (mlen - done) % step == 0 ? step : (mlen - done) % step;
        read_digits(x + 1, digits, m + done, length);
        memcpy(x + 1 + digits, r, digits * sizeof *r);
        x[0] = 2 * digits;
        key.reduce(r, qalclip(x));
        done += length;
    }
}

} // namespace

int rsa_encrypt(uint8_t *out, const uint8_t *m, uint32_t mlen, const uint8_t *key)
{
    if (out == nullptr || m == nullptr || key == nullptr)
        return bad_argument;
    PublicKey public_key;
    const int status = public_key.read(key);
    if (status != success)
        return status;
    if (mlen == 0 || mlen > public_key.bytes())
        return bad_message_length;

    qald x[modulus_digits], power[modulus_digits];
    read_digits(x, public_key.digits(), m, mlen);
    public_key.raise(power, x);
    write_digits(out, public_key.bytes(), power);
    qal::base::wipe(x, sizeof x);
    return success;
}

int rsa_verify(const uint8_t *sig, const uint8_t *m, uint32_t mlen, const uint8_t *key)
{
    if (sig == nullptr || m == nullptr || key == nullptr)
        return bad_argument;
    PublicKey public_key;
    const int status = public_key.read(key);
    if (status != success)
        return status;

    qald signature[modulus_digits], message[modulus_digits];
    read_digits(signature, public_key.digits(), sig, public_key.bytes());
    public_key.raise(signature, signature);
    reduce_message(message, m, mlen, public_key);
    return memcmp(signature, message, public_key.digits() * sizeof *message) == 0 ? success
                                                                                  : wrong_signature;
}
