#pragma once

#pragma GCC visibility push(default)

// Facts about the process that the host knows and the library asks for.
class TSystem {
public:
    // Whether the calling thread is the one a desktop host marked as its main (user interface)
    // thread. False everywhere until a host marks one.
    static bool IsDesktopMainThread() noexcept;
    // Marks the calling thread as the desktop main thread, in place of any marked before.
    static void SetDesktopMainThread() noexcept;
};

#pragma GCC visibility pop
