#include "utility/StridedIndexGenerator.h"

#include <cmath>
#include <cstdlib>

#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

using core::ZelError;

StridedIndexGenerator::StridedIndexGenerator(unsigned int startIndex, unsigned int size, int stride)
    : m_stride(stride), m_size(size), m_blockCount(0), m_sign(stride > 0 ? 1 : -1) {
    // A stride of 0 would make no progress; only a bug of the caller passes one.
    ZEL_CHECK_LOGIC(stride != 0, ZelError::InvalidArgument);
    m_blockCount = static_cast<unsigned int>(
        std::ceil(static_cast<double>(size) / std::abs(static_cast<double>(stride))));
    if (m_sign < 0) {
        // Backwards, startIndex is the last row; from here on it is the exclusive upper end.
        ++startIndex;
        ZEL_CHECK(startIndex >= size, ZelError::RangeViolation);
    }
    auto const absStride = static_cast<unsigned int>(std::abs(static_cast<long long>(stride)));
    auto const sign = static_cast<std::uint32_t>(m_sign);
    if (size >= absStride) {
        m_first = {startIndex, m_stride};
        unsigned int const remainder = size % absStride;
        // Positions are unsigned and wrap: (size - remainder) * sign + startIndex is the lower end
        // of the short block walking forwards and its upper end walking backwards.
        if (remainder != 0) {
            m_last = {(size - remainder) * sign + startIndex, static_cast<std::int32_t>(remainder) * m_sign};
        } else {
            m_last = {size * sign - static_cast<std::uint32_t>(m_stride) + startIndex, m_stride};
        }
    } else {
        m_first = {startIndex, static_cast<std::int32_t>(size) * m_sign};
        m_last = m_first;
    }
}

bool StridedIndexGenerator::Next() noexcept {
    ++m_iteration;
    if (m_iteration == 1) {
        m_current = m_first;
    } else if (m_iteration == m_blockCount) {
        m_current = m_last;
    } else {
        m_current.position += static_cast<std::uint32_t>(m_current.length);
    }
    return m_iteration <= m_blockCount;
}

unsigned int StridedIndexGenerator::GetStartIndex() const noexcept {
    if (m_sign > 0) {
        return m_current.position;
    }
    return m_current.position + static_cast<std::uint32_t>(m_current.length);
}

unsigned int StridedIndexGenerator::GetLength() const noexcept {
    return static_cast<unsigned int>(m_current.length * m_sign);
}

}  // namespace zel::vm
