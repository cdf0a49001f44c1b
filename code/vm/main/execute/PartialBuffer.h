#pragma once

#include <memory>

#include <boost/unordered/unordered_set.hpp>

#include "zel/core/store/KeyPathPrefixTree.h"
#include "zel/vm/execute/TransformBuffer.h"

namespace zel::vm {

// A read-only filter over a buffer whose value is a key map of which the host asked for some
// members only: reading it yields a key map of just those members.
class PartialBuffer : public ITransformInputBuffer {
public:
    // `key` is the buffer's path and `wanted` the tree of the paths the host asked for; the node of
    // `key` must be in the tree.
    PartialBuffer(std::shared_ptr<ITransformInputBuffer> source, core::KeyPath const& key,
                  core::KeyPathPrefixTree const& wanted);

    bool CanRead() const override;
    // Reads the source (a consuming read) and copies out the wanted members.
    std::shared_ptr<core::StoreValue> Peek() const override;
    std::shared_ptr<core::StoreValue> Read() override;

private:
    std::shared_ptr<ITransformInputBuffer> m_source;
    boost::unordered_set<core::KeyPath> m_relativePaths;
};

}  // namespace zel::vm
