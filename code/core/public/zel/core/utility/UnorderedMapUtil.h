#pragma once

#pragma GCC visibility push(default)

// The strict insert: a pair goes into an unordered map only if its key is new. A key that is there
// already is a failed check, "(result.second)" with ZelError::DuplicateKey: where a map is built
// from a program's data, a repeated key is an error in the data, never first-wins or last-wins.
//
//   InsertUnique(map, key, value);

#include <utility>

#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

template <class Map, class Key, class Value>
void InsertUnique(Map& map, Key&& key, Value&& value) {
    auto const result = map.emplace(std::forward<Key>(key), std::forward<Value>(value));
    ZEL_CHECK(result.second, ZelError::DuplicateKey);
}

}  // namespace zel::core

#pragma GCC visibility pop
