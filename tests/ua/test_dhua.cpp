// The shared secret on binary curves.
#include "support/preconditions.hpp"
#include "ua/domains.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

TEST(DhUa, SharedSecrets)
{
    Random random;
    for (TestDomain &domain : test_domains()) {
        SCOPED_TRACE(domain.model().name);
        const ModelCurve &model = domain.model();
        const auto key_len = static_cast<int32_t>(domain.key_len()),
                   field_len = static_cast<int32_t>(domain.field_len());
        for (int round = 0; round < 3; round++) {
            const auto key = [&] {
                return mpz_class(1 + poly_of(random.bytes(domain.key_len())) %
                                         (domain.scalar_bound() - 1));
            };
            const mpz_class d1 = round == 0 ? mpz_class(1) : key(), d2 = key();
            const Bytes own1 = bytes_of(d1, domain.key_len()),
                        own2 = bytes_of(d2, domain.key_len() + 3), pub1 = domain.public_key(d1),
                        pub2 = domain.public_key(d2);
            for (const unsigned cofactor : {0U, 1U, 2U, 4U}) {
                domain.ctx->cofactor = cofactor == 1 ? 2 : cofactor;
                const bool flag = cofactor > 1;
                MarkedBytes z1(domain.field_len()), z2(domain.field_len());
                int32_t len1 = -7, len2 = 0;
                ASSERT_EQ(dhua_zz(domain, key_len, own1.data(), field_len, pub2.data(), flag, &len1,
                                  z1.data()),
                          0);
                // A longer private key, with zeros at the top, is the same number.
                ASSERT_EQ(dhua_zz(domain, key_len + 3, own2.data(), field_len, pub1.data(), flag,
                                  &len2, z2.data()),
                          0);
                EXPECT_EQ(z1.contents(), z2.contents());
                EXPECT_EQ(len1, field_len);
                EXPECT_EQ(len2, field_len);
                const mpz_class k = d1 * d2 * (flag ? cofactor : 1);
                EXPECT_EQ(poly_of(z1.contents()), model.mul(k % model.n, model.G).x);
            }
        }
        // The point of order 2: x = 0 for odd keys, infinity for even ones, zero with either.
        const Bytes zero(domain.field_len());
        for (const int d : {5, 6}) {
            const Bytes priv = bytes_of(d, domain.key_len());
            Bytes out(domain.field_len(), 0xa5);
            int32_t out_len;
            ASSERT_EQ(dhua_zz(domain, key_len, priv.data(), field_len, zero.data(), 0, &out_len,
                              out.data()),
                      0);
            EXPECT_EQ(out, zero);
        }
    }
}

// A key outside the group of the base point: with T of order 2, d (Q + T) is d Q for even d alone.
// The cofactor takes T away.
TEST(DhUa, PointsOutsideTheGroupTellTheKeysParity)
{
    int tried = 0;
    for (TestDomain &domain : test_domains()) {
        const ModelCurve &model = domain.model();
        if (model.cofactor != 4)
            continue; // no compressed key stands for such a point
        SCOPED_TRACE(model.name);
        tried++;
        ModelPoint T = {false, 0, model.b};
        for (uint32_t i = 1; i < model.field.m; i++)
            T.y = model.field.sqr(T.y);
        const ModelPoint Q = model.mul(987654321, model.G);
        const Bytes key = bytes_of(model.compress(model.add(Q, T)), domain.field_len());
        const auto field_len = size_of(key);
        for (const int d : {1000002, 1000003}) {
            const Bytes priv = bytes_of(d, domain.key_len());
            for (const int cofactor : {0, 1}) {
                Bytes out(domain.field_len());
                int32_t out_len;
                ASSERT_EQ(dhua_zz(domain, size_of(priv), priv.data(), field_len, key.data(),
                                  cofactor, &out_len, out.data()),
                          0);
                const Poly shared = model.mul(cofactor != 0 ? 4 * d : d, Q).x;
                EXPECT_EQ(poly_of(out) == shared, cofactor != 0 || d % 2 == 0);
            }
        }
    }
    EXPECT_GT(tried, 0);
}

