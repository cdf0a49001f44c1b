#pragma once

// Reading a long column on more than one thread. A reader whose elements can be read apart (the
// texts of a string column, each found through its own offset, or the bytes of a fixed-width
// column, which one thread rarely copies at the speed of memory) splits the column into pieces, one
// per thread: the calling thread reads the first, pool workers the others, each into its own
// string arena, all into their own rows of one vector. Nothing is joined afterwards.
//
// A piece must not throw for bad input: it notes its first failure and stops, so that the caller
// can report the first failure of the column, the one a read in order would have met. What a
// piece throws all the same (out of memory) is rethrown once every piece has ended.

#include <cstddef>
#include <functional>

namespace zel::core::io_detail {

// Columns shorter than this are read on the calling thread: a worker costs more than they do.
inline constexpr std::size_t c_smallestPiece = 65536;

// Runs `read(first, last)` over pieces that cover [0, count) in order, the first on the calling
// thread, the others on pool workers, each at least c_smallestPiece long. Every piece runs under a
// current string arena: the calling thread's own if it has one, else one made for the piece.
// Returns once every piece has ended.
void ReadInPieces(std::size_t count, std::function<void(std::size_t first, std::size_t last)> const& read);

}  // namespace zel::core::io_detail
