#include "console.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <utility>

#include <unistd.h>

namespace kelvane_command {

using KVN::toolkit::Progress;
using KVN::toolkit::Stage;

namespace {

std::atomic<Progress*> interruptible{nullptr};

extern "C" void cancel_job(int) {
    if (Progress* progress = interruptible.load()) {
        progress->cancel();
    }
}

/// Sends the first interrupt to the job; the next one has its usual effect.
void catch_interrupt(Progress* progress) {
    interruptible.store(progress);
    struct sigaction action {};
    action.sa_handler = progress != nullptr ? cancel_job : SIG_DFL;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &action, nullptr);
}

} // namespace

void print_result(const std::string& text) {
    std::cout << text << std::flush;
    if (!std::cout) {
        throw KVN::toolkit::SystemError("standard output: cannot be written");
    }
}

void print_error(const std::string& message) {
    std::string line = "kelvane: ";
    for (const char c : message) {
        const auto code = static_cast<unsigned char>(c);
        line += code < 0x20 || code == 0x7F ? ' ' : c;
    }
    std::cerr << line << std::endl;
}

void print_notes(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        print_error(line);
    }
}

ProgressDisplay::ProgressDisplay(bool quiet)
    : quiet_(quiet), terminal_(isatty(STDERR_FILENO) != 0),
      progress_([this](Stage stage, double done) { show(stage, done); }) {
    catch_interrupt(&progress_);
}

ProgressDisplay::~ProgressDisplay() {
    catch_interrupt(nullptr);
    if (line_open_) {
        std::fputs("\r\033[K", stderr);
    }
}

void ProgressDisplay::show(Stage stage, double done) {
    if (quiet_) {
        return;
    }
    const char* name = done < 1.0 ? to_string(stage) : "done";
    if (!terminal_) {
        std::fprintf(stderr, "%3.0f%% %s\n", 100.0 * done, name);
        return;
    }
    constexpr int width = 30;
    std::string bar(static_cast<std::size_t>(done * width), '#');
    bar.resize(width, '.');
    std::fprintf(stderr, "\r\033[K[%s] %3.0f%% %s", bar.c_str(), 100.0 * done, name);
    std::fflush(stderr);
    line_open_ = true;
}

std::string dropped_faces(const Mesh_M::BuildReport& loaded, std::int64_t short_faces) {
    const std::array<std::pair<std::int64_t, const char*>, 5> reasons{
        {{short_faces, "with too few corners"},
         {loaded.degenerate, "degenerate"},
         {loaded.duplicate, "duplicate"},
         {loaded.out_of_range, "out of range"},
         {loaded.overfull, "non-manifold"}}};
    std::string text;
    for (const auto& [count, reason] : reasons) {
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + reason;
        }
    }
    return text;
}

} // namespace kelvane_command
