// What the command writes where: results to standard output, everything else to standard error.
#pragma once

#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/toolkit/job/progress.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace kelvane_command {

/// To be called first of all. Signals that end a program (interrupt, terminate, hang-up) remove
/// what is under way before they do; one that was ignored stays so. A reader of our output that
/// goes away ends nothing, and a standard stream that is closed never becomes one of our files.
void guard_process();

/// Writes a result and flushes. Throws SystemError if standard output takes no more.
void print_result(const std::string& text);

/// As print_result(), but to standard error if the mesh or list of the run, `output`, is on
/// standard output.
void print_beside(const std::string& output, const std::string& text);

/// Throws InputError if a run's JSON and its `output` both want standard output.
void check_one_result(const std::string& output, bool json);

/// Writes "kelvane: " and `message` as one line, control characters replaced.
void print_error(const std::string& message);

/// Writes lines of note to standard error, each as print_error() does.
void print_notes(const std::vector<std::string>& lines);

/// Sends the first interrupt from the keyboard to `progress`, which outlives the next call; a
/// second one has its usual effect. Null: none is caught.
void catch_interrupt(KVN::toolkit::Progress* progress);

/// Shows the progress of a job on standard error: a live bar on a terminal, a line per stage
/// elsewhere, nothing if `quiet`. While it lives, the first interrupt from the keyboard cancels the
/// job; another one ends the program.
class ProgressDisplay {
  public:
    explicit ProgressDisplay(bool quiet);
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;
    ~ProgressDisplay();

    KVN::toolkit::Progress& progress() { return progress_; }

  private:
    void show(KVN::toolkit::Stage stage, double done);

    bool quiet_;
    bool terminal_;
    bool line_open_ = false; // the bar stands on a line without end
    KVN::toolkit::Progress progress_;
};

/// "3 duplicate, 1 degenerate", or "" if no face was dropped.
std::string dropped_faces(const Mesh_M::BuildReport& loaded, std::int64_t short_faces);

} // namespace kelvane_command
