#include "io/ReadInPieces.h"

#include <algorithm>
#include <exception>
#include <vector>

#include "vorsys/thread/AsyncTask.h"
#include "vorsys/thread/TThreadPool.h"
#include "zel/core/store/StringArena.h"

namespace zel::core::io_detail {

namespace {

// Runs `read` over [first, last) under the thread's current string arena, or one of its own when
// there is none.
void ReadPiece(std::function<void(std::size_t, std::size_t)> const& read, std::size_t first, std::size_t last) {
    if (StringArena::Current() != nullptr) {
        read(first, last);
        return;
    }
    StringArena arena;
    StringArena::Scope const scope(arena);
    read(first, last);
}

}  // namespace

void ReadInPieces(std::size_t count, std::function<void(std::size_t, std::size_t)> const& read) {
    // Half the pool at most, as a columnar run of the machine takes, and the calling thread.
    std::size_t pieces = 1;
    if (count >= 2 * c_smallestPiece) {
        std::size_t const workers = TThreadPool::Get().GetNumberOfThreads() / 2;
        pieces = std::min(workers + 1, count / c_smallestPiece);
    }
    if (pieces <= 1) {
        ReadPiece(read, 0, count);
        return;
    }
    auto const bound = [&](std::size_t piece) { return count / pieces * piece + std::min(piece, count % pieces); };
    std::vector<AsyncTask::Future<void>> workers;
    workers.reserve(pieces - 1);
    std::exception_ptr failure;
    try {
        for (std::size_t piece = 1; piece < pieces; ++piece) {
            // Launched to run even if the caller is cancelled: the caller waits for it below, and
            // a read, once begun, ends as its input says.
            workers.push_back(AsyncTask::Run(
                [&read, first = bound(piece), last = bound(piece + 1)] { ReadPiece(read, first, last); },
                AsyncTask::Launch::ThreadPoolOrDedicatedThread, AsyncTask::WhenCanceled::RunAnyway));
        }
        ReadPiece(read, 0, bound(1));
    } catch (...) {
        failure = std::current_exception();
    }
    // Every piece refers to the caller's vector and input: all end before this returns.
    for (auto const& worker : workers) {
        worker.Wait();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    for (auto const& worker : workers) {
        worker.CheckForException();
    }
}

}  // namespace zel::core::io_detail
