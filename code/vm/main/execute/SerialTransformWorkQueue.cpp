#include "execute/WorkQueue.h"

namespace zel::vm {

unsigned int SerialTransformWorkQueue::GetThreadCount() const {
    return 1;
}

bool SerialTransformWorkQueue::Run(std::vector<std::unique_ptr<ITransformTask>>& tasks) {
    for (auto const& task : tasks) {
        if (!task->Run(0)) {
            return false;
        }
    }
    return true;
}

}  // namespace zel::vm
