#pragma once

#include <memory>

#include <boost/unordered/unordered_map.hpp>
#include <boost/unordered/unordered_set.hpp>

#include "zel/core/store/KeyPath.h"
#include "zel/vm/execute/TransformBuffer.h"

namespace zel::vm {

// Every buffer of a graph under the key of its edge; input values under "~init".
using BufferMap = boost::unordered::unordered_map<core::KeyPath, std::shared_ptr<StoreValueTransformBuffer>,
                                                  core::KeyPath::KeyPathTypeAgnosticHash,
                                                  core::KeyPath::KeyPathTypeAgnosticEqualTo>;

// An edge that no node writes: its value comes from the store.
struct ExternalInput {
    std::shared_ptr<ITransformOutputBuffer> buffer;
    boost::unordered::unordered_set<unsigned int> readers;  // the ids of the nodes that read it
};

using ExternalInputMap =
    boost::unordered::unordered_map<core::KeyPath, ExternalInput, core::KeyPath::KeyPathTypeAgnosticHash,
                                    core::KeyPath::KeyPathTypeAgnosticEqualTo>;

}  // namespace zel::vm
