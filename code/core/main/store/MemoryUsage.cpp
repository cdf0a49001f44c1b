#include "zel/core/store/MemoryUsage.h"

#include <algorithm>
#include <utility>

#include "zel/core/store/RIndirectString.h"

namespace zel::core {

MemoryUsage::MemoryUsage(boost::unordered_flat_map<void const*, std::size_t> blocks)
    : m_blocks(std::move(blocks)) {
    for (auto const& [identity, bytes] : m_blocks) {
        m_totalBytes += bytes;
    }
}

std::unique_ptr<MemoryUsage> MemoryUsage::Union(MemoryUsage const& other) const {
    boost::unordered_flat_map<void const*, std::size_t> blocks = m_blocks;
    for (auto const& [identity, bytes] : other.m_blocks) {
        // One block seen by both: the larger estimate stands (both describe the same memory).
        auto [it, inserted] = blocks.emplace(identity, bytes);
        if (!inserted) {
            it->second = std::max(it->second, bytes);
        }
    }
    return std::make_unique<MemoryUsage>(std::move(blocks));
}

bool MemoryUsageBuilder::AddBlock(void const* identity, std::size_t bytes) {
    return m_blocks.emplace(identity, bytes).second;
}

bool MemoryUsageBuilder::AddString(RIndirectString const& text) {
    if (text.IsEmpty()) {
        return false;
    }
    // A text lives in a chunk that it may share with the other texts of its column: the chunk is
    // counted once, whole.
    return AddBlock(text.GetStorageIdentity(), text.GetStorageBytes());
}

std::unique_ptr<MemoryUsage> MemoryUsageBuilder::Build() {
    return std::make_unique<MemoryUsage>(std::exchange(m_blocks, {}));
}

}  // namespace zel::core
