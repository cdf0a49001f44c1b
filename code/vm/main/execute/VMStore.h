#pragma once

#include <memory>
#include <vector>

#include "execute/BufferMaps.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/vtl/VtlParser.h"

namespace zel::vm {

struct VMStoreEntry {
    core::KeyPath path;  // the path in the result, without "~init"
    std::shared_ptr<ITransformInputBuffer> buffer;
};

// The way out of a graph: the buffers that make up the result, chosen once when the graph is
// built. A program's output shadows an input of the same name; `outputKeys` (empty: everything)
// keeps whole values, parts of values through a PartialBuffer, or drops them.
class VMStore {
public:
    VMStore(BufferMap const& bufferMap, core::OutputKeySet const& outputKeys);

    // A new store of clones of the readable selected values.
    std::unique_ptr<core::IDataStore> MaterializeDataStore() const;

    std::vector<VMStoreEntry> const& GetEntries() const { return m_entries; }

private:
    std::vector<VMStoreEntry> m_entries;
};

}  // namespace zel::vm
