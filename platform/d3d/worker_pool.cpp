// Worker pool: one wake-up per run, jobs taken from a shared counter.
#include "platform/d3d/worker_pool.h"

#include <algorithm>
#include <utility>

namespace tarko::platform::d3d {

WorkerPool::WorkerPool(int threads) {
    if (threads <= 0) threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    threads = std::min(threads, 64);
    for (int i = 1; i < threads; ++i) workers_.emplace_back([this] { work_loop(); });
}

WorkerPool::~WorkerPool() {
    try {
        finish();
    } catch (...) {
        // Started jobs that failed have nobody left to report to.
    }
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    wake_.notify_all();
    for (auto& t : workers_) t.join();
}

// An exception must not leave a worker's thread (that would terminate the
// process): the first is kept for run() and the remaining jobs are given up.
void WorkerPool::take_jobs() noexcept {
    for (;;) {
        const int job = next_.fetch_add(1, std::memory_order_relaxed);
        if (job >= jobs_) return;
        try {
            (*fn_)(job);
        } catch (...) {
            std::lock_guard lock(mutex_);
            if (!error_) error_ = std::current_exception();
            next_.store(jobs_, std::memory_order_relaxed);
            return;
        }
    }
}

void WorkerPool::work_loop() {
    std::uint64_t seen = 0;
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [&] { return stop_ || round_ != seen; });
            if (stop_) return;
            seen = round_;
        }
        take_jobs();
        {
            std::lock_guard lock(mutex_);
            if (--busy_ == 0) done_.notify_one();
        }
    }
}

void WorkerPool::run(int jobs, const std::function<void(int)>& fn) {
    finish();
    if (jobs <= 0) return;
    if (workers_.empty() || jobs == 1) {
        for (int j = 0; j < jobs; ++j) fn(j);
        return;
    }
    hand_out(jobs, &fn);
    join();
}

void WorkerPool::hand_out(int jobs, const std::function<void(int)>* fn) {
    {
        std::lock_guard lock(mutex_);
        fn_ = fn;
        jobs_ = jobs;
        next_.store(0, std::memory_order_relaxed);
        busy_ = static_cast<int>(workers_.size());
        error_ = nullptr;
        if (!workers_.empty()) ++round_;
    }
    wake_.notify_all();
}

void WorkerPool::join() {
    take_jobs();
    std::exception_ptr error;
    {
        std::unique_lock lock(mutex_);
        done_.wait(lock, [&] { return busy_ == 0; });
        fn_ = nullptr;
        error = std::exchange(error_, nullptr);
    }
    if (error) std::rethrow_exception(error);
}

void WorkerPool::start(int jobs, std::function<void(int)> fn) {
    finish();
    if (jobs <= 0) return;
    started_fn_ = std::move(fn);
    started_ = true;
    hand_out(jobs, &started_fn_);
}

void WorkerPool::finish() {
    if (!started_) return;
    started_ = false;
    join();
}

}  // namespace tarko::platform::d3d
