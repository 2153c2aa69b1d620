#include "console.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/temporary_file.hpp"
#include "kelvane/toolkit/standard_stream.hpp"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace kelvane_command {

using KVN::toolkit::Progress;
using KVN::toolkit::Stage;

namespace {

std::atomic<Progress*> interruptible{nullptr};
std::atomic<bool> ending{false};

extern "C" void end_by_signal(int number) {
    if (number == SIGINT) {
        if (Progress* progress = interruptible.exchange(nullptr)) {
            progress->cancel();
            return;
        }
    }
    while (ending.exchange(true)) {
        ::pause(); // another thread has caught one and ends the process
    }
    KVN::toolkit::remove_temporary_files();
    constexpr char line[] = "kelvane: ended by a signal\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line, sizeof line - 1);
    ::_exit(128 + number); // as a shell tells of a process that a signal ended
}

} // namespace

void guard_process() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1) {
            // Takes the lowest free number, which is this one. Writing to it fails as before.
            [[maybe_unused]] const int taken = ::open("/dev/null", O_RDONLY);
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            action = {};
            action.sa_handler = end_by_signal;
            sigfillset(&action.sa_mask); // none may come between while it ends the process
            action.sa_flags = SA_RESTART;
            sigaction(number, &action, nullptr);
        }
    }
}

void catch_interrupt(Progress* progress) {
    interruptible = progress;
}

void print_result(const std::string& text) {
    std::cout << text << std::flush;
    if (!std::cout) {
        throw KVN::toolkit::SystemError("standard output: cannot be written");
    }
}

void print_beside(const std::string& output, const std::string& text) {
    if (KVN::toolkit::is_standard_stream(output)) {
        std::cerr << text << std::flush;
    } else {
        print_result(text);
    }
}

void check_one_result(const std::string& output, bool json) {
    if (json && KVN::toolkit::is_standard_stream(output)) {
        throw KVN::toolkit::InputError("--json and --output - both want standard output");
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
