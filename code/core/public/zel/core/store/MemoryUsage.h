#pragma once

#pragma GCC visibility push(default)

#include <cstddef>
#include <memory>

#include <boost/unordered/unordered_flat_map.hpp>

namespace zel::core {

class RIndirectString;

// What a set of values holds in memory. Values share parts (a column in two tables, a string in
// many rows), so every heap block is counted once, by its address, however often it is reached.
class MemoryUsage {
public:
    explicit MemoryUsage(boost::unordered_flat_map<void const*, std::size_t> blocks);

    std::size_t GetTotalBytes() const noexcept { return m_totalBytes; }
    std::size_t GetBlockCount() const noexcept { return m_blocks.size(); }

    // The usage of both, each shared block counted once.
    std::unique_ptr<MemoryUsage> Union(MemoryUsage const& other) const;

private:
    boost::unordered_flat_map<void const*, std::size_t> m_blocks;
    std::size_t m_totalBytes = 0;
};

// Values add their blocks while walking themselves (StoreValue::CollectMemoryUsage).
class MemoryUsageBuilder {
public:
    MemoryUsageBuilder() = default;

    // Adds one block; returns false when the block was already counted, so that a value can skip
    // walking parts that another value has already added.
    bool AddBlock(void const* identity, std::size_t bytes);
    // Adds the shared text block of a string element (nothing for the empty string, which owns no
    // block); the text is counted once however many handles share it.
    bool AddString(RIndirectString const& text);

    std::unique_ptr<MemoryUsage> Build();

private:
    boost::unordered_flat_map<void const*, std::size_t> m_blocks;
};

}  // namespace zel::core

#pragma GCC visibility pop
