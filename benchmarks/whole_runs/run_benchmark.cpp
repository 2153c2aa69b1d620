// What whole runs of the command cost, from file to file, beside the same job with CGAL and beside
// reading and writing the file. Every figure is of a process of its own.
#include "measured_process.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace KVN::bench;
namespace toolkit = KVN::toolkit;
namespace fs = std::filesystem;

/// One scan, as FACES/MARKERS on the command line.
struct Size {
    double faces = 0;
    int markers = 0;
};

struct Arguments {
    std::vector<std::string> sizes = {"0.1e6/50", "0.5e6/50",   "2e6/200",
                                      "2e6/1000", "10.6e6/200", "10.6e6/1000"};
    std::vector<int> threads = {1, 2};
    int repeat = 3;
    double margin = 1.4; // twice the mean edge of the scans, which is the command's own choice
    bool own_margin = false;
    bool markdown = false;
    std::string folder = fs::temp_directory_path();
};

Size size_of(const std::string& text) {
    const std::size_t slash = text.find('/');
    return {std::stod(text), slash == std::string::npos ? 0 : std::stoi(text.substr(slash + 1))};
}

/// The files of one scan, removed at the end.
class Files {
  public:
    explicit Files(const std::string& folder)
        : folder_(fs::path(folder) / ("run_benchmark_" + std::to_string(getpid()))) {
        fs::create_directory(folder_);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;
    ~Files() { fs::remove_all(folder_); }
    std::string operator/(const char* name) const { return folder_ / name; }

  private:
    fs::path folder_;
};

/// A panel of `demo`'s kind and proportions with markers well inside; returns its faces.
std::size_t write_scan_and_markers(const Size& size, const Files& files) {
    toolkit::DemoOptions options;
    const double larger = std::sqrt(size.faces * options.spacing * options.spacing /
                                    (2 * options.width * options.depth)); // two faces per point
    options.width *= larger;
    options.depth *= larger;
    options.inside = size.markers;
    options.on_rim = 0;
    options.overlapping = false;
    options.off_surface = false;
    const toolkit::SyntheticScan scan = toolkit::make_demo_scan(options);
    toolkit::write_scan(files / "scan.ply", scan.marked);
    toolkit::write_markers(files / "markers.csv", scan.markers);
    toolkit::write_markers(files / "none.csv", {});
    return scan.marked.face_count();
}

/// Several programs, measured in turns so that all see the same machine. Returns a median each.
std::vector<ProcessCost> in_turns(const std::vector<std::vector<std::string>>& commands,
                                  int repeat) {
    std::vector<std::vector<ProcessCost>> runs(commands.size());
    for (int run = 0; run < repeat; ++run) {
        for (std::size_t i = 0; i < commands.size(); ++i) {
            runs[i].push_back(measure_process(commands[i]));
        }
    }
    std::vector<ProcessCost> costs;
    for (const auto& of_one : runs) {
        costs.push_back(median_cost(of_one));
    }
    return costs;
}

void print_row(const std::vector<std::string>& cells, bool markdown) {
    constexpr std::size_t width = 12;
    std::string line = markdown ? "|" : "";
    for (const std::string& cell : cells) {
        const std::size_t blanks = cell.size() < width ? width - cell.size() : 1;
        line += markdown ? " " + cell + " |" : std::string(blanks, ' ') + cell;
    }
    std::puts(line.c_str());
    std::fflush(stdout);
}

void print_head(bool markdown) {
    const std::vector<std::string> head = {
        "faces",   "markers",   "threads", "s",          "wall s", "peak MB", "own MB",   "CGAL s",
        "CGAL MB", "CGAL/ours", "plain s", "plain/ours", "none s", "copy s",  "none/copy"};
    print_row(head, markdown);
    if (markdown) {
        print_row(std::vector<std::string>(head.size(), "---"), true);
    }
}

std::string number(double value, const char* format) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// The programs to be run on the files of one scan, with their arguments.
class Commands {
  public:
    Commands(const Files& files, const Arguments& arguments)
        : files_(files), arguments_(arguments) {}

