// How many threads a job works with.
#pragma once

#include "kelvane/toolkit/job/marker_repair.hpp"

#include <omp.h>

#include <algorithm>

namespace KVN::toolkit {

/// The runtime's default team for the calling thread's parallel regions, until the end of the
/// scope.
class TeamSize {
  public:
    /// Throws SystemError if the system starts no so many threads: the runtime itself would end the
    /// process.
    explicit TeamSize(int threads);
    TeamSize(const TeamSize&) = delete;
    TeamSize& operator=(const TeamSize&) = delete;
    ~TeamSize() { omp_set_num_threads(before_); }

  private:
    int before_;
};

/// As many threads as were asked for, by the options or by the environment, but no more than can
/// have work at the same time: holes are shared out one by one, faces by processor.
inline int team_for(const RepairOptions& options, std::size_t markers) {
    constexpr std::size_t most_holes_at_once = 256;
    const int useful =
        std::max(omp_get_num_procs(), static_cast<int>(std::min(markers, most_holes_at_once)));
    return std::min(options.threads == 0 ? omp_get_max_threads() : options.threads, useful);
}

} // namespace KVN::toolkit
