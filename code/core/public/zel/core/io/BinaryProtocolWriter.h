#pragma once

#pragma GCC visibility push(default)

// Writes a store in the binary protocol (docs/store-formats.md), which
// StoreValueParser::MakeDataStore(BinaryProtocolReader&) reads back to an equal store. Arrays keep
// their layout; fixed-width elements are written as raw little-endian buffers.
//
// A value that the protocol cannot hold (a value of a kind it does not know, a string of more than
// 4 GiB) is a ZelRuntimeException (StoreFormatError) naming its path; nothing is dropped silently.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "zel/core/store/DataStore.h"

namespace zel::core::BinaryProtocolWriter {

std::vector<std::uint8_t> WriteStore(IDataStore const& store);

// Takes the bytes of a store in order, in pieces; it may throw to stop the writing.
using ByteSink = std::function<void(std::span<std::uint8_t const>)>;
// The same bytes handed to `sink` as they are made, large columns straight from their own memory
// and never copied into a buffer of the whole store: the way to write a large store to a file. A
// value that cannot be written fails after the bytes before it have gone to the sink.
void WriteStore(IDataStore const& store, ByteSink const& sink);
// A store whose root is `root`, which must be a key map.
std::vector<std::uint8_t> WriteRoot(StoreValue const& root);

}  // namespace zel::core::BinaryProtocolWriter

#pragma GCC visibility pop
