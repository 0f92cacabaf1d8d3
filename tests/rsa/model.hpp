// The making of keys, written plainly with GMP from its description, and a generator for it and the
// library alike.
#ifndef QAL_TESTS_RSA_MODEL_HPP
#define QAL_TESTS_RSA_MODEL_HPP

#include "support/numbers.hpp"

#include <qal/rsa.h>

#include <gmpxx.h>

#include <functional>
#include <set>
#include <stdexcept>
#include <vector>

namespace qal::test {

// Random bytes by the pool, the same to whoever begins with the same seed, and counted.
class PoolGenerator {
public:
    explicit PoolGenerator(uint64_t seed) : state_(seed) {}

    Bytes next()
    {
        calls++;
        Bytes pool(256);
        for (uint8_t &byte : pool) {
            state_ = state_ * 6364136223846793005 + 1442695040888963407;
            byte = style == Style::random ? static_cast<uint8_t>(state_ >> 56) : constant;
        }
        if (style == Style::one_base)
            pool.back() = 2;
        return pool;
    }

    // Random bytes; one byte throughout; zeros and at last a 2, which is one base in a pool.
    enum class Style { random, constant, one_base } style = Style::random;
    uint8_t constant = 0;
    size_t calls = 0;

private:
    uint64_t state_;
};

// Installs a generator for the library while it lives.
class InstalledGenerator {
public:
    explicit InstalledGenerator(PoolGenerator generator) : before_(rsa_gen_rnd)
    {
        current() = generator;
        rsa_gen_rnd = [](uint8_t *buf, uint32_t len) {
            const Bytes pool = current().next();
            if (len != pool.size())
                throw std::logic_error("the pool has another size");
            std::memcpy(buf, pool.data(), len);
            return answer();
        };
    }
    InstalledGenerator(const InstalledGenerator &) = delete;
    InstalledGenerator &operator=(const InstalledGenerator &) = delete;
    ~InstalledGenerator() { rsa_gen_rnd = before_; }

    static size_t calls() { return current().calls; }
    // What the callback returns.
    static int &answer()
    {
        static int value = 0;
        return value;
    }

private:
    static PoolGenerator &current()
    {
        static PoolGenerator generator(0);
        return generator;
    }

