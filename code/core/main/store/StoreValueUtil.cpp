#include "zel/core/store/StoreValueUtil.h"

#include <algorithm>
#include <numeric>

#include "CompositeValues.h"
#include "ScalarValue.h"
#include "StoreFailure.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::core {

namespace {

[[noreturn]] void ThrowCannotRead(std::shared_ptr<StoreValue> const& value, wchar_t const* wanted) {
    TStringCore text = L"cannot read ";
    text += value ? L"a value of type " + detail::DescribeType(*value) : TStringCore(L"a missing value");
    text += L" as ";
    text += wanted;
    ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes, text);
}

[[noreturn]] void ThrowCannotMake(StoreTypeInfo const& type, TStringCore const& given) {
    ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes,
                       L"cannot make a value of type " + detail::DescribeTypeInfo(type) + L" from " + given);
}

template <StoreType Type>
ScalarValue<Type> const* AsScalar(std::shared_ptr<StoreValue> const& value) {
    return value && value->GetStoreType() == Type ? dynamic_cast<ScalarValue<Type> const*>(value.get())
                                                  : nullptr;
}

template <StoreType Type>
typename ScalarTraits<Type>::Logical FetchLogical(std::shared_ptr<StoreValue> const& value,
                                                  wchar_t const* wanted) {
    if (auto const* scalar = AsScalar<Type>(value)) {
        return scalar->GetValue();
    }
    ThrowCannotRead(value, wanted);
}

template <StoreType Type, class S>
std::shared_ptr<StoreValue> MakeScalar(StoreTypeInfo const& type, S const& value, wchar_t const* given) {
    if constexpr (std::is_same_v<typename ScalarTraits<Type>::Storage, S>) {
        return std::make_shared<ScalarValue<Type>>(type, value);
    } else {
        ThrowCannotMake(type, given);
    }
}

template <StoreType Type>
std::shared_ptr<StoreValue> MakeLogical(StoreTypeInfo const& type,
                                        typename ScalarTraits<Type>::Logical const& value,
                                        wchar_t const* given) {
    if (type.GetStoreType() != Type) {
        ThrowCannotMake(type, given);
    }
    return std::make_shared<ScalarValue<Type>>(type, ScalarTraits<Type>::ToStorage(value));
}

// A nested value under its own type: an Object holds any value (one that is an Object already
// stays as it is); the collection types take a value of that very type. A null pointer, the fill
// of a special slot, becomes a Null special.
std::shared_ptr<StoreValue> FromValue(StoreTypeInfo const& type, std::shared_ptr<StoreValue> const& value) {
    StoreType const wanted = type.GetStoreType();
    if (wanted == StoreType::Object) {
        if (value && value->GetStoreType() == StoreType::Object) {
            return value;
        }
        return factory::MakeObject(value);
    }
    if (!IsCollectionStoreType(wanted)) {
        ThrowCannotMake(type, L"a nested value");
    }
    if (!value) {
        return factory::MakeSpecial(type, SpecialKind::Null);
    }
    if (value->GetStoreType() != wanted) {
        ThrowCannotMake(type, L"a value of type " + detail::DescribeType(*value));
    }
    return value;
}

}  // namespace

