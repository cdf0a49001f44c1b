#pragma once

#pragma GCC visibility push(default)

// Makers of scalars, specials, tuples, key maps and tables. Arrays and sets have their own makers
// (MakeArray, MakeConstantArray, MakeSet), key sets theirs in KeySet.h.

#include <memory>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/Collation.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"

namespace zel::core::factory {

std::shared_ptr<StoreValue> MakeBool(bool value);
std::shared_ptr<StoreValue> MakeInt32(int value);
std::shared_ptr<StoreValue> MakeInt64(long long value);
std::shared_ptr<StoreValue> MakeFloat(float value);
std::shared_ptr<StoreValue> MakeDouble(double value);
// Strings of the binary collation, unless one is given.
std::shared_ptr<StoreValue> MakeString(TStringCore const& value);
std::shared_ptr<StoreValue> MakeString(wchar_t const* value);
std::shared_ptr<StoreValue> MakeString(TStringCore const& value, Collation const& collation);
std::shared_ptr<StoreValue> MakeDate(ZelDateTime value);
std::shared_ptr<StoreValue> MakeDateTime(ZelDateTime value);
std::shared_ptr<StoreValue> MakeColor(ZelColor value);
// An Object scalar holding `value` (which may be null). Its Hash, Equals and Compare are those of
// the value it holds.
std::shared_ptr<StoreValue> MakeObject(std::shared_ptr<StoreValue> value);

// A scalar special of that type: IsSpecial() true, GetSpecialKind() `kind`. Any type but Empty;
// kind None or type Empty is a ZelRuntimeException (InvalidArgument).
std::shared_ptr<StoreValue> MakeSpecial(StoreTypeInfo const& type, SpecialKind kind);

// A Tuple of those elements, in order; null elements are allowed.
std::shared_ptr<StoreValue> MakeTuple(std::vector<std::shared_ptr<StoreValue>>&& elements);

// A KeyMap of those entries. A null value is refused (ZelRuntimeException, UnsupportedOperation,
// naming the key): a missing value is a missing entry.
std::shared_ptr<StoreValue> MakeKeyMap(StoreValueMap&& entries);
std::shared_ptr<StoreValue> MakeKeyMap(std::unique_ptr<StoreValueMap> entries);

// A Table of those columns, each an Array; the row count is their common length (0 without
// columns). A column that is missing or no array (CreateTableInputInvalid), or whose length differs
// from another's (CreateTableRowCountMismatch), is a ZelRuntimeException naming the column.
std::shared_ptr<StoreValue> MakeTable(StoreValueMap&& columns);
std::shared_ptr<StoreValue> MakeTable(std::unique_ptr<StoreValueMap> columns);

}  // namespace zel::core::factory

#pragma GCC visibility pop
