// The private operation of RSA and what it stands on, for keys of every size.
#include "secrecy.hpp"

#include <qal/rsa.h>

#include <cstring>

using namespace qal::test;

namespace {

// A private key of random numbers with primes of this many digits: whether they are primes makes no
// difference to what is done with them.
Bytes random_key(Random &random, size_t digits)
{
    Bytes key;
    for (int i = 0; i < 5; i++) {
        Bytes number = random.bytes(8 * digits);
        number.front() |= 0x80;
        number.back() |= 1;
        key.push_back(static_cast<uint8_t>(number.size() >> 8));
        key.push_back(static_cast<uint8_t>(number.size()));
        key.insert(key.end(), number.begin(), number.end());
    }
    return key;
}

} // namespace

TEST_F(Secrecy, RsaPrivateOperation)
{
    for (const size_t digits : {4U, 8U, 12U, 16U}) {
        SCOPED_TRACE(digits);
        Secret key(random_key(random, digits)), message(random.bytes(16 * digits));
        for (size_t i = 0; i < 5; i++)
            reveal(key.data() + i * (8 * digits + 2), 2);
        Bytes out(16 * digits);
        int status = -1;
        EXPECT_EQ(secret_dependences([&] {
                      status = rsa_sign(out.data(), message.data(),
                                        static_cast<int32_t>(message.size()), key.data());
                  }),
                  0);
        reveal(&status, sizeof status);
        EXPECT_EQ(status, 0);
        reveal(out.data(), out.size());
    }
}

TEST_F(Secrecy, RsaPower)
{
    for (size_t n = 1; n <= 16; n++) {
        SCOPED_TRACE(n);
        const auto number = [&](size_t digits) {
            std::vector<qald> words(digits + 1);
            const Bytes bytes = random.bytes(8 * digits);
            std::memcpy(words.data() + 1, bytes.data(), bytes.size());
            words[0] = digits;
            words[1] |= 1;
            words[digits] |= qald{1} << 63;
            conceal(words.data() + 1, 8 * digits);
            return words;
        };
        std::vector<qald> x = number(n), e = number(n), m = number(n), r(n + 1);
        EXPECT_EQ(secret_dependences([&] { rsapowmod(x.data(), e.data(), m.data(), r.data()); }),
                  0);
        for (std::vector<qald> *words : {&x, &e, &m, &r})
            reveal(words->data(), 8 * words->size());
    }
}
