#pragma once

#include <atomic>

#include "zel/vm/transform/ICancellationTokenSource.h"

namespace zel::test {

// A cancellation source that a test (or a transform under test) raises by hand.
class FlagCancellationSource final : public vm::ICancellationTokenSource {
public:
    bool IsCancellationRequested() const override { return cancelled.load(); }
    std::atomic<bool> cancelled{false};
};

}  // namespace zel::test
