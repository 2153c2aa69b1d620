// Looking for markers that nobody listed, for the subcommands that do.
#pragma once

#include "kelvane/toolkit/find/marker_finding.hpp"

#include <CLI/CLI.hpp>

namespace kelvane_command {

/// --radius, --radius-min, --radius-max, --inner, --dark-inside.
void add_find_options(CLI::App& command, KVN::toolkit::FindOptions& options);

} // namespace kelvane_command
