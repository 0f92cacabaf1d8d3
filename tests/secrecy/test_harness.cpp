// That what the other tests look for would be found.
#include "secrecy.hpp"

#include "base/secrecy.hpp"

using namespace qal::test;

TEST_F(Secrecy, BranchesAreSeen)
{
    Secret secret(random.bytes(8));
    volatile int sink = 0;
    EXPECT_EQ(secret_dependences([&] {
                  if (*static_cast<volatile uint8_t *>(secret.data()) & 1)
                      sink = 1;
              }),
              1);
}

TEST_F(Secrecy, AddressesAreSeen)
{
    static volatile uint8_t table[256];
    Secret secret(random.bytes(8));
    volatile uint8_t sink = 0;
    EXPECT_EQ(secret_dependences([&] { sink = table[*secret.data()]; }), 1);
}

TEST_F(Secrecy, ArithmeticIsNot)
{
    Secret secret(random.bytes(8));
    EXPECT_EQ(secret_dependences([&] {
                  for (size_t i = 1; i < secret.size(); i++)
                      secret.data()[0] = static_cast<uint8_t>(secret.data()[0] * secret.data()[i]);
              }),
              0);
}

TEST_F(Secrecy, NorWhatIsDeclassified)
{
    Secret secret(random.bytes(8));
    volatile int sink = 0;
    EXPECT_EQ(secret_dependences([&] {
                  if (qal::base::declassified(*secret.data()) & 1)
                      sink = 1;
              }),
              0);
}