template <class T>
T FetchStoreValue(std::shared_ptr<StoreValue> const& value) {
    if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        if (value && !value->IsSpecial()) {
            if (auto const* object = AsScalar<StoreType::Object>(value)) {
                return object->GetValue();
            }
            if (IsCollectionStoreType(value->GetStoreType()) || value->GetStoreType() == StoreType::Object) {
                return value;
            }
        }
        ThrowCannotRead(value, L"a nested value");
    } else if constexpr (StorageElement<T>) {
        if (auto const* scalar = dynamic_cast<ScalarStorage<T> const*>(value.get())) {
            return scalar->GetStorageValue();
        }
        ThrowCannotRead(value, TStringCore::FromUtf8(StorageTraits<T>::c_name).c_str());
    } else if constexpr (std::is_same_v<T, bool>) {
        return FetchLogical<StoreType::Bool>(value, L"bool");
    } else if constexpr (std::is_same_v<T, int>) {
        return FetchLogical<StoreType::Int32>(value, L"int32");
    } else if constexpr (std::is_same_v<T, long long>) {
        return FetchLogical<StoreType::Int64>(value, L"int64");
    } else if constexpr (std::is_same_v<T, float>) {
        return FetchLogical<StoreType::Float>(value, L"float");
    } else if constexpr (std::is_same_v<T, double>) {
        return FetchLogical<StoreType::Double>(value, L"double");
    } else if constexpr (std::is_same_v<T, ZelDateTime>) {
        if (auto const* date = AsScalar<StoreType::Date>(value)) {
            return date->GetValue();
        }
        return FetchLogical<StoreType::DateTime>(value, L"date or datetime");
    } else if constexpr (std::is_same_v<T, ZelColor>) {
        return FetchLogical<StoreType::Color>(value, L"color");
    } else {
        static_assert(std::is_same_v<T, TStringCore>);
        return FetchLogical<StoreType::String>(value, L"string").Get();
    }
}

template <class S>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType(StoreTypeInfo const& type, S value) {
    wchar_t const* const given = L"its storage form";
    switch (type.GetStoreType()) {
        case StoreType::Bool:
            return MakeScalar<StoreType::Bool>(type, value, given);
        case StoreType::Int32:
            return MakeScalar<StoreType::Int32>(type, value, given);
        case StoreType::Int64:
            return MakeScalar<StoreType::Int64>(type, value, given);
        case StoreType::Float:
            return MakeScalar<StoreType::Float>(type, value, given);
        case StoreType::Double:
            return MakeScalar<StoreType::Double>(type, value, given);
        case StoreType::String:
            return MakeScalar<StoreType::String>(type, value, given);
        case StoreType::Date:
            return MakeScalar<StoreType::Date>(type, value, given);
        case StoreType::DateTime:
            return MakeScalar<StoreType::DateTime>(type, value, given);
        case StoreType::Color:
            return MakeScalar<StoreType::Color>(type, value, given);
        default:
            if constexpr (std::is_same_v<S, std::shared_ptr<StoreValue>>) {
                return FromValue(type, value);
            } else {
                ThrowCannotMake(type, given);
            }
    }
}

template <class T>
std::shared_ptr<StoreValue> MakeStoreValue(StoreTypeInfo const& type, T value) {
    using Plain = std::remove_cvref_t<T>;
    if constexpr (std::is_same_v<Plain, std::shared_ptr<StoreValue>>) {
        return FromValue(type, value);
    } else if constexpr (std::is_same_v<Plain, bool>) {
        return MakeLogical<StoreType::Bool>(type, value, L"a bool");
    } else if constexpr (std::is_same_v<Plain, int>) {
        return MakeLogical<StoreType::Int32>(type, value, L"an int32");
    } else if constexpr (std::is_same_v<Plain, long long>) {
        return MakeLogical<StoreType::Int64>(type, value, L"an int64");
    } else if constexpr (std::is_same_v<Plain, float>) {
        return MakeLogical<StoreType::Float>(type, value, L"a float");
    } else if constexpr (std::is_same_v<Plain, double>) {
        return MakeLogical<StoreType::Double>(type, value, L"a double");
    } else if constexpr (std::is_same_v<Plain, ZelDateTime>) {
        if (type.GetStoreType() == StoreType::Date) {
            return MakeLogical<StoreType::Date>(type, value, L"a date");
        }
        return MakeLogical<StoreType::DateTime>(type, value, L"a date or datetime");
    } else if constexpr (std::is_same_v<Plain, ZelColor>) {
        return MakeLogical<StoreType::Color>(type, value, L"a color");
    } else {
        static_assert(std::is_same_v<Plain, TStringCore>);
        return MakeLogical<StoreType::String>(type, RIndirectString(value), L"a string");
    }
}

