#include "support/vectors.hpp"

#include <qal/streebog.h>

#include <gtest/gtest.h>

using namespace qal::test;

TEST(Streebog, PublishedDigests)
{
    VectorFile("streebog/rfc6986.vec").each("streebog", [](Vector &v) {
        const Bytes message = v.bytes("Message");
        Bytes digest(64);
        streebog_ctx ctx;
        streebog512_update(streebog512_init(&ctx), message.data(), message.size());
        streebog512_final(digest.data(), &ctx);
        EXPECT_EQ(to_hex(digest), to_hex(v.bytes("Digest512"))) << v.place();

        digest.resize(32);
        streebog256_update(streebog256_init(&ctx), message.data(), message.size());
        streebog256_final(digest.data(), &ctx);
        EXPECT_EQ(to_hex(digest), to_hex(v.bytes("Digest256"))) << v.place();
    });
}
