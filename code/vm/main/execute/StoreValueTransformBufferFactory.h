#pragma once

#include <memory>
#include <vector>

#include "execute/BufferMaps.h"
#include "zel/core/store/DataStore.h"

namespace zel::vm {

// Owns the buffers of a graph while it is built: one buffer per edge key, and a retained buffer for
// every top-level store member that no edge names, so that inputs pass through to the result.
class StoreValueTransformBufferFactory {
public:
    StoreValueTransformBufferFactory();
    ~StoreValueTransformBufferFactory();

    // A buffer that keeps its value (a retained edge, a store member).
    std::shared_ptr<StoreValueTransformBuffer> MakeBuffer(core::KeyPath const& key,
                                                          std::vector<unsigned int> const& sources,
                                                          std::vector<unsigned int> const& sinks);
    // A buffer that empties itself after one read per sink.
    std::shared_ptr<StoreValueTransformBuffer> MakeSelfResettingBuffer(
        core::KeyPath const& key, std::vector<unsigned int> const& sources,
        std::vector<unsigned int> const& sinks);
    // Adds the buffers of the store members that no edge named, writes the store's values into the
    // external inputs' buffers, and hands the external inputs over.
    std::unique_ptr<ExternalInputMap> BindStoreValues(core::IDataStore const& store);
    // Hands the buffer map over; call after BindStoreValues.
    std::unique_ptr<BufferMap> TakeBufferMap();

private:
    void Register(core::KeyPath const& key, std::shared_ptr<StoreValueTransformBuffer> const& buffer,
                  std::vector<unsigned int> const& sources, std::vector<unsigned int> const& sinks);
    void AddMissingStoreKeys(core::IDataStore const& store);

    std::unique_ptr<BufferMap> m_bufferMap;
    std::unique_ptr<ExternalInputMap> m_externalInputs;
};

}  // namespace zel::vm
