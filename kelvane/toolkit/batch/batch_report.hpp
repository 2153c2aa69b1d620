// One report over all jobs of a list, also over those that other processes did.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/batch/batch_records.hpp"

#include <optional>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// What the records say of a list, in its order.
struct KELVANE_EXPORT BatchReport {
    /// One job and what came of it.
    struct Entry {
        const BatchJob* job;             ///< of the list that was given
        std::optional<JobResult> result; ///< none: missing, not done or no longer as it was done
    };
    std::vector<Entry> entries; ///< one per job, in the order of the list

    std::size_t missing() const;             ///< jobs without a result
    std::size_t count(JobState state) const; ///< jobs that ended so
    /// True if a marker of a job that is done is left.
    bool markers_left() const;

    /// A line per job: line, scan, markers, output, state, repaired, unrepaired, seconds, message.
    std::string csv() const;
    /// The same with the whole report of each job that is done.
    std::string json() const;
};

/// Looks the jobs up. `jobs` must outlive the report.
KELVANE_EXPORT BatchReport report_batch(const std::vector<BatchJob>& jobs,
                                        const BatchRecords& records);

} // namespace KVN::toolkit
