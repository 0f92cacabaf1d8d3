// Death tests of preconditions.
#ifndef QAL_TESTS_SUPPORT_PRECONDITIONS_HPP
#define QAL_TESTS_SUPPORT_PRECONDITIONS_HPP

#include <gtest/gtest.h>

#include <string>

namespace qal::test {

// A regular expression for what the C library's handler prints:
//   program: path:line: function: Assertion `expression' failed.
inline std::string assertion_message(const std::string &expression, const std::string &path,
                                     const std::string &function)
{
    const auto literal = [](const std::string &text) {
        std::string escaped;
        for (const char c : text) {
            if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos)
                escaped.push_back('\\');
            escaped.push_back(c);
        }
        return escaped;
    };
    return ": " + literal(path) + ":[0-9]+: " + literal(function) + ": Assertion `" +
           literal(expression) + "' failed\\.";
}

} // namespace qal::test

// The call must abort with this expression, source path and operation.
#define EXPECT_PRECONDITION(call, expression, path, function)                                      \
    EXPECT_EXIT([&] { return call; }(), testing::KilledBySignal(SIGABRT),                          \
                qal::test::assertion_message(expression, path, function))

#endif
