// The precondition that a polynomial's count of words is in range, with the texts that the
// interface states for it. Counts are public.
#pragma once

#include "base/require.hpp"

#include <qal/qal2poly.h>

// The capacity of a polynomial, 15 words, as the interface spells it.
#define QAL2P_CAPACITY "((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))"

#define QAL2P_REQUIRE_COUNT(r)                                                                     \
    QAL_REQUIRE(0 < *(r) && *(r) < QAL2P_SIZE, "(0 < *" #r ") && (*" #r " <= " QAL2P_CAPACITY "-1" \
                                               ")")
