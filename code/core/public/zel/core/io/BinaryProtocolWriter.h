#pragma once

// Writes a store in the binary protocol (docs/store-formats.md), which
// StoreValueParser::MakeDataStore(BinaryProtocolReader&) reads back to an equal store. Arrays keep
// their layout; fixed-width elements are written as raw little-endian buffers.
//
// A value that the protocol cannot hold (a value of a kind it does not know, a string of more than
// 4 GiB) is a ZelRuntimeException (StoreFormatError) naming its path; nothing is dropped silently.

#include <cstdint>
#include <vector>

#include "zel/core/store/DataStore.h"

namespace zel::core::BinaryProtocolWriter {

std::vector<std::uint8_t> WriteStore(IDataStore const& store);
// A store whose root is `root`, which must be a key map.
std::vector<std::uint8_t> WriteRoot(StoreValue const& root);

}  // namespace zel::core::BinaryProtocolWriter
