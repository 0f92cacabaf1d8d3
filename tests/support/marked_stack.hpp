// A stack to run an operation on and to search afterwards for what it left there.
#ifndef QAL_TESTS_SUPPORT_MARKED_STACK_HPP
#define QAL_TESTS_SUPPORT_MARKED_STACK_HPP

#include "support/bytes.hpp"

#include <functional>

namespace qal::test {

class MarkedStack {
public:
    static constexpr size_t size = 1 << 20;
    static constexpr uint8_t mark = 0xc3;

    MarkedStack();
    MarkedStack(const MarkedStack &) = delete;
    MarkedStack &operator=(const MarkedStack &) = delete;
    ~MarkedStack();

    // Marks the stack and runs the operation on it. What it works on must lie elsewhere.
    void run(const std::function<void()> &operation);

    // Whether eight consecutive bytes of the secret are on it, wherever and however aligned.
    [[nodiscard]] bool holds(const uint8_t *secret, size_t length) const;
    [[nodiscard]] bool holds(const Bytes &secret) const
    {
        return holds(secret.data(), secret.size());
    }

    // Bytes below the beginning that are no longer as they were marked.
    [[nodiscard]] size_t depth() const;

    // All of it as it is now, the deepest byte first.
    [[nodiscard]] Bytes contents() const { return {stack_, stack_ + size}; }

    // The deepest of the bytes that are no longer as they were marked.
    [[nodiscard]] Bytes deepest(size_t count) const;

private:
    uint8_t *stack_;
};

} // namespace qal::test

#endif
