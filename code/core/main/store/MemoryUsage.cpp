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
    // The handle's block holds one TStringCore, whose characters live in a heap buffer of their own
    // once they outgrow the inline buffer of std::wstring.
    TStringCore const& core = text.Get();
    std::size_t bytes = sizeof(TStringCore) + 2 * sizeof(void*);  // text and reference count
    std::size_t const capacity = core.str().capacity();
    if (capacity > std::wstring().capacity()) {
        bytes += (capacity + 1) * sizeof(wchar_t);
    }
    return AddBlock(&core, bytes);
}

std::unique_ptr<MemoryUsage> MemoryUsageBuilder::Build() {
    return std::make_unique<MemoryUsage>(std::exchange(m_blocks, {}));
}

}  // namespace zel::core
