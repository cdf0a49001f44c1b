#pragma once

// Cuts a range of rows into blocks of |stride| rows, forwards (stride > 0) or backwards
// (stride < 0). All blocks but one are full; the short one, if any, is the last block walked, so
// it covers the highest rows of a forward walk and the lowest rows of a backward one.
//
// Forwards, startIndex is the first row of the range. Backwards, startIndex is its last row, and
// the range must not reach below row 0: startIndex + 1 >= size, or a ZelRuntimeException
// (RangeViolation). GetStartIndex() is always the lowest row of the current block and
// GetLength() its positive row count.
//
//   StridedIndexGenerator forwards(0, 10, 4);     // (0, 4) (4, 4) (8, 2)
//   StridedIndexGenerator backwards(109, 10, -4); // (106, 4) (102, 4) (100, 2)
//   while (backwards.Next()) {
//       Work(backwards.GetStartIndex(), backwards.GetLength());
//   }

#include <cstdint>

namespace zel::vm {

class StridedIndexGenerator {
public:
    // `stride` must not be 0.
    StridedIndexGenerator(unsigned int startIndex, unsigned int size, int stride);

    // Moves to the next block; false once every block has been walked (at once when size is 0).
    bool Next() noexcept;

    // The lowest row and the number of rows of the current block, after a Next() that returned
    // true.
    unsigned int GetStartIndex() const noexcept;
    unsigned int GetLength() const noexcept;

    unsigned int GetBlockCount() const noexcept { return m_blockCount; }

private:
    // A position and a length signed with the direction: backwards, a block runs from
    // position + length (its lowest row) up to position, exclusive.
    struct Block {
        std::uint32_t position = 0;
        std::int32_t length = 0;
    };

    std::int32_t m_stride;
    unsigned int m_size;
    unsigned int m_blockCount;
    std::int32_t m_sign;
    Block m_current;
    Block m_first;
    Block m_last;
    std::uint64_t m_iteration = 0;
};

}  // namespace zel::vm
