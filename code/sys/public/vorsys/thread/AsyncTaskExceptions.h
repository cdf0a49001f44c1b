#pragma once

#pragma GCC visibility push(default)

#include "vorsys/base/VorlaneException.h"

namespace AsyncTask {

// The task was cancelled: its future carries this when the task's cancel event was signalled
// before it started, and Cancel::ThrowIfCancelled throws it.
class CancelException : public VorlaneException {
public:
    CancelException() : VorlaneException("the task was cancelled") {}
    CancelException(CancelException const&) = default;
    CancelException& operator=(CancelException const&) = default;
};

// An operation other than IsValid on a future that has no task.
class InvalidFutureException : public VorlaneException {
public:
    InvalidFutureException() : VorlaneException("the future has no task") {}
    InvalidFutureException(InvalidFutureException const&) = default;
    InvalidFutureException& operator=(InvalidFutureException const&) = default;
};

}  // namespace AsyncTask

#pragma GCC visibility pop
