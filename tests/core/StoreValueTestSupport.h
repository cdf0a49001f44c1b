#pragma once

// Small builders shared by the tests of scalars, key maps, tables, key sets and stores.

#include <gtest/gtest.h>

#include <bit>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "support/CheckFailure.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::test {

using Value = std::shared_ptr<core::StoreValue>;
using Entries = std::initializer_list<std::pair<wchar_t const*, Value>>;

inline Value Int32Array(std::initializer_list<int> values,
                        std::unique_ptr<std::vector<core::SpecialKind>> specials = nullptr) {
    auto storage = std::make_unique<std::vector<unsigned int>>();
    for (int const value : values) {
        storage->push_back(static_cast<unsigned int>(value));
    }
    return core::factory::MakeArray<unsigned int>(core::StoreTypeInfo::Int32, std::move(storage), nullptr,
                                                  std::move(specials));
}

inline Value DoubleArray(std::initializer_list<double> values) {
    auto storage = std::make_unique<std::vector<unsigned long long>>();
    for (double const value : values) {
        storage->push_back(std::bit_cast<unsigned long long>(value));
    }
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double, std::move(storage));
}

inline Value StringArray(std::initializer_list<wchar_t const*> values) {
    auto storage = std::make_unique<std::vector<core::RIndirectString>>();
    for (wchar_t const* value : values) {
        storage->emplace_back(value);
    }
    return core::factory::MakeArray<core::RIndirectString>(core::StoreTypeInfo::String, std::move(storage));
}

// What the values take together, each block counted once.
inline std::unique_ptr<core::MemoryUsage> UsageOf(std::initializer_list<core::StoreValue const*> values) {
    core::MemoryUsageBuilder builder;
    for (auto const* value : values) {
        value->CollectMemoryUsage(builder);
    }
    return builder.Build();
}

inline core::StoreValueMap MapOf(Entries entries) {
    core::StoreValueMap map;
    for (auto const& [name, value] : entries) {
        map.emplace(name, value);
    }
    return map;
}

inline Value KeyMap(Entries entries) {
    return core::factory::MakeKeyMap(MapOf(entries));
}

inline Value Table(Entries columns) {
    return core::factory::MakeTable(MapOf(columns));
}

}  // namespace zel::test
