#include "execute/WorkQueue.h"
#include "zel/core/utility/StreamingStore.h"

namespace zel::vm {

unsigned int SerialTransformWorkQueue::GetThreadCount() const {
    return 1;
}

bool SerialTransformWorkQueue::Run(std::vector<std::unique_ptr<ITransformTask>>& tasks) {
    // Tasks may stream their results past the cache: fenced once, however the run ends.
    core::StreamingStoreFence const fence;
    for (auto const& task : tasks) {
        if (!task->Run(0)) {
            return false;
        }
    }
    return true;
}

}  // namespace zel::vm
