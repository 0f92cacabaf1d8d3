// Messages in pieces, at any alignment, in place and apart.
#ifndef QAL_FUZZ_PIECES_HPP
#define QAL_FUZZ_PIECES_HPP

#include "input.hpp"

namespace qal::fuzz {

using test::MarkedBytes;

// A message of up to `most` bytes out of a few: they are repeated, and change with each repetition.
inline Bytes message(Input &in, size_t most)
{
    Bytes message(in.below(most + 1));
    const Bytes pattern = in.bytes(1 + in.below(40));
    for (size_t i = 0; i < message.size(); i++)
        message[i] = static_cast<uint8_t>(pattern[i % pattern.size()] + 29 * (i / pattern.size()));
    return message;
}

// Calls use(from, to) for consecutive ranges of a message of this size, with lengths in multiples
// of a unit. When the input is at its end the rest is one piece.
template<typename Use>
void in_pieces(Input &in, size_t size, size_t unit, Use use)
{
    for (size_t from = 0; from < size;) {
        size_t length = in.flag() ? in.below(24) : in.below(1024);
        length = in.empty() ? size - from : std::min(length * unit, size - from);
        use(from, from + length);
        from += length;
    }
}

inline Bytes part(const Bytes &bytes, size_t from, size_t to)
{
    return {bytes.begin() + static_cast<ptrdiff_t>(from),
            bytes.begin() + static_cast<ptrdiff_t>(to)};
}

// What transform(in, out, size) makes of a piece, at offsets from a cache line that the input says,
// in place or apart, in memory that is marked around.
template<typename Transform>
Bytes transformed(Input &in, const Bytes &piece, Transform transform)
{
    MarkedBytes source(piece, in.below(64));
    if (in.flag()) {
        transform(source.data(), source.data(), piece.size());
        return source.contents();
    }
    MarkedBytes out(piece.size(), in.below(64));
    transform(source.data(), out.data(), piece.size());
    EXPECT_EQ(source.contents(), piece);
    return out.contents();
}

} // namespace qal::fuzz

#endif
