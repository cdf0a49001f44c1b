#pragma once

// One registration function per family, each in a source of its own so that a change to one
// family recompiles only that family's instantiations.

#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/store/StoreTypeInfo.h"

namespace zel::core::builtin {

void RegisterArithmeticFunctions(FunctionLookup& lookup);
void RegisterComparisonFunctions(FunctionLookup& lookup);
void RegisterLogicFunctions(FunctionLookup& lookup);
void RegisterNullFunctions(FunctionLookup& lookup);
void RegisterNumericCasts(FunctionLookup& lookup);
void RegisterTextCasts(FunctionLookup& lookup);
void RegisterStringFunctions(FunctionLookup& lookup);
void RegisterDateFunctions(FunctionLookup& lookup);
void RegisterTupleFunctions(FunctionLookup& lookup);
void RegisterLookupFunctions(FunctionLookup& lookup);
void RegisterAggregationFunctions(FunctionLookup& lookup);
void RegisterMultinaryFunctions(FunctionLookup& lookup);
void RegisterOutputFunctions(FunctionLookup& lookup);

// The registry types of the logical types whose default is not the one wanted.
inline FunctionTypes TupleIn() {
    return {{KeySegmentType(StoreTypeInfo::Tuple)}, {}};
}

using Special = SpecialKind;
template <class T>
using WithSpecial = std::pair<T, SpecialKind>;

template <class T>
constexpr WithSpecial<T> Ok(T value) {
    return {std::move(value), SpecialKind::None};
}
template <class T>
WithSpecial<T> SpecialOf(SpecialKind kind) {
    return {T{}, kind};
}
template <class T>
WithSpecial<T> ErrorOf() {
    return {T{}, SpecialKind::Error};
}
template <class T>
WithSpecial<T> FromOptional(std::optional<T> const& value) {
    return value ? WithSpecial<T>{*value, SpecialKind::None} : WithSpecial<T>{T{}, SpecialKind::Error};
}

}  // namespace zel::core::builtin