    qal_rnd before_;
};

inline mpz_class from_bytes(const Bytes &bytes)
{
    mpz_class value;
    mpz_import(value.get_mpz_t(), bytes.size(), 1, 1, 0, 0, bytes.data());
    return value;
}

inline size_t bits_of(const mpz_class &value)
{
    return value == 0 ? 0 : mpz_sizeinbase(value.get_mpz_t(), 2);
}

inline mpz_class power(const mpz_class &base, const mpz_class &exponent, const mpz_class &modulus)
{
    mpz_class result;
    mpz_powm(result.get_mpz_t(), base.get_mpz_t(), exponent.get_mpz_t(), modulus.get_mpz_t());
    return result;
}

inline mpz_class inverse(const mpz_class &value, const mpz_class &modulus)
{
    mpz_class result;
    if (mpz_invert(result.get_mpz_t(), value.get_mpz_t(), modulus.get_mpz_t()) == 0)
        throw std::domain_error("no inverse");
    return result;
}

// value as big-endian bytes, as many as asked for, zeros first.
inline Bytes to_bytes(const mpz_class &value, size_t size)
{
    Bytes bytes(size);
    const size_t needed = (bits_of(value) + 7) / 8;
    if (needed > size)
        throw std::length_error("too long for its bytes");
    mpz_export(bytes.data() + (size - needed), nullptr, 1, 1, 0, 0, value.get_mpz_t());
    return bytes;
}

inline Bytes minimal_bytes(const mpz_class &value)
{
    return to_bytes(value, (bits_of(value) + 7) / 8);
}

inline Bytes parameter(const Bytes &value)
{
    Bytes bytes = value;
    bytes.insert(bytes.begin(),
                 {static_cast<uint8_t>(value.size() >> 8), static_cast<uint8_t>(value.size())});
    return bytes;
}
inline Bytes parameter(const mpz_class &value)
{
    return parameter(minimal_bytes(value));
}

inline Bytes joined(const std::vector<Bytes> &parts)
{
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

struct ModelPool {
    PoolGenerator *generator;
    mpz_class n;
    Bytes pool;
    size_t position = 0;

    ModelPool(PoolGenerator &g, const mpz_class &number) : generator(&g), n(number), pool(g.next())
    {
    }

    mpz_class draw()
    {
        const size_t bits = bits_of(n), size = (bits + 7) / 8;
        for (;;) {
            if (position + size >= 257) {
                pool = generator->next();
                position = 0;
                continue;
            }
            mpz_class base;
            mpz_import(base.get_mpz_t(), size, 1, 1, 0, 0, pool.data() + position);
            position++;
            mpz_fdiv_r_2exp(base.get_mpz_t(), base.get_mpz_t(), bits);
            if (base >= n)
                base -= n;
            if (base > 1)
                return base;
        }
    }
};

inline bool model_miller_rabin(PoolGenerator &generator, const mpz_class &n, uint32_t rounds)
{
    ModelPool pool(generator, n);
    if (n % 2 == 0)
        return false;
    mpz_class m = n - 1;
    size_t shifts = 0;
    while (m % 2 == 0) {
        m /= 2;
        shifts++;
    }
    for (; rounds > 0; rounds--) {
        mpz_class x = power(pool.draw(), m, n);
        bool passed = x == 1 || x + 1 == n;
        for (size_t s = shifts - 1; s > 0 && !passed; s--) {
            x = x * x % n;
            if (x == 1)
                return false;
            passed = x + 1 == n;
        }
        if (!passed)
            return false;
    }
    return true;
}

inline uint32_t model_rounds(size_t bits)
{
    return bits >= 1300  ? 2
           : bits >= 850 ? 3
           : bits >= 650 ? 4
           : bits >= 550 ? 5
           : bits >= 450 ? 6
           : bits >= 400 ? 7
           : bits >= 350 ? 8
           : bits >= 300 ? 9
           : bits >= 250 ? 12
           : bits >= 200 ? 15
           : bits >= 150 ? 18
                         : 27;
}

inline std::vector<unsigned> primes_up_to(unsigned last)
{
    std::vector<unsigned> primes;
    for (unsigned i = 2; i <= last; i++) {
        bool prime = true;
        for (const unsigned p : primes)
            prime = prime && i % p != 0;
        if (prime)
            primes.push_back(i);
    }
    return primes;
}

inline bool model_is_prime(PoolGenerator &generator, const mpz_class &n)
{
    for (const unsigned p : primes_up_to(997)) {
        if (n % p == 0)
            return false;
    }
    return model_miller_rabin(generator, n, model_rounds(bits_of(n)));
}

// Which of 8128 candidates from x on are tested.
inline std::vector<size_t> model_candidates(const mpz_class &x)
{
    std::vector<bool> marked(8128);
    for (size_t i = 0; i < marked.size(); i++)
        marked[i] = i % 64 < 32 && i % 2 == 1;
    std::vector<unsigned> primes = primes_up_to(3571);
    primes.erase(primes.begin());
    primes[7] = 3;
    for (const unsigned p : primes) {
        const mpz_class remainder = x % p;
        for (size_t i = p - remainder.get_ui(); i < marked.size(); i += p)
            marked[i] = true;
    }
    std::vector<size_t> candidates = {0};
    for (size_t i = 1; i < marked.size(); i++) {
        if (!marked[i])
            candidates.push_back(i);
    }
    return candidates;
}

inline bool model_find_prime(PoolGenerator &generator, mpz_class &x)
{
    for (const size_t i : model_candidates(x)) {
        const mpz_class candidate = x + i;
        if (bits_of(candidate) > 1024)
            return false;
        if (model_miller_rabin(generator, candidate, model_rounds(bits_of(candidate)))) {
            x = candidate;
            return true;
        }
    }
    return false;
}

struct ModelKey {
    size_t bits;
    mpz_class p, q, n, d, dp, dq, qinv;

    // What a call with these random bytes answers.
    int step(PoolGenerator &generator, const Bytes &rnd)
    {
        mpz_class x = from_bytes(Bytes(rnd.begin(), rnd.begin() + static_cast<long>(bits / 16)));
        if (x % 2 == 0)
            x += 1;
        if (bits_of(x) < bits / 2)
            x += mpz_class(1) << (bits / 2 - 1);
        if (!model_find_prime(generator, x) || bits_of(x) != bits / 2 || x % 65537 == 1)
            return 3;
        if (p == 0) {
            p = x;
            return 3;
        }
        if (x == p)
            return 3;
        q = x < p ? x : p;
        p = x < p ? p : x;
        complete();
        return 0;
    }

    void complete()
    {
        n = p * q;
        const mpz_class p1 = p - 1, q1 = q - 1;
        d = inverse(65537, lcm(p1, q1));
        dp = d % p1;
        dq = d % q1;
        qinv = inverse(q, p);
    }

    [[nodiscard]] Bytes private_blob() const
    {
        return joined({parameter(p), parameter(q), parameter(dp), parameter(dq), parameter(qinv)});
    }
    [[nodiscard]] Bytes public_blob() const { return joined({parameter(n), {0, 3, 1, 0, 1}}); }
};

// A key with primes of these sizes, from a test's generator.
inline mpz_class random_prime(Random &random, size_t bits)
{
    for (;;) {
        mpz_class x = from_bytes(random.bytes((bits + 7) / 8));
        mpz_fdiv_r_2exp(x.get_mpz_t(), x.get_mpz_t(), bits);
        mpz_setbit(x.get_mpz_t(), bits - 1);
        mpz_nextprime(x.get_mpz_t(), x.get_mpz_t());
        if (bits_of(x) == bits && x % 65537 != 1)
            return x;
    }
}

inline ModelKey random_key(Random &random, size_t p_bits, size_t q_bits)
{
    ModelKey key{p_bits + q_bits,
                 random_prime(random, p_bits),
                 random_prime(random, q_bits),
                 {},
                 {},
                 {},
                 {},
                 {}};
    if (key.p < key.q && p_bits == q_bits)
        swap(key.p, key.q);
    key.complete();
    return key;
}

} // namespace qal::test

#endif
