#include "transform/sort/SortRows.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

#include "transform/sort/RadixSort.h"
#include "transform/sort/SortPasses.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm::sort {

namespace {

using core::SpecialKind;
using core::StoreType;

// Keys that order as unsigned integers in the order of the values they stand for.

std::uint32_t SignedKey(std::uint32_t bits) noexcept {
    return bits ^ 0x8000'0000u;
}

std::uint64_t SignedKey(std::uint64_t bits) noexcept {
    return bits ^ 0x8000'0000'0000'0000ull;
}

// IEEE bits to an unsigned order: negative numbers reversed below the positive ones. -0 is made +0,
// since the two compare equal and must keep their order; every NaN is made one NaN above +inf, a
// place of its own since it compares neither less nor greater than any number.
template <class U, U c_sign, U c_infinity, U c_quietNaN>
U FloatingKey(U bits) noexcept {
    if ((bits & ~c_sign) > c_infinity) {
        bits = c_quietNaN;
    } else if (bits == c_sign) {
        bits = 0;
    }
    return (bits & c_sign) != 0 ? static_cast<U>(~bits) : static_cast<U>(bits | c_sign);
}

std::uint32_t FloatKey(std::uint32_t bits) noexcept {
    return FloatingKey<std::uint32_t, 0x8000'0000u, 0x7F80'0000u, 0x7FC0'0000u>(bits);
}

std::uint64_t DoubleKey(std::uint64_t bits) noexcept {
    return FloatingKey<std::uint64_t, 0x8000'0000'0000'0000ull, 0x7FF0'0000'0000'0000ull,
                       0x7FF8'0000'0000'0000ull>(bits);
}

// Reads the key of each row in the current order, then radix sorts: the comparisons of the values'
// own order become one unsigned order, reversed (all bits flipped) for a descending key.
template <class U, class T, class ToKey>
void SortRowsByNumber(std::vector<unsigned int>& rows, core::ArrayView<T const> values, bool descending,
                      ToKey toKey) {
    std::vector<U> keys(rows.size());
    T const* const data = values.data();
    U const flip = descending ? static_cast<U>(~U{0}) : U{0};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        keys[i] = static_cast<U>(toKey(data[rows[i]]) ^ flip);
    }
    RadixSortRows(keys, rows);
}

// Objects and tuples order by value; a slot without a value (the fill of a special row) orders
// before every value and ties with another.
void SortRowsByValue(std::vector<unsigned int>& rows,
                     core::ArrayView<std::shared_ptr<core::StoreValue> const> values, bool descending) {
    auto const compare = [&](unsigned int a, unsigned int b) {
        core::StoreValue const* const x = values.data()[a].get();
        core::StoreValue const* const y = values.data()[b].get();
        if (x == nullptr || y == nullptr) {
            return static_cast<int>(x != nullptr) - static_cast<int>(y != nullptr);
        }
        return x->Compare(*y);
    };
    if (descending) {
        std::stable_sort(rows.begin(), rows.end(),
                         [&](unsigned int a, unsigned int b) { return compare(a, b) > 0; });
    } else {
        std::stable_sort(rows.begin(), rows.end(),
                         [&](unsigned int a, unsigned int b) { return compare(a, b) < 0; });
    }
}

// After the pass by value, a stable pass by kind: the kinds come first and the values decide
// within one kind. Ascending puts the greater kinds first (ordinary rows, kind 0, last), descending
// the lesser (ordinary rows first).
void SortRowsByKind(std::vector<unsigned int>& rows, core::ArrayView<SpecialKind const> specials,
                    bool descending) {
    std::vector<unsigned char> ranks(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        auto const kind = static_cast<unsigned char>(specials.data()[rows[i]]);
        ranks[i] = descending ? kind : static_cast<unsigned char>(255 - kind);
    }
    RadixSortRows(ranks, rows);
}

template <class T>
core::ArrayView<T const> FlatValues(core::StoreValue const& flat) {
    return flat.AsTypedArray<T>().GetFlatValues();
}

}  // namespace

void StableSortRowsByKey(std::vector<unsigned int>& rows, SortKey const& key) {
    // A flat copy of the column, alive for the pass, gives the one view that the comparisons read.
    std::shared_ptr<core::StoreValue> const flat = key.column->AsArray().Flatten();
    core::StoreTypeInfo const& type = flat->GetValueTypeInfo();
    bool const descending = key.order == core::SortSpecOrder::Descending;
    switch (type.GetStoreType()) {
        case StoreType::Bool:
            SortRowsByNumber<std::uint8_t>(rows, FlatValues<unsigned char>(*flat), descending,
                                           [](unsigned char v) { return v; });
            break;
        case StoreType::Int32:
            SortRowsByNumber<std::uint32_t>(rows, FlatValues<unsigned int>(*flat), descending,
                                            [](std::uint32_t v) { return SignedKey(v); });
            break;
        case StoreType::Float:
            SortRowsByNumber<std::uint32_t>(rows, FlatValues<unsigned int>(*flat), descending, FloatKey);
            break;
        case StoreType::Color:
            SortRowsByNumber<std::uint32_t>(rows, FlatValues<unsigned int>(*flat), descending,
                                            [](std::uint32_t v) { return v; });
            break;
        case StoreType::Int64:
            SortRowsByNumber<std::uint64_t>(rows, FlatValues<unsigned long long>(*flat), descending,
                                            [](std::uint64_t v) { return SignedKey(v); });
            break;
        case StoreType::Double:
            SortRowsByNumber<std::uint64_t>(rows, FlatValues<unsigned long long>(*flat), descending,
                                            DoubleKey);
            break;
        case StoreType::Date:
        case StoreType::DateTime:
            SortRowsByNumber<std::uint64_t>(rows, FlatValues<unsigned long long>(*flat), descending,
                                            [](std::uint64_t v) { return v; });
            break;
        case StoreType::String:
            StableSortRowsByText(rows, FlatValues<core::RIndirectString>(*flat), type.GetCollation(),
                                 descending);
            break;
        case StoreType::Object:
        case StoreType::Tuple:
            SortRowsByValue(rows, FlatValues<std::shared_ptr<core::StoreValue>>(*flat), descending);
            break;
        default:
            ZEL_FAIL(core::ZelError::UnsortableType);
    }
    if (flat->AsCollection().HasSpecialValues()) {
        std::vector<SpecialKind> specials(flat->AsCollection().GetCount());
        flat->AsArray().CopySpecials(core::ArrayView<SpecialKind>(specials), 0,
                                     static_cast<unsigned int>(specials.size()));
        SortRowsByKind(rows, core::ArrayView<SpecialKind const>(specials), descending);
    }
}

std::vector<unsigned int> SortRowNumbers(std::vector<SortKey> const& keys, unsigned int count) {
    for (SortKey const& key : keys) {
        unsigned int const keyCount = key.column->AsCollection().GetCount();
        ZEL_CHECK(keyCount == count, core::ZelError::RangeViolation);
    }
    std::vector<unsigned int> rows(count);
    std::iota(rows.begin(), rows.end(), 0u);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        StableSortRowsByKey(rows, *key);
    }
    return rows;
}

}  // namespace zel::vm::sort
