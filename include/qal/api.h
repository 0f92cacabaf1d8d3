/**
 * @file
 * How the functions and tables of qal are declared.
 *
 * Conventions of all headers
 * --------------------------
 * - Every operation works on memory that the caller owns. Nothing is allocated, nothing must be
 *   freed, and no operation keeps a pointer beyond its return unless its comment says so.
 * - "Fails" names what a violated precondition does: with a quoted expression, the C library's
 *   assertion handler is called with it, in every build. Where nothing is quoted, nothing is
 *   checked and the stated conditions are the caller's to keep.
 * - "Timing" names what the duration and the memory addresses of an operation depend on.
 * - All operations are re-entrant on distinct records.
 */
#ifndef QAL_API_H
#define QAL_API_H

#include <stdint.h>

/** An exported name. Define it as nothing to link libqal.a into a shared object without passing
 *  qal's names on (or link with -Wl,--exclude-libs,libqal.a). */
#ifndef QAL_API
#define QAL_API __attribute__((visibility("default")))
#endif

/** The result must be looked at: it tells whether the operation succeeded. */
#define QAL_API_RESULT __attribute__((warn_unused_result))

/** No pointer may be null, or none of those with the given positions, counted from 1. Operations
 * that say what they do with a null pointer are not declared so. */
#define QAL_API_NONNULL(...) __attribute__((nonnull(__VA_ARGS__)))

/** A random generator of the application: fills buf with len random bytes. Its result is handed on
 * where an operation says so, and is otherwise ignored. */
typedef int (*qal_rnd)(uint8_t *buf, uint32_t len);

#endif
