#pragma once

// A host's own function object registered by a factory, as a host does for a function that the
// lambda forms cannot express (one that writes only some of its slots, say).

#include <memory>

#include "zel/core/functions/FunctionObjects.h"

namespace zel::test {

template <class Object, class Interface>
std::unique_ptr<Interface> MakeHostObject(core::CreatorArguments const*) {
    return std::make_unique<Object>();
}

}  // namespace zel::test
