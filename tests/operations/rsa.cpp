#include "operations/operations.hpp"

#include <stdexcept>
#include <tuple>

namespace qal::test {

void Operations::add_rsa()
{
    auto *const answer = make<uint64_t>();
    auto *const status = make<int>();

    // Keys and what is done with them, by size
    for (const uint32_t bits : {512U, 1024U, 1536U, 2048U}) {
        const std::string label = std::to_string(bits) + " bits";
        auto *const key = make<rsa_keygen_ctx>();
        const uint32_t half = bits / 16;
        std::ignore = rsa_keygen_init(key, bits);
        do {
            uint8_t *const random = bytes(half);
            random[0] |= 0xc0;
            *status = rsa_keygen(key, random, half);
        } while (*status == 3);
        const uint32_t priv_size = 5 * half + 10, pub_size = 2 * half + 7;
        auto *const priv = make<uint8_t>(priv_size), *const pub = make<uint8_t>(pub_size);
        if (*status != 0 || rsa_get_privkey(key, priv, priv_size) != 0 ||
            rsa_get_pubkey(key, pub, pub_size) != 0)
            throw std::runtime_error("no key");

        const uint32_t size = bits / 8;
        uint8_t *const message = bytes(size), *const out = make<uint8_t>(size);
        message[0] &= 0x3f;
        add("rsa_sign", label,
            [=] { *status = rsa_sign(out, message, static_cast<int32_t>(size), priv); },
            {whole(out, size), whole(status)});
        add("rsa_decrypt", label,
            [=] { *status = rsa_decrypt(out, message, static_cast<int32_t>(size), priv); },
            {whole(out, size), whole(status)});
        add("rsa_encrypt", label, [=] { *status = rsa_encrypt(out, message, size, pub); },
            {whole(out, size), whole(status)});
        auto *const signature = make<uint8_t>(size);
        std::ignore = rsa_sign(signature, message, static_cast<int32_t>(size), priv);
        add("rsa_verify", label, [=] { *status = rsa_verify(signature, message, size, pub); },
            {whole(status)});
        // A message of many times the modulus is reduced.
        constexpr uint32_t long_size = 10000;
        uint8_t *const long_message = bytes(long_size);
        auto *const long_signature = make<uint8_t>(size);
        sweep("rsa_verify",
              [=] { *status = rsa_verify(long_signature, long_message, long_size, pub); },
              {whole(status)});

        // The last step in the making of this key: the smaller prime is near.
        auto *const begun = make<rsa_keygen_ctx>();
        std::ignore = rsa_keygen_init(begun, bits);
        qalcopy(begun->p, key->p);
        auto *const random = make<uint8_t>(half);
        qald *const near = room();
        qalsub(qalcopy(near, key->q), QALBIG_TWO);
        qaltobase256(random, half, near);
        add("rsa_keygen", label, [=] { *status = rsa_keygen(begun, random, half); },
            {whole(begun), whole(status)});
        auto *const whole_key = make<rsa_keygen_ctx>();
        *whole_key = *key;
        add("rsa_gen_crt", label, [=] { rsa_gen_crt(whole_key); }, {whole(whole_key)});
        add("rsa_get_privkey", label, [=] { *status = rsa_get_privkey(key, priv, priv_size); },
            {whole(priv, priv_size), whole(status)});
        add("rsa_get_pubkey", label, [=] { *status = rsa_get_pubkey(key, pub, pub_size); },
            {whole(pub, pub_size), whole(status)});
        auto *const empty = make<rsa_keygen_ctx>();
        if (bits == 2048) {
            add("rsa_keygen_init", "", [=] { *status = rsa_keygen_init(empty, bits); },
                {whole(empty), whole(status)});
            // A random place to begin at: most candidates are composite.
            uint8_t *const anywhere = bytes(half);
            sweep("rsa_keygen",
                  [=] {
                      for (const uint32_t each : {512U, 1024U, 1536U, 2048U}) {
                          std::ignore = rsa_keygen_init(empty, each);
                          *status = rsa_keygen(empty, anywhere, half);
                      }
                  },
                  {whole(empty), whole(status)});
        }

        // Numbers of the size of a prime
        qald *const p = key->p, *const r = room();
        add("RabinMiller", label, [=] { *status = RabinMiller(p, 2); }, {whole(status)});
        add("isPrime", label, [=] { *status = isPrime(p); }, {whole(status)});
        add("isRSAPrime", label, [=] { *status = isRSAPrime(p, bits); }, {whole(status)});
        add("rsa_prime_ok", label, [=] { *status = rsa_prime_ok(p, bits); }, {whole(status)});
        add("find_prime_near", label, [=] { *status = find_prime_near(near); },
            {digits(near), whole(status)});
        qald *const q = key->q, *const inverse = room();
        qalcopy(inverse, q);
        add("GCD", label, [=] { GCD(p, q, r); }, {digits(r)});
        add("inv_mod_extgcd", label, [=] { inv_mod_extgcd(inverse, p); }, {digits(inverse)});
        qald *const x = room();
        qaldiv(number(p[0]), p, nullptr, x);
        add("rsapowmod", label, [=] { rsapowmod(x, q, p, r); }, {digits(r)});
    }

    // All sizes
    {
        qald *const a = number(128), *const b = number(128), *const m = number(128),
                    *const r = room();
        sweep("GCD",
              [=] {
                  for (a[0] = 1; a[0] <= 128; a[0] += 7) {
                      for (b[0] = 1; b[0] <= 128; b[0] += 31)
                          GCD(a, b, r);
                  }
              },
              {digits(r)});
        // A power of two has no divisor in common with an odd number.
        sweep("inv_mod_extgcd",
              [=] {
                  for (m[0] = 1; m[0] <= 63; m[0]++)
                      inv_mod_extgcd(qalexpb2(r, 64 * m[0] - 5), m);
              },
              {digits(r)});
        qald *const e = number(16);
        sweep("rsapowmod",
              [=] {
                  for (m[0] = 1; m[0] <= 16; m[0]++) {
                      for (const qald n : {qald{1}, m[0], qald{128}}) {
                          a[0] = n;
                          rsapowmod(a, e, m, r);
                      }
                  }
              },
              {digits(r)});
        sweep("RabinMiller",
              [=] {
                  for (m[0] = 1; m[0] <= 16; m[0]++)
                      *status = RabinMiller(m, 2);
              },
              {whole(status)});
        qald *const x = number(16);
        sweep("find_prime_near",
              [=] {
                  for (qald n = 1; n <= 16; n += 5) {
                      qalcopy(r, x);
                      r[0] = n;
                      *status = find_prime_near(r);
                  }
              },
              {digits(r), whole(status)});
    }

    // Keys made to be odd: primes of different lengths, numbers longer than their primes
    {
        uint8_t *const message = bytes(192), *const out = make<uint8_t>(192);
        for (const size_t digits_of_q : {8U, 12U}) {
            auto *const key = make<uint8_t>(5 * 130);
            uint8_t *end = key;
            for (const size_t n :
                 {24 - digits_of_q, digits_of_q, size_t{16}, digits_of_q, 24 - digits_of_q}) {
                qald *const x = number(n);
                x[n] |= qald{1} << 63;
                end += save_rsa_key_prm(end, x);
            }
            sweep("rsa_sign", [=] { *status = rsa_sign(out, message, 192, key); },
                  {whole(out, 192), whole(status)});
            sweep("rsa_decrypt", [=] { *status = rsa_decrypt(out, message, 192, key); },
                  {whole(out, 192), whole(status)});
        }
    }

    // The random pool
    {
        auto *const pool = make<rsa_keygen_rp>();
        qald *const n = number(16), *const r = room();
        add("rsa_keygen_rp_init", "", [=] { *status = rsa_keygen_rp_init(pool, n); },
            {whole(pool), whole(status)});
        auto *const filled = make<rsa_keygen_rp>();
        rsa_keygen_rp_init(filled, n);
        add("rsa_keygen_rp_get", "1024 bits", [=] { rsa_keygen_rp_get(filled, r); },
            {whole(filled), digits(r)});
        sweep("rsa_keygen_rp_get",
              [=] {
                  for (int i = 0; i < 300; i++)
                      rsa_keygen_rp_get(filled, r);
              },
              {whole(filled), digits(r)});
    }

    // Bit strings, signed numbers, key parameters
    {
        qald *const bits = make<qald>(QALBIG_SIZE);
        qalbscr(bits, 8128, 0);
        add("qalbscr", "8320 bits", [=] { qalbscr(bits, 8320, 5); }, {digits(bits)});
        add("qalbslen", "", [=] { *answer = qalbslen(bits); }, {whole(answer)});
        add("qalbssetbit", "", [=] { *answer = qalbssetbit(bits, 8000, 1); },
            {digits(bits), whole(answer)});
        add("qalbsnextval", "8128 bits", [=] { *answer = qalbsnextval(bits, 0, 1); },
            {whole(answer)});

        auto *const a = make<qalsi>(), *const b = make<qalsi>(), *const d = make<qalsi>();
        qald *const x = number(64), *const y = number(30), *const q = number(30);
        qalsicr(a, x);
        qalsicr(b, y);
        add("qalsicr", "64 digits", [=] { qalsicr(d, x); }, {whole(d)});
        add("qalsicopy", "64 digits", [=] { qalsicopy(d, a); }, {whole(d)});
        add("qalsisub", "64 digits", [=] { qalsisub(a, b); }, {whole(a)});
        add("qalsisubmul", "64 digits", [=] { qalsisubmul(d, a, q, b); }, {whole(d)});

        uint8_t *const parameter = bytes(258), *const out = make<uint8_t>(258);
        parameter[0] = 1;
        parameter[1] = 0;
        qald *const r = room(), *const n = number(32);
        add("load_rsa_key_prm", "256 bytes", [=] { *answer = load_rsa_key_prm(r, parameter); },
            {digits(r), whole(answer)});
        add("save_rsa_key_prm", "256 bytes", [=] { *answer = save_rsa_key_prm(out, n); },
            {whole(out, 258), whole(answer)});
        add("rsa_is_prermitted_modsize", "", [=] { *answer = rsa_is_prermitted_modsize(1536); },
            {whole(answer)});
    }
}

} // namespace qal::test
