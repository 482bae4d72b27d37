#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace kestrel {

// A thread that does one thing at a time for whoever waits for it.
// Threads: run from one thread at a time.
// Errors:  the constructor throws std::runtime_error when no thread can be made.
class Worker {
 public:
    Worker();
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Runs `task` on the worker's thread and returns when it has ended, with what it threw.
    void run(const std::function<void()>& task);

 private:
    void loop();

    std::mutex mMutex;
    std::condition_variable mChanged;
    const std::function<void()>* mTask = nullptr;  // the caller's; null: nothing to do
    std::exception_ptr mThrown;
    bool mStop = false;
    std::thread mThread;
};

}  // namespace kestrel
