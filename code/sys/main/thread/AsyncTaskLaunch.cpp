#include "vorsys/thread/AsyncTaskLaunch.h"

#include <thread>

#include "vorsys/thread/TThreadPool.h"

bool AsyncTask::ScheduleOnThreadPool(std::function<void()>&& work, Launch launch) {
    switch (launch) {
        case Launch::ThreadPool:
            return TThreadPool::Get().Enqueue(std::move(work));
        case Launch::ThreadPoolOrDedicatedThread:
            return TThreadPool::Get().TryStartNow(std::move(work));
        case Launch::DedicatedThread:
        case Launch::Deferred:
            break;
    }
    return false;
}

void AsyncTask::RunOnDedicatedThread(std::function<void()>&& work) {
    std::thread([work = std::move(work)] { work(); }).detach();
}
