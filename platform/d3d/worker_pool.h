// A small pool of worker threads that share out numbered jobs. The calling
// thread works too; run() returns when every job is done.
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tarko::platform::d3d {

class WorkerPool {
public:
    // `threads` in all, the caller included; 0 means one per core.
    explicit WorkerPool(int threads);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    int size() const { return static_cast<int>(workers_.size()) + 1; }
    // Calls fn(job) once for each job in 0..jobs-1, spread over the threads.
    // If a job throws, the jobs not yet started are skipped and the first
    // error is rethrown here, once no worker touches `fn` any more.
    void run(int jobs, const std::function<void(int)>& fn);

private:
    void work_loop();
    void take_jobs() noexcept;

    std::vector<std::thread> workers_;
    std::mutex mutex_;
    std::condition_variable wake_, done_;
    const std::function<void(int)>* fn_ = nullptr;
    int jobs_ = 0;
    std::atomic<int> next_{0};
    int busy_ = 0;
    std::uint64_t round_ = 0;
    bool stop_ = false;
    std::exception_ptr error_;  // first job error of the current run
};

}  // namespace tarko::platform::d3d
