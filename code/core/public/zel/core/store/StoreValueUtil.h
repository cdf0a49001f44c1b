#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

// Free functions over store values: reading and making scalars by C++ type, concatenating tables,
// and text forms for logs.

#include <memory>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core {

// Reads a scalar as T:
//   storage types   unsigned char (Bool), unsigned int (Int32, Float, Color as their bits),
//                   unsigned long long (Int64, Double, Date, DateTime), RIndirectString (String),
//                   std::shared_ptr<StoreValue> (what an Object holds; a Tuple, KeyMap, Table, Array,
//                   Set or key set is its own storage form, so it is returned itself)
//   logical types   bool, int, long long, float, double, ZelDateTime (Date or DateTime), ZelColor,
//                   TStringCore (String)
// A null pointer, a special, or a value of another type is a ZelRuntimeException
// (UnsupportedTypes) naming the wanted and the actual type.
template <class T>
VOR_PUBLIC T FetchStoreValue(std::shared_ptr<StoreValue> const& value);

// Makes a scalar of `type` from its logical C++ value: bool, int, long long, float, double,
// ZelDateTime (Date or DateTime), ZelColor, TStringCore (String, under the type's collation), or
// std::shared_ptr<StoreValue> (const& too), which makes an Object holding the value, or for a
// Tuple, KeyMap, Table, Array or Set type hands back the value itself when it has that type.
// The C++ type must be the one of `type` (no numeric conversion): otherwise a ZelRuntimeException
// (UnsupportedTypes). IsSpecial() is false for every value made here.
template <class T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeStoreValue(StoreTypeInfo const& type, T value);

// The same from the storage form (unsigned char, unsigned int, unsigned long long, RIndirectString,
// std::shared_ptr<StoreValue>): an array element of `type` becomes a scalar of `type`.
template <class S>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeStoreValueFromStorageType(StoreTypeInfo const& type, S value);

// One table of the rows of all, in order (rows of earlier tables first). Every value must be a
// Table with the same column names, and like-named columns must have one element type; otherwise
// a ZelRuntimeException (UnsupportedTypes) names the table and the column. An empty list is refused
// too (CreatorArgumentEmpty).
std::shared_ptr<StoreValue> ConcatenateTables(std::vector<std::shared_ptr<StoreValue>> const& tables);

// At most `count` elements of a value, as a value of the same kind, for logs: the first rows of an
// Array, Set or Table, the first elements of a Tuple, the first entries of a KeyMap in name order
// (each entry's value sampled in turn). Scalars, specials and key sets come back as they are.
std::shared_ptr<StoreValue> SampleStoreValue(StoreValue const& value, unsigned int count);

// A compact, readable, single-line text of any value, for logs:
//   bool, numbers   true  42  -7  1.5  (doubles and floats in shortest round-trip form; nan, inf)
//   string          "text" with \" \\ \n \t \r escaped
//   date, datetime  2024-01-31  2024-01-31T12:00:00
//   color           #RRGGBBAA
//   special         null (kind Null), error (kind Error), special(N) otherwise
//   object          what it holds (null for none)
//   tuple           (1, "a", null)
//   array           [1, 2, null]
//   set             set[1, 2]
//   key map         {a: 1, "b c": [2]}  names in code point order, quoted when not a plain word
//   table           table{a: [1, 2], b: ["x", "y"]}
//   key set         keyset{1: "one", null: "none"}
// A null pointer inside a collection prints as nullptr.
TStringCore SerializeValue(StoreValue const& value);

}  // namespace zel::core

#pragma GCC visibility pop
