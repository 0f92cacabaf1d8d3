// Preconditions that hold in every build.
//
// A violated one ends in the C library's assertion handler. The expression is given as text because
// it is part of the interface, whatever the check beside it looks like, and so is the source path:
// each file names its own as `static constexpr char qal_source[] = "../src/...";`.
#ifndef QAL_BASE_REQUIRE_HPP
#define QAL_BASE_REQUIRE_HPP

// <assert.h> declares the handler only without NDEBUG.
extern "C" [[noreturn]] void __assert_fail(const char *assertion, const char *file,
                                           unsigned int line, const char *function) noexcept(true);

#define QAL_REQUIRE(condition, text)                                                               \
    (__builtin_expect(static_cast<bool>(condition), 1)                                             \
         ? static_cast<void>(0)                                                                    \
         : __assert_fail(text, qal_source, __LINE__, __func__))

#endif
