#pragma once

// Small builders and checks shared by the tests of scalars, key maps, tables, key sets and stores.

#include <gtest/gtest.h>

#include <bit>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test {

inline std::shared_ptr<core::StoreValue> Int32Array(std::initializer_list<int> values) {
    auto storage = std::make_unique<std::vector<unsigned int>>();
    for (int const value : values) {
        storage->push_back(static_cast<unsigned int>(value));
    }
    return core::factory::MakeArray<unsigned int>(core::StoreTypeInfo::Int32, std::move(storage));
}

inline std::shared_ptr<core::StoreValue> DoubleArray(std::initializer_list<double> values) {
    auto storage = std::make_unique<std::vector<unsigned long long>>();
    for (double const value : values) {
        storage->push_back(std::bit_cast<unsigned long long>(value));
    }
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double, std::move(storage));
}

inline std::shared_ptr<core::StoreValue> StringArray(std::initializer_list<wchar_t const*> values) {
    auto storage = std::make_unique<std::vector<core::RIndirectString>>();
    for (wchar_t const* value : values) {
        storage->emplace_back(value);
    }
    return core::factory::MakeArray<core::RIndirectString>(core::StoreTypeInfo::String, std::move(storage));
}

// Runs `action`, expecting a ZelLogicException (UnsupportedOperation) whose text names `what`.
template <class Action>
void ExpectRefusal(Action&& action, std::string const& what) {
    try {
        action();
        ADD_FAILURE() << "no exception; expected a refusal of " << what;
    } catch (core::ZelLogicException const& e) {
        EXPECT_EQ(e.GetError(), core::ZelError::UnsupportedOperation) << e.what();
        EXPECT_NE(std::string(e.what()).find(what), std::string::npos) << e.what();
    }
}

// Runs `action`, expecting a ZelRuntimeException with `error` whose text holds `text`.
template <class Action>
void ExpectRuntimeError(Action&& action, core::ZelError error, std::string const& text) {
    try {
        action();
        ADD_FAILURE() << "no exception; expected one naming " << text;
    } catch (core::ZelRuntimeException const& e) {
        EXPECT_EQ(e.GetError(), error) << e.what();
        EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
    }
}

}  // namespace zel::test
