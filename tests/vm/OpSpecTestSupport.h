#pragma once

#include <memory>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::test {

// An untyped path from its text form, "t.a".
inline core::KeyPath P(wchar_t const* text) {
    return core::KeyPath::Parse(text);
}

// A function of one key, for every view that needs some function.
inline std::shared_ptr<core::FunctionSpec> Fn(wchar_t const* id = L"f") {
    return core::FunctionSpec::Make(id, P(L"arg"));
}

}  // namespace zel::test
