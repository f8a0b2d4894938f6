#include "base/process_lock.h"

#include "base/failure.h"

#include <mutex>

namespace kowen::host {
namespace {

constinit std::mutex mutex;
constinit thread_local bool heldHere = false;

} // namespace

ProcessLock::ProcessLock() {
    if (heldHere)
        throw Failure(KOWEN_HOST_ERR_BUSY,
                      "an export is under way on this thread: its callbacks must not call again");
    mutex.lock();
    heldHere = true;
}

ProcessLock::~ProcessLock() {
    heldHere = false;
    mutex.unlock();
}

} // namespace kowen::host
