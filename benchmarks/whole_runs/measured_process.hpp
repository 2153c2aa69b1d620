// A program run to its end, with what it took.
#pragma once

#include <string>
#include <vector>

namespace KVN::bench {

/// What one run of a program took; or the middle of several, figure by figure.
struct ProcessCost {
    double processor_seconds = 0; ///< in the program and in the system on its behalf
    double wall_seconds = 0;      ///< from the call to the end
    double peak_megabytes = 0;    ///< of memory that the process held
    /// Of that, what is its own and not a file's; looked at every millisecond, so that a shorter
    /// peak is missed.
    double own_megabytes = 0;
};

/// Runs `command`, a path and its arguments, without output and waits for it. Throws
/// std::runtime_error if it cannot be run or does not end with 0.
ProcessCost measure_process(const std::vector<std::string>& command);

/// The medians of several runs.
ProcessCost median_cost(const std::vector<ProcessCost>& runs);

} // namespace KVN::bench
