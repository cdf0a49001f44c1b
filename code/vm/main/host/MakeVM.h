#pragma once

#include <memory>

#include "zel/vm/host/VM.h"

namespace zel::vm {

// The VM over a built graph and the store it was built from.
std::unique_ptr<VM> MakeVM(std::unique_ptr<IExecutionGraph> graph, core::IDataStore const& store);

}  // namespace zel::vm
