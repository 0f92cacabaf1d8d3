// Secrets as valgrind's memcheck sees them: memory that must not decide on branches and addresses.
#ifndef QAL_TESTS_SECRECY_SECRECY_HPP
#define QAL_TESTS_SECRECY_SECRECY_HPP

#include "support/bytes.hpp"

#include <gtest/gtest.h>

#include <valgrind/memcheck.h>

namespace qal::test {

inline void conceal(const void *memory, size_t size)
{
    VALGRIND_MAKE_MEM_UNDEFINED(memory, size);
}

inline void reveal(const void *memory, size_t size)
{
    VALGRIND_MAKE_MEM_DEFINED(memory, size);
}

// Bytes that are secret from the beginning.
class Secret {
public:
    explicit Secret(Bytes bytes) : bytes_(std::move(bytes)) { conceal(data(), bytes_.size()); }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;
    ~Secret() { reveal(data(), bytes_.size()); }

    uint8_t *data() { return bytes_.data(); }
    [[nodiscard]] size_t size() const { return bytes_.size(); }

private:
    Bytes bytes_;
};

// Runs it and returns the number of branches and addresses that depended on a secret.
template<class Run>
unsigned secret_dependences(Run run)
{
    const unsigned before = VALGRIND_COUNT_ERRORS;
    run();
    return VALGRIND_COUNT_ERRORS - before;
}

class Secrecy : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(RUNNING_ON_VALGRIND) << "these tests tell nothing without valgrind";
    }
    Random random;
};

} // namespace qal::test

#endif
