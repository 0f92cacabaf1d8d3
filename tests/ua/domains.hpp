// Domains of the published curves, and random sources for their pools.
#pragma once

#include "ua/model.hpp"

#include <qal/dhua.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>

namespace qal::test {

struct TestDomain {
    TestCurve test;
    std::unique_ptr<dstu_ctx> ctx = std::make_unique<dstu_ctx>();

    explicit TestDomain(const ModelCurve &model) : test(model)
    {
        const ModelField &f = model.field;
        const Bytes b = bytes_of(model.b, (length(model.b) + 7) / 8);
        const Bytes G = bytes_of(model.compress(model.G), (f.m + 8) / 8);
        const Bytes n = bytes_of(model.n, (length(model.n) + 7) / 8);
        if (dstu_init_curve(ctx.get(), f.m, f.a, f.b, f.c, model.a, b.data(),
                            static_cast<int32_t>(b.size())) != 0 ||
            dstu_init_pgen(ctx.get(), static_cast<int32_t>(G.size()), G.data(),
                           static_cast<int32_t>(n.size()), n.data()) != 0)
            throw std::runtime_error("no domain on " + model.name);
        ctx->cofactor = model.cofactor;
    }

    operator const dstu_ctx *() const { return ctx.get(); }
    const ModelCurve &model() const { return test.model; }
    size_t field_len() const { return (model().field.m + 8) / 8; }
    size_t key_len() const { return (length(model().n) + 6) / 8; }
    size_t sig_len() const { return 2 * ((length(model().n) + 7) / 8); }
    mpz_class scalar_bound() const { return mpz_class(1) << (length(model().n) - 1); }
    Bytes public_key(const mpz_class &d) const
    {
        return bytes_of(model().compress(ModelCurve::negative(model().mul(d, model().G))),
                        field_len());
    }
};

inline std::vector<TestDomain> test_domains()
{
    std::vector<TestDomain> all;
    for (const ModelCurve &model : model_curves())
        if (model.name != "m163x")
            all.emplace_back(model);
    return all;
}

// What the pools' source gives out: the values of a queue first, in key-length bytes, then
// pseudo-random bytes.
struct Source {
    static inline std::deque<mpz_class> queue;
    static inline size_t calls;
    static inline std::vector<uint32_t> lengths;
    static inline std::vector<mpz_class> given;
    static inline std::unique_ptr<Random> random;

    static void reset()
    {
        queue.clear();
        calls = 0;
        lengths.clear();
        given.clear();
        random = std::make_unique<Random>();
    }
    static int fill(uint8_t *buf, uint32_t len)
    {
        calls++;
        lengths.push_back(len);
        Bytes bytes(len);
        if (queue.empty()) {
            bytes = random->bytes(len);
        } else {
            bytes = bytes_of(queue.front(), len);
            queue.pop_front();
        }
        std::copy(bytes.begin(), bytes.end(), buf);
        given.push_back(poly_of(bytes));
        return -1; // of no account
    }
};

struct Pool {
    std::unique_ptr<dstu_bspool> pool = std::make_unique<dstu_bspool>();

    explicit Pool(const dstu_ctx *ctx)
    {
        Source::reset();
        std::memset(pool.get(), 0xa5, sizeof *pool);
        if (dstu_bspool_init(pool.get(), ctx, Source::fill) != 0)
            throw std::runtime_error("no pool");
    }
    operator dstu_bspool *() const { return pool.get(); }
    dstu_bspool *operator->() const { return pool.get(); }
};

inline int32_t size_of(const Bytes &bytes)
{
    return static_cast<int32_t>(bytes.size());
}

} // namespace qal::test
