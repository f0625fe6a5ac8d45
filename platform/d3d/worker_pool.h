// A small pool of worker threads that share out numbered jobs. The calling
// thread works too; run() returns when every job is done. start() hands jobs
// to the workers alone and returns at once; finish() joins them.
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
    // Jobs are taken in their order, so a job may wait for jobs before it.
    // Without workers the jobs wait for finish().
    void start(int jobs, std::function<void(int)> fn);
    // The caller takes the jobs left, waits for the rest and rethrows the
    // first error; nothing when none was started.
    void finish();
    bool started() const { return started_; }

private:
    void work_loop();
    void take_jobs() noexcept;
    void hand_out(int jobs, const std::function<void(int)>* fn);  // wakes the workers
    void join();

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
    std::function<void(int)> started_fn_;
    bool started_ = false;
};

}  // namespace tarko::platform::d3d
