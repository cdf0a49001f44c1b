#include "vorsys/thread/AsyncTaskTLS.h"

AsyncTask::TLS& AsyncTask::TLS::Get() noexcept {
    thread_local TLS record;
    return record;
}
