#include "batch_display.hpp"

#include "console.hpp"

#include <cstdio>
#include <string>

#include <unistd.h>

namespace kelvane_command {

using namespace KVN::toolkit;

namespace {

std::string line_of(const BatchCounts& counts, const BatchJob* ended) {
    std::string line = std::to_string(counts.complete + counts.done + counts.failed) + " of " +
                       std::to_string(counts.jobs) + " jobs";
    if (counts.complete > 0) {
        line += ", " + std::to_string(counts.complete) + " of them before";
    }
    if (counts.failed > 0) {
        line += ", " + std::to_string(counts.failed) + " failed";
    }
    return line + (ended != nullptr ? ": " + ended->output.string() : "");
}

} // namespace

BatchDisplay::BatchDisplay(bool quiet) : quiet_(quiet), terminal_(isatty(STDERR_FILENO) != 0) {
    catch_interrupt(&whole_);
}

BatchDisplay::~BatchDisplay() {
    catch_interrupt(nullptr);
    if (line_open_) {
        std::fputs("\r\033[K", stderr);
    }
}

void BatchDisplay::show(const BatchCounts& counts, const BatchJob* ended, const JobResult& result) {
    if (ended != nullptr && result.state != JobState::done) {
        std::fputs(line_open_ ? "\r\033[K" : "", stderr);
        print_error("line " + std::to_string(ended->line) + ": " + result.message);
    }
    if (quiet_) {
        return;
    }
    const std::string line = line_of(counts, ended);
    std::fprintf(stderr, terminal_ ? "\r\033[K%s" : "%s\n", line.c_str());
    std::fflush(stderr);
    line_open_ = terminal_;
}

} // namespace kelvane_command
