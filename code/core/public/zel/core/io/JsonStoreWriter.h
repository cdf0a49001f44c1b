#pragma once

#pragma GCC visibility push(default)

// Writes a store as the JSON text that StoreValueParser::MakeDataStore reads back to an equal
// store (docs/store-formats.md). The text is stable: key map entries and table columns in code
// point order of their names, key set entries in key order, doubles and floats in their shortest
// round-trip form. Arrays keep their layout (flat, indexed, constant, run-length).
//
// A value that the format cannot hold (a value of a kind it does not know, a string holding a
// character that is no Unicode scalar value) is a ZelRuntimeException (StoreFormatError) naming
// its path; nothing is dropped silently.

#include <string>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/DataStore.h"

namespace zel::core::JsonStoreWriter {

// The whole store as one JSON object, in UTF-8.
std::string WriteStore(IDataStore const& store);
// One value in the form it takes as a key map entry.
std::string WriteValue(StoreValue const& value);
// WriteStore as wide text.
TStringCore WriteStoreText(IDataStore const& store);

}  // namespace zel::core::JsonStoreWriter

#pragma GCC visibility pop
