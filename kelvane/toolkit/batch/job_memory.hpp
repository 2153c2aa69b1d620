// How much memory a job of a batch may take.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/batch/job_list.hpp"

#include <cstdint>

namespace KVN::toolkit {

/// Bytes that a job needs at its peak, by the size and kind of its scan: measured, rounded up.
/// A scan that is not there needs none.
KELVANE_EXPORT std::uint64_t job_memory(const BatchJob& job);

/// What a batch may use of this machine if nobody says more: half of its memory, since reading and
/// writing live on the other half.
KELVANE_EXPORT std::uint64_t default_batch_memory();

} // namespace KVN::toolkit
