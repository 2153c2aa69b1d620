// Options that several subcommands share.
#pragma once

#include "kelvane/toolkit/job/marker_repair.hpp"

#include <CLI/CLI.hpp>

namespace kelvane_command {

/// How markers are cut and closed: --marker-size, --size-adjustable, --resolution, --method.
void add_cut_options(CLI::App& command, KVN::toolkit::RepairOptions& options);

} // namespace kelvane_command