TEST(DhUa, Statuses)
{
    TestDomain domain(model_curve("m163"));
    const Bytes pub = domain.public_key(77), one = bytes_of(1, 21), none(21);
    Bytes out(21);
    int32_t out_len;
    const auto agree = [&](int32_t priv_len, const Bytes &priv, int32_t pub_len, const Bytes &key,
                           int cofactor) {
        return dhua_zz(domain, priv_len, priv.data(), pub_len, key.data(), cofactor, &out_len,
                       out.data());
    };
    EXPECT_EQ(domain.ctx->key_len, 21);
    EXPECT_EQ(dhua_zz(nullptr, 21, one.data(), 21, pub.data(), 0, &out_len, out.data()), 2);
    EXPECT_EQ(dhua_zz(domain, 21, nullptr, 21, pub.data(), 0, &out_len, out.data()), 2);
    EXPECT_EQ(dhua_zz(domain, 21, one.data(), 21, nullptr, 0, &out_len, out.data()), 2);
    EXPECT_EQ(dhua_zz(domain, 21, one.data(), 21, pub.data(), 0, nullptr, out.data()), 2);
    EXPECT_EQ(dhua_zz(domain, 21, one.data(), 21, pub.data(), 0, &out_len, nullptr), 2);
    for (const int32_t length : {-1, 0, 20}) {
        EXPECT_EQ(agree(length, one, 21, pub, 0), 2);
        EXPECT_EQ(agree(21, one, length, pub, 0), 2);
    }
    Bytes wrong(21);
    wrong[0] = 5;
    wrong[20] = 8; // degree m
    EXPECT_EQ(agree(21, one, 21, wrong, 0), 5);
    // The public key comes before the private one, which comes before the cofactor.
    EXPECT_EQ(agree(21, none, 21, wrong, 0), 5);
    EXPECT_EQ(agree(21, none, 21, pub, 0), 6);
    EXPECT_EQ(agree(21, bytes_of(domain.scalar_bound(), 21), 21, pub, 0), 6);
    domain.ctx->cofactor = 0;
    EXPECT_EQ(agree(21, none, 21, pub, 1), 6);
    EXPECT_EQ(agree(21, one, 21, pub, 1), 3);
    for (const unsigned cofactor : {1U, 3U, 8U}) {
        domain.ctx->cofactor = cofactor;
        EXPECT_EQ(agree(21, one, 21, pub, 1), 3);
        EXPECT_EQ(agree(21, one, 21, pub, 0), 0);
    }
    domain.ctx->cofactor = 2;
    EXPECT_EQ(agree(21, one, 21, pub, -1), 0);
    // The key may have more bytes than it needs, up to whole words.
    Bytes longer = pub;
    longer.resize(24);
    EXPECT_EQ(agree(21, one, 24, longer, 0), 0);
    EXPECT_EQ(poly_of(out), domain.model().mul(77, domain.model().G).x);
    // So may the private one, without an end.
    for (const int32_t length : {22, 24, 25, 1040, 1041, 1048, 1049, 5000}) {
        Bytes padded = bytes_of(1, static_cast<size_t>(length));
        EXPECT_EQ(agree(length, padded, 21, pub, 0), 0) << length;
        EXPECT_EQ(poly_of(out), domain.model().mul(77, domain.model().G).x) << length;
        padded.back() = 1;
        EXPECT_EQ(agree(length, padded, 21, pub, 0), 6) << length;
    }
}

TEST(DhUaDeathTest, Preconditions)
{
    TestDomain domain(model_curve("m163"));
    const uint8_t bytes[32] = {1};
    uint8_t out[32];
    int32_t out_len;
    EXPECT_PRECONDITION(dhua_zz(domain, 21, bytes, 25, bytes, 0, &out_len, out),
                        "(0<*u) && (len <= (*u) * (sizeof(qal2d)))", "../src/ua/qal2poly",
                        "qal2pfromb");
}
