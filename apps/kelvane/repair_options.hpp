// Options that several subcommands share.
#pragma once

#include "kelvane/toolkit/job/marker_repair.hpp"

#include <CLI/CLI.hpp>

#include <cstddef>
#include <string>

namespace kelvane_command {

/// How markers are cut and closed: --marker-size, --size-adjustable, --resolution, --method.
void add_cut_options(CLI::App& command, KVN::toolkit::RepairOptions& options);

/// --page, and --page-markers, a number or "all".
void add_page_options(CLI::App& command, std::string& page, std::size_t& most_views);
/// What to say of a marker size that nobody gave.
std::string note_on_size(double marker_size);

} // namespace kelvane_command
