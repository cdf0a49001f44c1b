#pragma once

#include <memory>

#include "zel/core/store/DataStore.h"

namespace zel::vm {

// The value of an external input, read from `store` at `storePath`. When the program declared a
// type for the edge (the leaf type of `edgeKey`), the value must have that type: otherwise the
// transforms chosen for the declared type would meet storage they cannot read. A mismatch is
// InputTypeMismatch, naming the input and both types.
std::shared_ptr<core::StoreValue> ReadExternalInput(core::IDataStore const& store,
                                                    core::KeyPath const& storePath,
                                                    core::KeyPath const& edgeKey);

}  // namespace zel::vm
