#pragma once

#include <cstdio>
#include <memory>

#include "CommandLine.h"
#include "zel/vm/transform/ICancellationTokenSource.h"

namespace vtlrun {

enum class Outcome { Done, Cancelled };

// Reads the program and the stores, makes a machine, runs it (twice with --update) and writes the
// result store to `out` or to the --output file; then the metrics report (to `diagnostics`) and the
// trace file when asked for, also after a failed or cancelled run. Failures are exceptions: a
// ZelException whose text names the file concerned, for a program error with its line and column.
// `cancel` is polled between the steps and by the machine between nodes.
Outcome RunProgram(RunSettings const& settings,
                   std::shared_ptr<zel::vm::ICancellationTokenSource> const& cancel, std::FILE* out,
                   std::FILE* diagnostics);

}  // namespace vtlrun
