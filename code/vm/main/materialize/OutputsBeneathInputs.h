#pragma once

#include <vector>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/DataStore.h"

namespace zel::vm {

// Warns (ZelLog, level Warning) of every statement that writes beneath a top-level input value of
// `store`: the result holds that input whole, so the written value is not in it, though later
// statements can read it. Each warning names the statement and how to get the value out.
void WarnOfOutputsBeneathInputs(std::vector<core::TransformSpec> const& specs, core::IDataStore const& store);

}  // namespace zel::vm