    std::vector<std::string> repair(const char* markers, int threads) const {
        std::vector<std::string> command = {KELVANE_COMMAND,     "repair",
                                            files_ / "scan.ply", "--markers",
                                            files_ / markers,    "--output",
                                            files_ / "out.ply",  "--quiet",
                                            "--threads",         std::to_string(threads)};
        if (!arguments_.own_margin) {
            command.insert(command.end(), {"--marker-size", std::to_string(arguments_.margin)});
        }
        return command;
    }
    std::vector<std::string> copy() const {
        return {PLAIN_COPY, files_ / "scan.ply", files_ / "copy.ply"};
    }
    std::vector<std::string> peer() const {
        return {PEER_RUN, files_ / "scan.ply", files_ / "markers.csv",
                std::to_string(arguments_.margin), files_ / "peer.ply"};
    }
    /// With files read and written as the plain copy does it.
    std::vector<std::string> peer_between_arrays() const {
        std::vector<std::string> command = peer();
        command.emplace_back("plain");
        return command;
    }

  private:
    const Files& files_;
    const Arguments& arguments_;
};

void measure(const Size& size, const Arguments& arguments) {
    const Files files(arguments.folder);
    const std::size_t faces = write_scan_and_markers(size, files);
    const Commands commands(files, arguments);
    std::vector<std::vector<std::string>> all = {commands.copy(), commands.repair("none.csv", 1)};
    for (const int threads : arguments.threads) {
        all.push_back(commands.repair("markers.csv", threads));
    }
    const bool has_peer = *PEER_RUN != '\0';
    if (has_peer) {
        all.push_back(commands.peer_between_arrays());
        all.push_back(commands.peer());
    }
    const std::vector<ProcessCost> costs = in_turns(all, arguments.repeat);
    const ProcessCost& copy = costs[0];
    const ProcessCost& none = costs[1];
    const ProcessCost peer = has_peer ? costs.back() : ProcessCost{};
    const ProcessCost plain_peer = has_peer ? costs[costs.size() - 2] : ProcessCost{};
    for (std::size_t i = 0; i < arguments.threads.size(); ++i) {
        const ProcessCost& ours = costs[2 + i];
        print_row({std::to_string(faces), std::to_string(size.markers),
                   std::to_string(arguments.threads[i]), number(ours.processor_seconds, "%.2f"),
                   number(ours.wall_seconds, "%.2f"), number(ours.peak_megabytes, "%.0f"),
                   number(ours.own_megabytes, "%.0f"), number(peer.processor_seconds, "%.2f"),
                   number(peer.peak_megabytes, "%.0f"),
                   number(peer.processor_seconds / ours.processor_seconds, "%.1f"),
                   number(plain_peer.processor_seconds, "%.2f"),
                   number(plain_peer.processor_seconds / ours.processor_seconds, "%.1f"),
                   number(none.processor_seconds, "%.3f"), number(copy.processor_seconds, "%.3f"),
                   number(none.processor_seconds / copy.processor_seconds, "%.1f")},
                  arguments.markdown);
    }
}

void print_start_up(int repeat) {
    const ProcessCost cost = in_turns({{KELVANE_COMMAND, "--version"}}, 10 * repeat).front();
    std::printf("\nstart-up (--version): processor %.1f ms, wall %.1f ms\n",
                1e3 * cost.processor_seconds, 1e3 * cost.wall_seconds);
}

} // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Measures whole runs of the command on synthetic scans, as processes");
    app.footer("s: processor time; plain: CGAL between the plain copy's reader and writer; none: "
               "without markers; copy: the file read into arrays and written; MB: peak memory");
    app.add_option("--sizes", arguments.sizes, "scans, each as FACES/MARKERS");
    app.add_option("--threads", arguments.threads, "thread counts of the command");
    app.add_option("--repeat", arguments.repeat, "runs per figure, of which the median is taken")
        ->check(CLI::PositiveNumber);
    app.add_option("--margin", arguments.margin, "marker size of all runs, mm");
    app.add_flag("--own-margin", arguments.own_margin,
                 "let the command find the marker size by itself");
    app.add_flag("--markdown", arguments.markdown, "print the table as Markdown");
    app.add_option("--folder", arguments.folder, "where the files are put for the time being");
    CLI11_PARSE(app, argc, argv);
    try {
        print_head(arguments.markdown);
        for (const std::string& size : arguments.sizes) {
            measure(size_of(size), arguments);
        }
        print_start_up(arguments.repeat);
    } catch (const std::exception& error) {
        std::cerr << "run_benchmark: " << error.what() << '\n';
        return 2;
    }
}
