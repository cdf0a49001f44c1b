#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "transform/join/MatchRows.h"
#include "transform/join/RowIndex.h"
#include "zel/core/store/Collation.h"
#include "zel/core/store/ITypedArray.h"

namespace zel::vm::join {

// Hash and equality of one key storage type: the stored bits for numbers, the collation for texts.
template <class T>
struct KeyHashing {
    using Hash = boost::hash<T>;
    using Equal = std::equal_to<T>;
    static Hash MakeHash(core::StoreTypeInfo const&) { return {}; }
    static Equal MakeEqual(core::StoreTypeInfo const&) { return {}; }
};

template <>
struct KeyHashing<core::RIndirectString> {
    using Hash = core::CollatorHash;
    using Equal = core::CollatorEqualTo;
    static Hash MakeHash(core::StoreTypeInfo const& type) { return Hash(type.GetCollation()); }
    static Equal MakeEqual(core::StoreTypeInfo const& type) { return Equal(type.GetCollation()); }
};

// The matching of two key columns of storage type T (MatchRowsByHash). Both columns are read
// through flat views: a flat column is its own view, any other layout is flattened first, which
// reads the same values and specials that a row-by-row read would.
template <class T>
RowMatches MatchRowsOf(core::StoreValue const& leftColumn, core::StoreValue const& rightColumn,
                       BuildSide buildSide, std::vector<unsigned int>* unmatched) {
    bool const leftBuilds =
        buildSide == BuildSide::Smaller && leftColumn.GetCount() <= rightColumn.GetCount();
    core::StoreValue const& buildColumn = leftBuilds ? leftColumn : rightColumn;
    core::StoreValue const& probeColumn = leftBuilds ? rightColumn : leftColumn;
    std::shared_ptr<core::StoreValue> const build = buildColumn.AsArray().Flatten();
    std::shared_ptr<core::StoreValue> const probe = probeColumn.AsArray().Flatten();
    core::ArrayView<T const> const buildValues = build->AsTypedArray<T>().GetFlatValues();
    core::ArrayView<T const> const probeValues = probe->AsTypedArray<T>().GetFlatValues();
    bool const buildHasSpecials = build->AsCollection().HasSpecialValues();

    using Hashing = KeyHashing<T>;
    core::StoreTypeInfo const& keyType = build->GetValueTypeInfo();
    RowIndex<T, typename Hashing::Hash, typename Hashing::Equal> index(
        buildValues.size(), Hashing::MakeHash(keyType), Hashing::MakeEqual(keyType));
    core::ArrayView<core::SpecialKind const> const buildSpecials =
        buildHasSpecials
            ? core::ArrayView<core::SpecialKind const>(build->AsTypedArray<T>().GetFlatSpecials())
            : core::ArrayView<core::SpecialKind const>();
    for (unsigned int row = 0; row < buildValues.size(); ++row) {
        if (!buildHasSpecials || buildSpecials.data()[row] == core::SpecialKind::None) {
            index.Add(buildValues.data()[row], row);
        }
    }
    index.Finish();

    // Only a build side with specials makes the probe side's specials count: see MatchRows.h.
    core::ArrayView<core::SpecialKind const> const probeSpecials =
        buildHasSpecials && probe->AsCollection().HasSpecialValues()
            ? core::ArrayView<core::SpecialKind const>(probe->AsTypedArray<T>().GetFlatSpecials())
            : core::ArrayView<core::SpecialKind const>();
    std::vector<unsigned int> buildRows;
    std::vector<unsigned int> probeRows;
    buildRows.reserve(probeValues.size());
    probeRows.reserve(probeValues.size());
    for (unsigned int row = 0; row < probeValues.size(); ++row) {
        std::span<unsigned int const> matches;
        if (probeSpecials.size() == 0 || probeSpecials.data()[row] == core::SpecialKind::None) {
            matches = index.Find(probeValues.data()[row]);
        }
        if (matches.empty()) {
            if (unmatched != nullptr) {
                unmatched->push_back(row);
            }
            continue;
        }
        for (unsigned int match : matches) {
            buildRows.push_back(match);
            probeRows.push_back(row);
        }
    }
    if (leftBuilds) {
        return {std::move(buildRows), std::move(probeRows)};
    }
    return {std::move(probeRows), std::move(buildRows)};
}

}  // namespace zel::vm::join
