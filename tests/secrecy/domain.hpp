// A domain for tests of operations on secrets.
#pragma once

#include "support/vectors.hpp"

#include <qal/dhua.h>

#include <stdexcept>

namespace qal::test {

inline void set_up_domain(dstu_ctx &ctx, const std::string &name)
{
    bool found = false;
    VectorFile file("dstu4145/dstu4145.vec");
    file.each("curve", [&](Vector &vector) {
        uint32_t f[4];
        const std::string field = vector.text("Field");
        size_t at = 0;
        for (uint32_t &exponent : f) {
            exponent = static_cast<uint32_t>(std::stoul(field.substr(at)));
            at = field.find(',', at) + 1;
        }
        const Bytes b = vector.bytes("B"), n = vector.bytes("N");
        const auto a = static_cast<uint32_t>(vector.number("A"));
        const auto cofactor = vector.number("Cofactor");
        Bytes G = vector.bytes("X"), y = vector.bytes("Y");
        if (vector.text("Name") != name)
            return;
        found = true;
        bool good = dstu_init_curve(&ctx, f[0], f[1], f[2], f[3], a, b.data(),
                                    static_cast<int32_t>(b.size())) == 0;
        const auto size = static_cast<size_t>(ctx.field_len);
        G.resize(size);
        y.resize(size);
        G.insert(G.end(), y.begin(), y.end());
        Bytes compressed(size);
        auto length = ctx.field_len;
        good = good && dstu_cppubk(&ctx, compressed.data(), &length, G.data()) == 0 &&
               dstu_init_pgen(&ctx, length, compressed.data(), static_cast<int32_t>(n.size()),
                              n.data()) == 0;
        if (!good)
            throw std::runtime_error("no domain on " + name);
        ctx.cofactor = cofactor;
    });
    if (!found)
        throw std::runtime_error("no curve " + name);
}

} // namespace qal::test
