#include "vorsys/thread/WaitForAll.h"

#include "vorsys/base/VorlaneException.h"

#include "BlockingWait.h"
#include "Deadline.h"

bool WaitForAll(std::vector<IEvent*> const& events, std::chrono::milliseconds timeout) {
    for (IEvent const* event : events) {
        if (!((event) != nullptr)) {
            ThrowLogicException(__FILE__, __LINE__, "(event) != nullptr");
        }
    }
    // One deadline for the whole set: each event gets what is left of it.
    auto const deadline = vorsys_detail::DeadlineAfter(timeout);
    for (IEvent const* event : events) {
        if (!vorsys_detail::BlockOn(*event, vorsys_detail::RemainingUntil(deadline))) {
            return false;
        }
    }
    return true;
}
