// The double digit: product of two 64-bit words, or their sum with its carry.
#ifndef QAL_BASE_UINT128_HPP
#define QAL_BASE_UINT128_HPP

namespace qal::base {

__extension__ typedef unsigned __int128 uint128;

} // namespace qal::base

#endif
