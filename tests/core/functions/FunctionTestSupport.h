#pragma once

// Small helpers shared by the tests of the function registries, objects and wrappers.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/CheckFailure.h"
#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::test {

inline constexpr core::SpecialKind None = core::SpecialKind::None;
inline constexpr core::SpecialKind Null = core::SpecialKind::Null;
inline constexpr core::SpecialKind Error = core::SpecialKind::Error;

inline core::KeySegmentType Type(core::StoreType type) {
    return core::KeySegmentType(core::StoreTypeInfo(type, false));
}

inline std::vector<core::KeySegmentType> Types(std::initializer_list<core::StoreType> types) {
    std::vector<core::KeySegmentType> list;
    for (core::StoreType const type : types) {
        list.push_back(Type(type));
    }
    return list;
}

inline core::FunctionKey Key(wchar_t const* name, std::initializer_list<core::StoreType> types) {
    return core::FunctionKey(name, Types(types));
}

inline core::CreatorArguments Arguments(std::initializer_list<std::shared_ptr<core::StoreValue>> values) {
    return core::CreatorArguments(values);
}

}  // namespace zel::test
