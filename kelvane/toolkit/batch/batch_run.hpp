// Many repairs by one process, several side by side.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/batch/batch_records.hpp"
#include "kelvane/toolkit/batch/job_list.hpp"
#include "kelvane/toolkit/batch/shard.hpp"
#include "kelvane/toolkit/job/progress.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace KVN::toolkit {

/// How a batch is to be run.
struct BatchOptions {
    Shard shard; ///< the jobs that are this process's own
    /// Does again what is complete.
    bool again = false;
    /// Threads of all jobs together. As many jobs run at the same time, and a job has more than one
    /// only where the list is shorter. 0: as many as there are processors.
    int threads = 0;
    /// Bytes that jobs at the same time may need together, by job_memory(); a job that needs more
    /// runs alone. 0: default_batch_memory().
    std::uint64_t memory = 0;
};

/// How far a batch is, in jobs of its shard.
struct BatchCounts {
    std::size_t jobs = 0;     ///< all of the shard
    std::size_t complete = 0; ///< before the batch began
    std::size_t done = 0;     ///< by it
    std::size_t failed = 0;   ///< by it, with bad input or refused
};

/// Does one job with so many threads. What it throws becomes the job's result: InputError and
/// std::length_error bad input, everything else a refusal; but Cancelled ends the batch.
using RunJob = std::function<JobResult(const BatchJob& job, int threads, Progress& progress)>;

/// Told before the first job, with null, and after each job. Never called by two threads at once.
using BatchListener =
    std::function<void(const BatchCounts& counts, const BatchJob* ended, const JobResult& result)>;

/// Does all jobs of the shard that are not complete, in the order of the list as far as memory and
/// processors allow, and records each. A job that fails harms no other. The files that come out are
/// the same however many jobs run at once.
///
/// Throws Cancelled once `whole` is cancelled, SystemError if a record cannot be written; both
/// after the jobs under way have ended. What has ended by then stays recorded.
KELVANE_EXPORT void run_batch(const std::vector<BatchJob>& jobs, const BatchRecords& records,
                              const BatchOptions& options, const RunJob& run,
                              const BatchListener& listener, const Progress& whole);

} // namespace KVN::toolkit
