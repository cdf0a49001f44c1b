#pragma once

#pragma GCC visibility push(default)

// Reading stores from their two formats (docs/store-formats.md): JSON text and the binary protocol.
//
// Bad input of any kind is a ZelRuntimeException (StoreFormatError) whose text says what is wrong
// and where: for JSON the JSON pointer of the value, the element index and the line and column; for
// the binary protocol the byte offset. Nesting is limited (c_maxJsonDepth, c_maxBinaryDepth), so no
// input can exhaust the stack; every count in a binary stream is checked against the bytes left
// before anything is allocated for it.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/io/BinaryProtocolReader.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/KeyPath.h"

namespace zel::core::StoreValueParser {

// Objects and arrays nested in a JSON document, and values nested in a binary stream.
inline constexpr unsigned c_maxJsonDepth = 128;
inline constexpr unsigned c_maxBinaryDepth = 64;

inline constexpr std::uint32_t c_defaultMaxExpandedRows = 1u << 24;

// How a store is read.
struct ReadOptions {
    // The most rows that one array may declare without listing them: the count of a constant
    // array, the sum of the runs of a run-length one. A few bytes can declare 4294967295 rows,
    // which every transform over the column then allocates in full; an array beyond the bound is
    // a StoreFormatError naming it. Arrays that list their values pay for their rows in bytes and
    // are not bound by this.
    std::uint32_t maxExpandedRows = c_defaultMaxExpandedRows;
    // Types a program declares for values of the store, by their paths below the root (through
    // key maps). A JSON value there written plainly, without "$type", is read as that type: [1, 2]
    // as array<double> gives 1.0 and 2.0, while 1.5 or 3e9 as an int32 fails naming the element.
    // A value with "$type", and the binary protocol, are read as they say.
    std::vector<std::pair<KeyPath, KeySegmentType>> declaredTypes;
};

// A store from a JSON document whose root is an object (the top-level entries).
std::shared_ptr<IDataStore> MakeDataStore(TStringCore const& text, ReadOptions const& options = {});
std::shared_ptr<IDataStore> MakeDataStore(std::string_view utf8, ReadOptions const& options = {});
// A store from the rest of a binary stream, which must hold exactly one store.
std::shared_ptr<IDataStore> MakeDataStore(BinaryProtocolReader& reader, ReadOptions const& options = {});
// A store from a file: the binary protocol when the file starts with its magic bytes, else JSON.
// A file that cannot be read is a StoreFormatError naming it.
std::shared_ptr<IDataStore> MakeDataStoreFromFile(std::filesystem::path const& path,
                                                  ReadOptions const& options = {});

// One value from JSON, read as a key map entry is (for hosts and tests that handle single values).
std::shared_ptr<StoreValue> MakeValue(std::string_view utf8, ReadOptions const& options = {});

}  // namespace zel::core::StoreValueParser

#pragma GCC visibility pop
