// Primes and keys from random bytes that the fuzzer chooses, against the plain model of the tests.
#include "numbers.hpp"
#include "rsa/model.hpp"

using namespace qal::fuzz;

namespace {

void check_parameters(Input &in)
{
    const Bytes bytes = in.bytes(2 + in.below(300));
    const size_t length = static_cast<size_t>(bytes[0]) << 8 | bytes[1];
    Bytes whole = bytes;
    whole.resize(2 + (length > 256 ? 0 : length));
    const auto edge = in.edge();
    GuardedBytes source(whole, edge);
    source.make_read_only();
    Number x(77, std::max<size_t>(1, length > 256 ? 0 : (length + 7) / 8), edge);
    if (length > 256) {
        ASSERT_EQ(load_rsa_key_prm(x, source.data()), 0xffffffff);
        ASSERT_EQ(value_of(x), 77);
        return;
    }
    const mpz_class value = from_bytes(Bytes(whole.begin() + 2, whole.end()));
    ASSERT_EQ(load_rsa_key_prm(x, source.data()), length + 2);
    expect_number(x, x, value);
    const Bytes written = parameter(value);
    GuardedBytes out(written.size(), edge);
    ASSERT_EQ(save_rsa_key_prm(out.data(), x), written.size());
    ASSERT_EQ(out.contents(), written);
}

// A key, from as many calls as there is input for.
void check_key(Input &in)
{
    rsa_keygen_ctx other;
    const auto any = static_cast<uint32_t>(in.word(2));
    const bool permitted = any == 512 || any == 1024 || any == 1536 || any == 2048;
    ASSERT_EQ(rsa_is_prermitted_modsize(any) != 0, permitted);
    ASSERT_EQ(rsa_keygen_init(&other, any), permitted ? 0 : 1);
    const uint32_t bits = in.byte() < 240 ? 512 : 512 * (1 + static_cast<uint32_t>(in.below(4)));
    PoolGenerator generator(in.word(2));
    const InstalledGenerator installed(generator);
    ModelKey key{bits, {}, {}, {}, {}, {}, {}, {}};
    rsa_keygen_ctx ctx;
    ASSERT_EQ(rsa_keygen_init(&ctx, bits), 0);
    for (int calls = 0, expected = 3; expected == 3 && calls < 4; calls++) {
        const Bytes random = in.bytes(bits / 16);
        GuardedBytes given(random, in.edge());
        given.make_read_only();
        ASSERT_EQ(rsa_keygen(&ctx, given.data(), bits / 16 - 1), 4);
        expected = key.step(generator, random);
        ASSERT_EQ(rsa_keygen(&ctx, given.data(), bits / 16), expected);
        ASSERT_EQ(InstalledGenerator::calls(), generator.calls);
        if (expected != 0) {
            ASSERT_EQ(value_of(ctx.p), key.p);
        }
    }
    uint8_t few[2];
    ASSERT_EQ(rsa_keygen(nullptr, few, 0), 2);
    ASSERT_EQ(rsa_keygen(&ctx, nullptr, bits / 16), 2);
    ASSERT_EQ(rsa_keygen_init(nullptr, bits), 2);
    ASSERT_EQ(rsa_get_privkey(nullptr, few, 0), 2);
    ASSERT_EQ(rsa_get_pubkey(&ctx, nullptr, 0), 2);
    ASSERT_EQ(rsa_get_privkey(&ctx, few, 0), key.q == 0 ? 2 : 5);
    ASSERT_EQ(rsa_get_pubkey(&ctx, few, 0), key.q == 0 ? 2 : 5);
    if (key.q == 0)
        return;
    const uint32_t private_room = 5 * (bits / 16) + 10, public_room = bits / 8 + 7;
    GuardedBytes private_key(private_room), public_key(public_room);
    ASSERT_EQ(rsa_get_privkey(&ctx, private_key.data(), private_room), 0);
    ASSERT_EQ(rsa_get_pubkey(&ctx, public_key.data(), public_room), 0);
    Bytes written = private_key.contents(), expected = key.private_blob();
    written.resize(expected.size());
    ASSERT_EQ(written, expected);
    written = public_key.contents(), expected = key.public_blob();
    written.resize(expected.size());
    ASSERT_EQ(written, expected);
}

void check_primality(Input &in)
{
    const uint64_t seed = in.word(2);
    mpz_class x = number(in, 10);
    if (in.flag())
        mpz_nextprime(x.get_mpz_t(), x.get_mpz_t());
    if (x < 2)
        x = 2;
    Number number(x, digits_of(x), in.edge());
    const auto rounds = static_cast<uint32_t>(in.below(5));
    PoolGenerator generator(seed);
    const InstalledGenerator installed(generator);
    ASSERT_EQ(RabinMiller(number, rounds) != 0, model_miller_rabin(generator, x, rounds));
    const size_t bits = in.flag() ? 2 * bits_of(x) : in.below(2100);
    const bool fits = bits_of(x) == bits / 2 && x % 65537 != 1;
    ASSERT_EQ(rsa_prime_ok(number, bits) != 0, fits);
    const bool prime = model_is_prime(generator, x);
    ASSERT_EQ(isPrime(number) != 0, prime);
    ASSERT_EQ(isRSAPrime(number, bits) != 0, fits && prime && model_is_prime(generator, x));
}

void check_search(Input &in)
{
    PoolGenerator generator(in.word(2));
    const InstalledGenerator installed(generator);
    mpz_class x =
        in.flag() ? mpz_class(power_of_two(1024) - 1 - 2 * in.below(0x8000)) : odd_number(in, 4);
    if (x < 3)
        x = 3;
    Number number(x, 16, in.edge());
    const bool found = model_find_prime(generator, x);
    ASSERT_EQ(find_prime_near(number) != 0, found);
    expect_number(number, number, x);
    ASSERT_EQ(InstalledGenerator::calls(), generator.calls);
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_key) checks[] = {check_parameters, check_key, check_primality,
                                                      check_search};
    in.one_of(checks)(in);
}