// The instances the header lists.
template unsigned char FetchStoreValue<unsigned char>(std::shared_ptr<StoreValue> const&);
template unsigned int FetchStoreValue<unsigned int>(std::shared_ptr<StoreValue> const&);
template unsigned long long FetchStoreValue<unsigned long long>(std::shared_ptr<StoreValue> const&);
template RIndirectString FetchStoreValue<RIndirectString>(std::shared_ptr<StoreValue> const&);
template std::shared_ptr<StoreValue> FetchStoreValue<std::shared_ptr<StoreValue>>(
    std::shared_ptr<StoreValue> const&);
template bool FetchStoreValue<bool>(std::shared_ptr<StoreValue> const&);
template int FetchStoreValue<int>(std::shared_ptr<StoreValue> const&);
template long long FetchStoreValue<long long>(std::shared_ptr<StoreValue> const&);
template float FetchStoreValue<float>(std::shared_ptr<StoreValue> const&);
template double FetchStoreValue<double>(std::shared_ptr<StoreValue> const&);
template ZelDateTime FetchStoreValue<ZelDateTime>(std::shared_ptr<StoreValue> const&);
template ZelColor FetchStoreValue<ZelColor>(std::shared_ptr<StoreValue> const&);
template TStringCore FetchStoreValue<TStringCore>(std::shared_ptr<StoreValue> const&);

template std::shared_ptr<StoreValue> MakeStoreValue<bool>(StoreTypeInfo const&, bool);
template std::shared_ptr<StoreValue> MakeStoreValue<int>(StoreTypeInfo const&, int);
template std::shared_ptr<StoreValue> MakeStoreValue<long long>(StoreTypeInfo const&, long long);
template std::shared_ptr<StoreValue> MakeStoreValue<float>(StoreTypeInfo const&, float);
template std::shared_ptr<StoreValue> MakeStoreValue<double>(StoreTypeInfo const&, double);
template std::shared_ptr<StoreValue> MakeStoreValue<ZelDateTime>(StoreTypeInfo const&, ZelDateTime);
template std::shared_ptr<StoreValue> MakeStoreValue<ZelColor>(StoreTypeInfo const&, ZelColor);
template std::shared_ptr<StoreValue> MakeStoreValue<TStringCore>(StoreTypeInfo const&, TStringCore);
template std::shared_ptr<StoreValue> MakeStoreValue<TStringCore const&>(StoreTypeInfo const&,
                                                                        TStringCore const&);
template std::shared_ptr<StoreValue> MakeStoreValue<std::shared_ptr<StoreValue>>(StoreTypeInfo const&,
                                                                                 std::shared_ptr<StoreValue>);
template std::shared_ptr<StoreValue> MakeStoreValue<std::shared_ptr<StoreValue> const&>(
    StoreTypeInfo const&, std::shared_ptr<StoreValue> const&);

template std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<unsigned char>(StoreTypeInfo const&,
                                                                                  unsigned char);
template std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<unsigned int>(StoreTypeInfo const&,
                                                                                 unsigned int);
template std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<unsigned long long>(StoreTypeInfo const&,
                                                                                       unsigned long long);
template std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<RIndirectString>(StoreTypeInfo const&,
                                                                                    RIndirectString);
template std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<std::shared_ptr<StoreValue>>(
    StoreTypeInfo const&, std::shared_ptr<StoreValue>);

