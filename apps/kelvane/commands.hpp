// The subcommands of `kelvane`. Each function adds one to `app`; it runs when the arguments are
// parsed, throws what the toolkit throws, and leaves the exit status in `status` if that is not 0.
#pragma once

#include <CLI/CLI.hpp>

namespace kelvane_command {

// What the help puts together, behind the options that everybody needs.
constexpr const char* group_places = "Marker places";
constexpr const char* group_finding = "Finding markers";
constexpr const char* group_machine = "Machine";

void add_repair(CLI::App& app, int& status);
void add_batch(CLI::App& app, int& status);
void add_cut(CLI::App& app);
void add_info(CLI::App& app);
void add_demo(CLI::App& app);
void add_compare(CLI::App& app);
void add_explain(CLI::App& app);
void add_find(CLI::App& app);

} // namespace kelvane_command
