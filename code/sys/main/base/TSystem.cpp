#include "vorsys/base/TSystem.h"

#include <atomic>
#include <thread>

namespace {

// A default-constructed id names no thread, so nothing matches until a host marks one.
std::atomic<std::thread::id> g_desktopMainThread;

}  // namespace

bool TSystem::IsDesktopMainThread() noexcept {
    return g_desktopMainThread.load(std::memory_order_acquire) == std::this_thread::get_id();
}

void TSystem::SetDesktopMainThread() noexcept {
    g_desktopMainThread.store(std::this_thread::get_id(), std::memory_order_release);
}
