// The device's worker pool: every job once, and a job's error, with its text,
// at the caller after the workers are done with the job function; jobs
// started on the workers alone, joined later.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/d3d/worker_pool.h"

namespace tarko::platform::d3d {
namespace {

TEST(WorkerPool, RunsEveryJobExactlyOnceForEachThreadCount) {
    for (const int threads : {1, 2, 4}) {
        WorkerPool pool(threads);
        std::vector<std::atomic<int>> calls(97);
        pool.run(97, [&](int job) { calls[static_cast<std::size_t>(job)]++; });
        for (std::size_t j = 0; j < calls.size(); ++j) EXPECT_EQ(calls[j].load(), 1) << threads << " threads, job " << j;
    }
}

// Started jobs run while the caller is away (with workers) or at finish
// (without); each once, in order of taking, and an error waits for finish.
TEST(WorkerPool, StartedJobsRunOnceAndTheirErrorComesAtFinish) {
    for (const int threads : {1, 2, 4}) {
        WorkerPool pool(threads);
        std::vector<std::atomic<int>> calls(50);
        std::atomic<int> done{0};
        pool.start(50, [&](int job) {
            // A job may wait for the jobs before it: they are all taken already.
            while (done.load() < job) std::this_thread::yield();
            calls[static_cast<std::size_t>(job)]++;
            ++done;
        });
        EXPECT_TRUE(pool.started());
        if (threads > 1) {
            // The workers finish them alone (given up after ten seconds rather than hang).
            const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
            while (done.load() < 50 && std::chrono::steady_clock::now() < give_up) std::this_thread::yield();
            EXPECT_EQ(done.load(), 50) << threads << " threads: the workers did not take the jobs";
        }
        pool.finish();
        EXPECT_FALSE(pool.started());
        for (std::size_t j = 0; j < calls.size(); ++j) EXPECT_EQ(calls[j].load(), 1) << threads << " threads, job " << j;

        pool.start(8, [](int job) {
            if (job == 5) throw std::runtime_error("job 5 failed");
        });
        try {
            pool.finish();
            ADD_FAILURE() << "no error on " << threads << " threads";
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()), "job 5 failed");
        }
        pool.finish();  // nothing left
    }
}

TEST(WorkerPool, AWorkersErrorReachesTheCallerAndThePoolKeepsWorking) {
    WorkerPool pool(3);
    const auto caller = std::this_thread::get_id();
    for (int round = 0; round < 20; ++round) {
        std::atomic<bool> worker_started{false};
        // The caller's own job waits until a worker has one, so the error is
        // always thrown on a worker thread. The job function is a temporary:
        // a worker still holding it after run() returns is a use after free.
        try {
            pool.run(64, [&, big = std::vector<int>(256, round)](int) {
                if (std::this_thread::get_id() == caller) {
                    while (!worker_started.load()) std::this_thread::yield();
                    return;
                }
                worker_started = true;
                throw std::runtime_error("job failed " + std::to_string(big[0]));
            });
            ADD_FAILURE() << "no error in round " << round;
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()), "job failed " + std::to_string(round));
        }
        std::atomic<int> done{0};
        pool.run(10, [&](int) { ++done; });
        EXPECT_EQ(done.load(), 10);
    }
}

}  // namespace
}  // namespace tarko::platform::d3d
