// The part of a job list that one of several processes works on.
#pragma once

#include "kelvane/export.hpp"

#include <cstddef>
#include <optional>
#include <string>

namespace KVN::toolkit {

/// Every `count`-th job, beginning with number `index`: each job belongs to exactly one index.
struct Shard {
    std::size_t index = 0; ///< below count
    std::size_t count = 1; ///< of all shards

    /// Whether a job, counted from 0, belongs to it.
    bool holds(std::size_t job) const { return job % count == index; }
};

/// "3/8": the fourth of eight. Throws InputError for anything else, also for 8/8.
KELVANE_EXPORT Shard parse_shard(const std::string& text);

/// The shard of a task of a Slurm array, by its environment variables; none outside of an array.
/// Throws InputError unless the array's numbers are a whole series from 0 or 1 on with one step,
/// such as 0-7 or 1-15:2: of `--array=2,5` nobody can tell which jobs are left to others.
KELVANE_EXPORT std::optional<Shard> shard_of_array_task();

} // namespace KVN::toolkit
