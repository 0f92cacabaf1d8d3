// RSA with keys that are whatever the fuzzer makes of them: statuses as documented, results by GMP.
#include "numbers.hpp"
#include "rsa/model.hpp"

using namespace qal::fuzz;

namespace {

// Sound keys, of all sizes and with primes of the same and of different lengths.
const ModelKey &sound_key(size_t i)
{
    static const std::vector<ModelKey> keys = [] {
        Random random;
        std::vector<ModelKey> made;
        for (const auto &[p, q] : {std::pair<size_t, size_t>{256, 256},
                                   {512, 512},
                                   {768, 768},
                                   {1024, 1024},
                                   {300, 212},
                                   {192, 320},
                                   {505, 519}})
            made.push_back(random_key(random, p, q));
        return made;
    }();
    return keys[i % keys.size()];
}

// A parameter that is that of a sound key, that with a bit changed, any number with zeros before
// it, or any length with as many bytes as may be read.
Bytes some_parameter(Input &in, const mpz_class &sound)
{
    mpz_class value = sound;
    switch (in.below(4)) {
    case 0:
        break;
    case 1:
        mpz_combit(value.get_mpz_t(), in.below(2048));
        break;
    case 2: {
        Bytes bytes(in.below(16));
        const Bytes digits = minimal_bytes(number(in, 32));
        bytes.insert(bytes.end(), digits.begin(), digits.end());
        return parameter(bytes);
    }
    default: {
        const size_t length = in.below(0x10000);
        Bytes bytes = {static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
        const Bytes rest = in.bytes(std::min<size_t>(length, 257));
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        return bytes;
    }
    }
    return parameter(value);
}

// The parameters of a key as far as they can be read, and the bytes that this takes.
struct Parsed {
    std::vector<mpz_class> values;
    Bytes bytes;

    Parsed(const std::vector<Bytes> &parameters, size_t most)
    {
        for (const Bytes &p : parameters) {
            const size_t length = static_cast<size_t>(p[0]) << 8 | p[1];
            if (length == 0 || length > most) {
                bytes.insert(bytes.end(), p.begin(), p.begin() + 2);
                return;
            }
            bytes.insert(bytes.end(), p.begin(), p.end());
            values.push_back(from_bytes(Bytes(p.begin() + 2, p.end())));
        }
    }
};

bool is_permitted(size_t bits)
{
    return bits == 512 || bits == 1024 || bits == 1536 || bits == 2048;
}

bool is_odd(const mpz_class &x)
{
    return x % 2 != 0;
}

void check_private(Input &in)
{
    const ModelKey &sound = sound_key(in.below(8));
    std::vector<Bytes> parameters;
    for (const mpz_class &value : {sound.p, sound.q, sound.dp, sound.dq, sound.qinv})
        parameters.push_back(some_parameter(in, value));
    const Parsed key(parameters, 128);

    int expected = 0;
    size_t size = 0;
    if (key.values.size() < 5 || !is_odd(key.values[0]) || !is_odd(key.values[1])) {
        expected = 2;
    } else {
        const size_t bits = bits_of(key.values[0]) + bits_of(key.values[1]);
        size = is_permitted(bits) ? bits / 8 : 0;
        expected = size > 0 ? 0 : 1;
    }
    auto mlen = static_cast<int32_t>(in.flag() ? size : in.below(320));
    if (expected == 0 && static_cast<size_t>(mlen) > size)
        expected = 2;
    const Bytes message = in.bytes(static_cast<size_t>(mlen));
    if (in.byte() == 255) {
        mlen = -mlen - 1;
        expected = expected == 0 ? 2 : expected;
    }

    const auto edge = in.edge();
    GuardedBytes blob(key.bytes, edge), m(message, edge), out(Bytes(size, 0xa5), edge);
    blob.make_read_only();
    m.make_read_only();
    const auto operation = in.flag() ? rsa_sign : rsa_decrypt;
    ASSERT_EQ(operation(nullptr, m.data(), mlen, blob.data()), 2);
    ASSERT_EQ(operation(out.data(), nullptr, mlen, blob.data()), 2);
    ASSERT_EQ(operation(out.data(), m.data(), mlen, nullptr), 2);
    ASSERT_EQ(operation(out.data(), m.data(), mlen, blob.data()), expected);
    if (expected != 0) {
        ASSERT_EQ(out.contents(), Bytes(size, 0xa5));
        return;
    }
    const mpz_class x = from_bytes(message), &p = key.values[0], &q = key.values[1];
    const mpz_class s1 = power(x, key.values[2], p), s2 = power(x, key.values[3], q);
    mpz_class h = (s1 - s2) * key.values[4];
    mpz_mod(h.get_mpz_t(), h.get_mpz_t(), p.get_mpz_t());
    const mpz_class s = s2 + h * q;
    ASSERT_EQ(out.contents(), to_bytes(s, size));

    // Over its message, which begins anywhere within the result or before it.
    const size_t apart = in.below(size + 1);
    Bytes both(size + std::max(apart, message.size()));
    std::copy(message.begin(), message.end(), both.begin());
    GuardedBytes place(both);
    ASSERT_EQ(operation(place.data() + apart, place.data(), mlen, blob.data()), 0);
    const Bytes after = place.contents();
    const auto begin = after.begin() + static_cast<ptrdiff_t>(apart);
    ASSERT_EQ(Bytes(begin, begin + static_cast<ptrdiff_t>(size)), to_bytes(s, size));
}

// The status that a public key gives, its numbers if it is 0, and all of its bytes.
struct PublicKey {
    int status = 0;
    mpz_class n, e;
    size_t size = 0;
    Bytes bytes;

    explicit PublicKey(Input &in)
    {
        const ModelKey &sound = sound_key(in.below(8));
        const Bytes modulus = some_parameter(in, sound.n);
        const Bytes exponent = some_parameter(in, in.flag() ? mpz_class(65537) : number(in, 32));
        const Parsed parsed({modulus, exponent}, 256);
        bytes = parsed.bytes;
        if (parsed.values.empty() || !is_odd(parsed.values[0])) {
            status = 2;
            return;
        }
        n = parsed.values[0];
        size = (bits_of(n) + 7) / 8;
        if (!is_permitted(8 * size))
            status = 1;
        else if (parsed.values.size() < 2)
            status = 2;
        else
            e = parsed.values[1];
    }

    // x^e with the bits of e in reverse, modulo n.
    [[nodiscard]] mpz_class raised(const mpz_class &x) const
    {
        mpz_class reversed;
        const size_t bits = bits_of(e);
        for (size_t i = 0; i < bits; i++) {
            if (mpz_tstbit(e.get_mpz_t(), i) != 0)
                mpz_setbit(reversed.get_mpz_t(), bits - 1 - i);
        }
        return power(x, reversed, n);
    }
};

void check_encryption(Input &in)
{
    const PublicKey key(in);
    const size_t mlen = in.flag() ? key.size : in.below(300);
    const Bytes message = in.bytes(mlen);
    const auto length = static_cast<uint32_t>(mlen);
    int expected = key.status;
    if (expected == 0 && (mlen == 0 || mlen > key.size))
        expected = 7;

    const auto edge = in.edge();
    GuardedBytes blob(key.bytes, edge), m(message, edge), out(Bytes(key.size, 0xa5), edge);
    blob.make_read_only();
    ASSERT_EQ(rsa_encrypt(nullptr, m.data(), length, blob.data()), 2);
    ASSERT_EQ(rsa_encrypt(out.data(), nullptr, length, blob.data()), 2);
    ASSERT_EQ(rsa_encrypt(out.data(), m.data(), length, nullptr), 2);
    ASSERT_EQ(rsa_encrypt(out.data(), m.data(), length, blob.data()), expected);
    ASSERT_EQ(m.contents(), message);
    if (expected != 0) {
        ASSERT_EQ(out.contents(), Bytes(key.size, 0xa5));
        return;
    }
    const Bytes result = to_bytes(key.raised(from_bytes(message)), key.size);
    ASSERT_EQ(out.contents(), result);
    if (mlen == key.size) {
        ASSERT_EQ(rsa_encrypt(m.data(), m.data(), length, blob.data()), 0);
        ASSERT_EQ(m.contents(), result);
    }
}

void check_verification(Input &in)
{
    const PublicKey key(in);
    const Bytes signature = in.bytes(key.size);
    const auto edge = in.edge();
    // A message that belongs to the signature, for this is not found by chance, or any.
    mpz_class power;
    Bytes message;
    if (key.status == 0)
        power = key.raised(from_bytes(signature));
    if (key.status == 0 && in.flag())
        message = minimal_bytes(power + key.n * number(in, 40));
    else
        message = in.bytes(in.below(700));
    if (in.flag())
        message.insert(message.begin(), in.below(16), uint8_t{0});

    GuardedBytes blob(key.bytes, edge), m(message, edge), sig(signature, edge);
    for (GuardedBytes *bytes : {&blob, &m, &sig})
        bytes->make_read_only();
    const auto length = static_cast<uint32_t>(message.size());
    ASSERT_EQ(rsa_verify(nullptr, m.data(), length, blob.data()), 2);
    ASSERT_EQ(rsa_verify(sig.data(), nullptr, length, blob.data()), 2);
    ASSERT_EQ(rsa_verify(sig.data(), m.data(), length, nullptr), 2);
    int expected = key.status;
    if (expected == 0)
        expected = from_bytes(message) % key.n == power ? 0 : 6;
    ASSERT_EQ(rsa_verify(sig.data(), m.data(), length, blob.data()), expected);
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_private) checks[] = {check_private, check_encryption,
                                                          check_verification};
    in.one_of(checks)(in);
}
