#include "host/linux/Worker.h"

#include <stdexcept>
#include <system_error>
#include <utility>

namespace kestrel {

Worker::Worker() try : mThread([this] { loop(); }) {
} catch (const std::system_error& error) {
    throw std::runtime_error("cannot start a thread: " + error.code().message());
}

Worker::~Worker() {
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
    }
    mChanged.notify_all();
    mThread.join();
}

void Worker::run(const std::function<void()>& task) {
    std::unique_lock<std::mutex> lock(mMutex);
    mTask = &task;
    mChanged.notify_all();
    mChanged.wait(lock, [this] { return mTask == nullptr; });
    if (mThrown) {
        std::rethrow_exception(std::exchange(mThrown, nullptr));
    }
}

void Worker::loop() {
    std::unique_lock<std::mutex> lock(mMutex);
    while (true) {
        mChanged.wait(lock, [this] { return mStop || mTask != nullptr; });
        if (mStop) {
            return;
        }
        lock.unlock();
        std::exception_ptr thrown;
        try {
            (*mTask)();
        } catch (...) {
            thrown = std::current_exception();
        }
        lock.lock();
        mThrown = thrown;
        mTask = nullptr;
        mChanged.notify_all();
    }
}

}  // namespace kestrel
