#pragma once

#pragma GCC visibility push(default)

namespace zel::vm {

// The one way a host stops a run. The machine polls it (never waits on it): at the start of a run,
// before each node and after each transform. Hosts derive from it; the answer must be cheap and
// safe to ask from any thread, and once true it should stay true.
class ICancellationTokenSource {
public:
    ICancellationTokenSource() = default;
    ICancellationTokenSource(ICancellationTokenSource const&) = default;
    ICancellationTokenSource& operator=(ICancellationTokenSource const&) = default;
    virtual ~ICancellationTokenSource() = default;

    virtual bool IsCancellationRequested() const = 0;
};

// True when `cancel` is set and asks to stop; a null source never does.
inline bool IsCancelled(ICancellationTokenSource const* cancel) {
    return cancel != nullptr && cancel->IsCancellationRequested();
}

}  // namespace zel::vm

#pragma GCC visibility pop
