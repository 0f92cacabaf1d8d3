// The public operation: RFC 8017, clauses 5.1.1 and 5.2.2.
#include "base/wipe.hpp"
#include "qalmath64/powers/powers.hpp"
#include "rsa/qalrsaex/parameters.hpp"

#include <string.h>

using namespace qal::rsa;

static_assert(modulus_digits <= qal::math::most_public_digits);

namespace {

class PublicKey {
public:
    int read(const uint8_t *key)
    {
        if (!read_parameter(n_, key, most_modulus_bytes) || n_[0] == 0 || n_[1] % 2 == 0)
            return RSA_BAD_ARGUMENT;
        if (rsa_is_prermitted_modsize(8 * bytes()) == 0)
            return RSA_BAD_SIZE;
        return read_parameter(e_, key, most_modulus_bytes) ? RSA_OK : RSA_BAD_ARGUMENT;
    }

    [[nodiscard]] uint32_t bytes() const { return static_cast<uint32_t>(qalbitlen(n_, 8)); }
    [[nodiscard]] size_t digits() const { return n_[0]; }

    // r = x mod n on digits.
    void reduce(qald *r, const qald *x) const
    {
        qald remainder[QALBIG_SIZE];
        qaldiv(x, n_, nullptr, remainder);
        memcpy(r, remainder + 1, remainder[0] * sizeof *r);
        memset(r + remainder[0], 0, (digits() - remainder[0]) * sizeof *r);
    }

    // r = x^e' mod n, for any x on as many digits.
    void raise(qald *r, const qald *x) const
    {
        if (e_[0] != 0) {
            qal::math::power_public_var({r, x, n_, e_});
        } else {
            memset(r, 0, digits() * sizeof *r);
            r[0] = 1;
        }
    }

private:
    qald n_[modulus_digits + 1], e_[modulus_digits + 1];
};

// r = big-endian bytes modulo n, on digits: each step takes as many as the longest modulus has, the
// first one what is left over.
void reduce_message(qald *r, const uint8_t *m, uint32_t mlen, const PublicKey &key)
{
    constexpr uint32_t step = most_modulus_bytes;
    qald x[2 * modulus_digits + 1];
    memset(r, 0, key.digits() * sizeof *r);
    for (uint32_t done = 0; done < mlen;) {
        const uint32_t left = mlen - done, length = left % step == 0 ? step : left % step;
        read_digits(x + 1, modulus_digits, m + done, length);
        memcpy(x + 1 + modulus_digits, r, key.digits() * sizeof *r);
        x[0] = modulus_digits + key.digits();
        key.reduce(r, qalclip(x));
        done += length;
    }
}

} // namespace

int rsa_encrypt(uint8_t *out, const uint8_t *m, uint32_t mlen, const uint8_t *key)
{
    if (out == nullptr || m == nullptr || key == nullptr)
        return RSA_BAD_ARGUMENT;
    PublicKey public_key;
    const int status = public_key.read(key);
    if (status != RSA_OK)
        return status;
    if (mlen == 0 || mlen > public_key.bytes())
        return RSA_BAD_MESSAGE_LENGTH;

    qald x[modulus_digits], power[modulus_digits];
    read_digits(x, public_key.digits(), m, mlen);
    public_key.raise(power, x);
    write_digits(out, public_key.bytes(), power);
    qal::base::wipe(x, sizeof x);
    return RSA_OK;
}

int rsa_verify(const uint8_t *sig, const uint8_t *m, uint32_t mlen, const uint8_t *key)
{
    if (sig == nullptr || m == nullptr || key == nullptr)
        return RSA_BAD_ARGUMENT;
    PublicKey public_key;
    const int status = public_key.read(key);
    if (status != RSA_OK)
        return status;

    qald signature[modulus_digits], message[modulus_digits];
    read_digits(signature, public_key.digits(), sig, public_key.bytes());
    public_key.raise(signature, signature);
    reduce_message(message, m, mlen, public_key);
    return memcmp(signature, message, public_key.digits() * sizeof *message) == 0
               ? RSA_OK
               : RSA_WRONG_SIGNATURE;
}
