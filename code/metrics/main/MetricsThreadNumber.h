#pragma once

namespace Metrics::Detail {

// A small number for the calling thread, given in the order threads first ask (1, 2, ...) and
// kept for the thread's life. Trace viewers show one track per number.
unsigned CurrentThreadNumber() noexcept;

}  // namespace Metrics::Detail
