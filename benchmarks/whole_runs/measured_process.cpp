#include "measured_process.hpp"

#include "statistics.hpp"
#include "stopwatch.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace KVN::bench {

namespace {

[[noreturn]] void become(const std::vector<std::string>& command) {
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    execv(words[0], words.data());
    _exit(127);
}

/// What the system tells of a process while it runs. Its account at the end is of no use for
/// memory: it counts what the parent held at the moment of the fork.
class MemoryWatch {
  public:
    explicit MemoryWatch(pid_t process)
        : file_("/proc/" + std::to_string(process) + "/status"), thread_([this] { watch(); }) {}
    ~MemoryWatch() { stop(); }

    void stop() {
        done_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
    }
    double peak_megabytes() const { return peak_ / 1024; }
    double own_megabytes() const { return own_ / 1024; }

  private:
    void watch() {
        while (!done_) {
            std::ifstream status(file_);
            std::string word;
            double kilobytes = 0;
            while (status >> word) {
                if (word == "VmHWM:" && status >> kilobytes) {
                    peak_ = std::max(peak_, kilobytes);
                } else if (word == "RssAnon:" && status >> kilobytes) {
                    own_ = std::max(own_, kilobytes);
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::string file_;
    std::atomic<bool> done_{false};
    double peak_ = 0; // kB
    double own_ = 0;  // kB
    std::thread thread_;
};

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

} // namespace

ProcessCost measure_process(const std::vector<std::string>& command) {
    const Stopwatch watch;
    const pid_t process = fork();
    if (process < 0) {
        throw std::runtime_error("no further process can be started");
    }
    if (process == 0) {
        become(command);
    }
    MemoryWatch memory(process);
    int status = 0;
    rusage usage{};
    wait4(process, &status, 0, &usage);
    ProcessCost cost;
    cost.wall_seconds = watch.seconds();
    memory.stop();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error(command.front() + " failed");
    }
    cost.processor_seconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    cost.peak_megabytes = memory.peak_megabytes();
    cost.own_megabytes = memory.own_megabytes();
    return cost;
}

ProcessCost median_cost(const std::vector<ProcessCost>& runs) {
    const auto middle = [&](double ProcessCost::*figure) {
        std::vector<double> values;
        for (const ProcessCost& run : runs) {
            values.push_back(run.*figure);
        }
        return median(values);
    };
    return {middle(&ProcessCost::processor_seconds), middle(&ProcessCost::wall_seconds),
            middle(&ProcessCost::peak_megabytes), middle(&ProcessCost::own_megabytes)};
}

} // namespace KVN::bench
