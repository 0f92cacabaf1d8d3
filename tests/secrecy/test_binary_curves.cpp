// Private keys and one-time secrets of DSTU 4145-2002, from the source to the signature.
#include "domain.hpp"
#include "secrecy.hpp"

using namespace qal::test;

namespace {

Random *source;

int secret_random(uint8_t *buf, uint32_t len)
{
    const Bytes bytes = source->bytes(len);
    std::copy(bytes.begin(), bytes.end(), buf);
    conceal(buf, len);
    return 0;
}

} // namespace

TEST_F(Secrecy, Dstu4145)
{
    source = &random;
    for (const char *name : {"m163", "m191", "m257", "m431"}) {
        SCOPED_TRACE(name);
        dstu_ctx ctx;
        set_up_domain(ctx, name);
        dstu_bspool pool;
        ASSERT_EQ(dstu_bspool_init(&pool, &ctx, secret_random), 0);
        Bytes pub(static_cast<size_t>(ctx.field_len)), sig(static_cast<size_t>(ctx.sig_len));
        Secret priv(Bytes(static_cast<size_t>(ctx.key_len))), shared{Bytes(pub.size())};
        const Bytes hash = random.bytes(32);
        auto priv_len = ctx.key_len, pub_len = ctx.field_len, sig_len = ctx.sig_len;
        int32_t shared_len;
        int status = -1;
        EXPECT_EQ(secret_dependences([&] {
                      status =
                          dstu_gen_keys(&ctx, &pool, &priv_len, priv.data(), &pub_len, pub.data());
                  }),
                  0);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(secret_dependences([&] {
                      status = dstu_sign(&ctx, &pool, priv_len, priv.data(), 256, hash.data(),
                                         &sig_len, sig.data());
                  }),
                  0);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(dstu_verify(&ctx, pub_len, pub.data(), 256, hash.data(), sig_len, sig.data()), 0);
        EXPECT_EQ(secret_dependences([&] {
                      status = dhua_zz(&ctx, priv_len, priv.data(), pub_len, pub.data(), 1,
                                       &shared_len, shared.data());
                  }),
                  0);
        ASSERT_EQ(status, 0);
        // Step by step.
        EXPECT_EQ(secret_dependences([&] {
                      while (dstu_bspool_step(&pool) == 0) {
                      }
                  }),
                  0);
    }
}
