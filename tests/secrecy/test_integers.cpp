// Kernels on digits, whatever the digits are.
#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/kernels/multiply.hpp"
#include "secrecy.hpp"
#include "support/sweeps.hpp"

using namespace qal::test;

namespace {

qald *digits(Secret &secret)
{
    return reinterpret_cast<qald *>(secret.data());
}

} // namespace

TEST_F(Secrecy, IntegerKernels)
{
    for (size_t n = 1; n <= 40; n++) {
        SCOPED_TRACE(n);
        Secret a(random.bytes(8 * n)), b(random.bytes(8 * n)), p(random.bytes(8 * n));
        Secret r(random.bytes(16 * n)), s(random.bytes(8));
        const qald c = digits(s)[0];
        EXPECT_EQ(secret_dependences([&] {
                      qal_mul_row(digits(r), digits(a), n, c);
                      qal_addmul_row(digits(r), digits(a), n, c);
                      qal_submul_row(digits(r), digits(a), n, c);
                      qal_add_row(digits(r), digits(a), digits(b), n);
                      qal_sub_row(digits(r), digits(a), digits(b), n);
                      qal_add_signed_row(digits(r), digits(a), digits(b), n, 0 - (c & 1));
                      qal_mul_digits(digits(r), digits(a), n, digits(b), n);
                      qal_sqr_digits(digits(r), digits(a), n);
                      qal_multiply(digits(r), digits(a), n, digits(b), n);
                      qal_square(digits(r), digits(a), n);
                      qal_redc_digits(digits(r), digits(p), n, c);
                      qal_mont_mul(digits(r), digits(a), digits(b), digits(p), n, c);
                      qal_mont_sqr(digits(r), digits(a), digits(p), n, c);
                  }),
                  0);
    }
}
