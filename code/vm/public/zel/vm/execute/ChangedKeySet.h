#pragma once

#pragma GCC visibility push(default)

#include <functional>

#include <boost/unordered/unordered_set.hpp>

#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// The plain input paths that an update wrote, compared with their segment types.
using ChangedKeySet =
    boost::unordered_set<core::KeyPath, std::hash<core::KeyPath>, std::equal_to<core::KeyPath>>;

}  // namespace zel::vm

#pragma GCC visibility pop
