// One repair as the command line describes it, for the subcommands that make one or many.
#pragma once

#include "find_options.hpp"

#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"

#include <CLI/CLI.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace kelvane_command {

struct RepairArguments {
    std::string scan;
    std::string markers; ///< or what to look for
    std::string find;
    KVN::toolkit::FindOptions find_options;
    std::string output;
    std::string report;
    std::string page;
    std::size_t page_views = 25;
    KVN::toolkit::RepairOptions options;
};

/// What a repair came to.
struct RepairRun {
    std::vector<KVN::Marker> markers; ///< listed or found
    KVN::toolkit::RepairReport report;
    std::string json;
};

/// All that describes a repair: the command's options and the columns of a job list alike.
void add_repair_arguments(CLI::App& command, RepairArguments& arguments);

/// Looks at what can be seen to fail before the work begins: whether outputs can be written, and
/// that none of them is another file of the run.
void check_outputs(const RepairArguments& arguments);

/// The listed markers, or those that are found.
std::vector<KVN::Marker> markers_for(const RepairArguments& arguments,
                                     const KVN::toolkit::OpenScan& scan);

/// Repairs, and writes the scan and the report. Writes nothing to the standard streams.
RepairRun run_repair(const RepairArguments& arguments, KVN::toolkit::Progress& progress);

} // namespace kelvane_command
