#include "kelvane/toolkit/batch/batch_run.hpp"

#include "kelvane/toolkit/batch/job_memory.hpp"
#include "kelvane/toolkit/batch/job_queue.hpp"
#include "kelvane/toolkit/errors.hpp"

#include <omp.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>

namespace KVN::toolkit {

namespace {

JobResult failure(JobState state, const std::string& message) {
    JobResult result;
    result.state = state;
    result.message = message;
    return result;
}

JobResult guarded(const RunJob& run, const BatchJob& job, int threads, Progress& progress) {
    try {
        return run(job, threads, progress);
    } catch (const Cancelled&) {
        throw;
    } catch (const InputError& error) {
        return failure(JobState::bad_input, error.what());
    } catch (const std::length_error&) {
        return failure(JobState::bad_input, "the scan is larger than a mesh can be");
    } catch (const std::bad_alloc&) {
        return failure(JobState::refused, "not enough memory");
    } catch (const std::exception& error) {
        return failure(JobState::refused, error.what());
    }
}

/// What the threads of a batch share.
class Batch {
  public:
    Batch(const BatchRecords& records, const RunJob& run, const BatchListener& listener,
          const Progress& whole)
        : records_(records), run_(run), listener_(listener), whole_(whole) {}

    std::vector<JobQueue::Entry> jobs_to_do(const std::vector<BatchJob>& jobs,
                                            const BatchOptions& options) {
        std::vector<JobQueue::Entry> entries;
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            if (!options.shard.holds(i)) {
                continue;
            }
            ++counts_.jobs;
            const std::optional<JobResult> known = records_.find(jobs[i]);
            if (!options.again && known && known->state == JobState::done) {
                ++counts_.complete;
            } else {
                entries.push_back({&jobs[i], job_memory(jobs[i])});
            }
        }
        listener_(counts_, nullptr, {});
        return entries;
    }

    /// What each thread does until the queue is empty.
    void work(JobQueue& queue, int threads) {
        while (const JobQueue::Entry* entry = queue.take()) {
            try {
                whole_.check();
                do_job(*entry->job, threads);
            } catch (...) {
                queue.stop(std::current_exception());
            }
            queue.give_back(*entry);
        }
    }

  private:
    void do_job(const BatchJob& job, int threads) {
        Progress* own = nullptr;
        Progress progress([&](Stage, double) {
            if (whole_.cancelled()) {
                own->cancel();
            }
        });
        own = &progress;
        const auto started = std::chrono::steady_clock::now();
        const FileStates inputs = BatchRecords::inputs_of(job);
        JobResult result = guarded(run_, job, threads, progress);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started;
        result.seconds = taken.count();
        records_.finish(job, inputs, result);
        tell(job, result);
    }

    void tell(const BatchJob& job, const JobResult& result) {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++(result.state == JobState::done ? counts_.done : counts_.failed);
        listener_(counts_, &job, result);
    }

    const BatchRecords& records_;
    const RunJob& run_;
    const BatchListener& listener_;
    const Progress& whole_;
    std::mutex mutex_; // for what follows and the listener
    BatchCounts counts_;
};

} // namespace

void run_batch(const std::vector<BatchJob>& jobs, const BatchRecords& records,
               const BatchOptions& options, const RunJob& run, const BatchListener& listener,
               const Progress& whole) {
    Batch batch(records, run, listener, whole);
    const std::vector<JobQueue::Entry> entries = batch.jobs_to_do(jobs, options);
    const int threads = options.threads > 0 ? options.threads : omp_get_num_procs();
    const int workers =
        static_cast<int>(std::min<std::size_t>(entries.size(), static_cast<std::size_t>(threads)));
    JobQueue queue(entries, options.memory > 0 ? options.memory : default_batch_memory());
    std::vector<std::thread> team;
    for (int i = 0; i < workers; ++i) {
        team.emplace_back([&] { batch.work(queue, std::max(1, threads / workers)); });
    }
    for (std::thread& thread : team) {
        thread.join();
    }
    queue.rethrow();
}

} // namespace KVN::toolkit
