// Initialisers of constant arrays: f(c, 0), f(c, 1), ... spelt out, since an array cannot be
// initialised by a function.
#pragma once

#define QAL_LIST_4(f, c, x) f(c, x), f(c, (x) + 1), f(c, (x) + 2), f(c, (x) + 3)
#define QAL_LIST_16(f, c, x)                                                                       \
    QAL_LIST_4(f, c, x), QAL_LIST_4(f, c, (x) + 4), QAL_LIST_4(f, c, (x) + 8),                     \
        QAL_LIST_4(f, c, (x) + 12)
#define QAL_LIST_64_FROM(f, c, x)                                                                  \
    QAL_LIST_16(f, c, x), QAL_LIST_16(f, c, (x) + 16), QAL_LIST_16(f, c, (x) + 32),                \
        QAL_LIST_16(f, c, (x) + 48)

#define QAL_LIST_64(f, c) QAL_LIST_64_FROM(f, c, 0)
#define QAL_LIST_256(f, c)                                                                         \
    QAL_LIST_64_FROM(f, c, 0), QAL_LIST_64_FROM(f, c, 64), QAL_LIST_64_FROM(f, c, 128),            \
        QAL_LIST_64_FROM(f, c, 192)
