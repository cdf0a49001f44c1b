#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <thread>

#include "zel/vm/execute/IExecutionGraph.h"
#include "zel/vm/transform/ICancellationTokenSource.h"

namespace vtlrun {

// How many nodes of a run are done, on one line of stderr: shown only when stderr is a terminal,
// from the moment a run has lasted `delay` (a second unless VTLRUN_PROGRESS_DELAY_MS says
// otherwise), and cleared when the run ends.
//
// The machine polls its cancellation source on the thread that runs the graph, before each node
// and after each transform; this source answers with the one it wraps and, on that thread, draws
// the line, so it reads the graph's counts where the graph changes them.
class ProgressLine final : public zel::vm::ICancellationTokenSource {
public:
    ProgressLine(std::shared_ptr<zel::vm::ICancellationTokenSource> inner, std::FILE* stream);
    ~ProgressLine() override;

    // The graph whose nodes are counted; runs on the calling thread from here on.
    void Start(zel::vm::IExecutionGraph const* graph);
    // Clears the line if one was drawn.
    void Finish();

    bool IsCancellationRequested() const override;

private:
    using Clock = std::chrono::steady_clock;

    void Draw() const;

    std::shared_ptr<zel::vm::ICancellationTokenSource> m_inner;
    std::FILE* m_stream;
    bool m_enabled;
    Clock::duration m_delay;
    zel::vm::IExecutionGraph const* m_graph = nullptr;
    std::thread::id m_owner;
    Clock::time_point m_start;
    mutable Clock::time_point m_lastDrawn;
    mutable bool m_drawn = false;
};

}  // namespace vtlrun
