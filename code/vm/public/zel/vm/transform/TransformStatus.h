#pragma once

#pragma GCC visibility push(default)

#include <cstdint>

namespace zel::vm {

// How a run of a graph, and so of a VM, stands.
enum class TransformStatus : std::int32_t {
    NotStarted = 0,  // nothing was run yet
    Running = 1,     // a step ended and work is left
    Complete = 2,    // the work set is empty
    Cancelled = 3,   // the cancellation source said stop before or during a step
};

}  // namespace zel::vm

#pragma GCC visibility pop