std::shared_ptr<StoreValue> ConcatenateTables(std::vector<std::shared_ptr<StoreValue>> const& tables) {
    if (tables.empty()) {
        ZEL_FAIL_WITH_TEXT(ZelError::CreatorArgumentEmpty, L"no tables to concatenate");
    }
    auto describe = [](std::size_t index) { return L"input " + TStringCore(std::to_wstring(index)); };
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (!tables[i] || tables[i]->IsSpecial() || tables[i]->GetStoreType() != StoreType::Table) {
            ZEL_FAIL_WITH_TEXT(
                ZelError::UnsupportedTypes,
                L"cannot concatenate tables: " + describe(i) + L" is " +
                    (tables[i] ? L"a " + detail::DescribeType(*tables[i]) : TStringCore(L"missing")));
        }
    }
    IStoreTable const& first = tables[0]->AsTable();
    std::vector<TStringCore> const names = tables[0]->AsKeyMap().GetSortedNames();
    for (std::size_t i = 1; i < tables.size(); ++i) {
        IStoreTable const& table = tables[i]->AsTable();
        if (tables[i]->AsKeyMap().GetSortedNames() != names) {
            TStringCore text = L"cannot concatenate tables: the columns of " + describe(i) +
                               L" differ from those of input 0";
            for (auto const& name : names) {
                if (!table.FindColumn(name)) {
                    text += L" (it lacks \"" + name + L"\")";
                    ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes, text);
                }
            }
            for (auto const& [name, column] : table.GetColumns()) {
                if (!first.FindColumn(name)) {
                    text += L" (it has \"" + name + L"\" in addition)";
                    break;
                }
            }
            ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes, text);
        }
    }
    if (tables.size() == 1) {
        return tables[0];
    }
    StoreValueMap columns;
    columns.reserve(names.size());
    for (auto const& name : names) {
        std::vector<std::shared_ptr<StoreValue>> parts;
        parts.reserve(tables.size());
        StoreTypeInfo const& elementType = first.GetColumn(name)->GetValueTypeInfo();
        for (std::size_t i = 0; i < tables.size(); ++i) {
            auto const& column = tables[i]->AsTable().GetColumn(name);
            if (!(column->GetValueTypeInfo() == elementType)) {
                ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes,
                                   L"cannot concatenate tables: column \"" + name + L"\" holds " +
                                       detail::DescribeTypeInfo(column->GetValueTypeInfo()) + L" in " +
                                       describe(i) + L" but " + detail::DescribeTypeInfo(elementType) +
                                       L" in input 0");
            }
            parts.push_back(column);
        }
        columns.emplace(name, ConcatenateArrays(parts, nullptr));
    }
    return factory::MakeTable(std::move(columns));
}

std::shared_ptr<StoreValue> SampleStoreValue(StoreValue const& value, unsigned int count) {
    auto firstRows = [count](unsigned int available) {
        auto rows = std::make_shared<std::vector<unsigned int>>(std::min(count, available));
        std::iota(rows->begin(), rows->end(), 0u);
        return rows;
    };
    if (value.IsSpecial()) {
        return value.Clone();
    }
    switch (value.GetStoreType()) {
        case StoreType::Array:
            return value.AsArray().Gather(firstRows(value.GetCount()));
        case StoreType::Set: {
            auto const members = value.AsSet().AsArray(true);
            return members->AsArray().Gather(firstRows(members->GetCount()))->AsArray().MakeDistinct(true);
        }
        case StoreType::Table:
            return value.AsTable().GatherRows(firstRows(value.AsTable().GetRowCount()));
        case StoreType::Tuple: {
            auto const& elements = value.AsTuple().GetElements();
            std::vector<std::shared_ptr<StoreValue>> first(
                elements.begin(), elements.begin() + std::min<std::size_t>(count, elements.size()));
            return factory::MakeTuple(std::move(first));
        }
        case StoreType::KeyMap: {
            IStoreKeyMap const& map = value.AsKeyMap();
            auto names = map.GetSortedNames();
            names.resize(std::min<std::size_t>(count, names.size()));
            StoreValueMap sampled;
            for (auto const& name : names) {
                sampled.emplace(name, SampleStoreValue(*map.Find(name), count));
            }
            return factory::MakeKeyMap(std::move(sampled));
        }
        default:
            return value.Clone();
    }
}

}  // namespace zel::core
