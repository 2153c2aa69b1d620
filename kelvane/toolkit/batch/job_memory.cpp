#include "kelvane/toolkit/batch/job_memory.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/formats/source_file.hpp"

#include <algorithm>
#include <exception>
#include <fstream>
#include <string>

#include <unistd.h>

namespace KVN::toolkit {

namespace {

// Peak memory of runs on half a million to 10 million faces, up to 1,000 markers, by every method,
// rounded up by a tenth or more. With less, jobs side by side run out of memory together.
constexpr double base_bytes = 24e6;

// What a marker's window and its share of the new records take, with edges of a quarter of its
// radius; twice that with edges half as long. A page takes as much again.
constexpr double marker_bytes = 0.75e6;
constexpr double markers_to_be_found = 100; // a guess: the list is made when the job runs

/// What a job needs in sizes of its scan's file.
struct Shares {
    double same_format; ///< the output's format is that of the scan, without --find
    double as_arrays;   ///< another format, or --find: the scan becomes arrays
    double whole_mesh;  ///< all of it becomes a mesh; the windows of many markers take no more
};
constexpr Shares binary_ply{0.35, 2.6, 17.0}; // the mean edge takes 12 bytes per vertex
constexpr Shares binary_stl{0.05, 1.1, 7.0};
constexpr Shares text_stl{1.3, 1.6, 3.5};
constexpr Shares decoded{3.7, 3.7, 11.0}; // OFF takes most

std::string beginning_of(const std::filesystem::path& file) {
    char head[64] = {};
    std::ifstream(file, std::ios::binary).read(head, sizeof head - 1);
    return head;
}

const Shares& shares_of(const std::filesystem::path& scan) {
    const std::string head = beginning_of(scan);
    if (lower_extension(scan) == ".stl") {
        return head.rfind("solid", 0) == 0 ? text_stl : binary_stl;
    }
    return head.find("format binary_") != std::string::npos ? binary_ply : decoded;
}

bool is_set(const BatchJob& job, const char* option) {
    const std::string value = job.option(option);
    return !value.empty() && value != "false";
}

/// 0 for a list that cannot be read, which ends the job before it needs any memory.
double marker_count(const BatchJob& job) {
    if (is_set(job, "find")) {
        return markers_to_be_found;
    }
    try {
        return static_cast<double>(read_markers(job.markers).size());
    } catch (const std::exception&) {
        return 0.0;
    }
}

} // namespace

std::uint64_t job_memory(const BatchJob& job) {
    std::error_code error;
    const auto size = static_cast<double>(std::filesystem::file_size(job.scan, error));
    if (error) {
        return 0;
    }
    const Shares& shares = shares_of(job.scan);
    const bool becomes_arrays =
        is_set(job, "find") || lower_extension(job.output) != lower_extension(job.scan);
    const double whole = shares.whole_mesh * size;
    if (is_set(job, "whole-mesh")) {
        return static_cast<std::uint64_t>(base_bytes + whole);
    }
    const double scan = (becomes_arrays ? shares.as_arrays : shares.same_format) * size;
    const double places = marker_count(job) * marker_bytes * (is_set(job, "page") ? 2.0 : 1.0);
    return static_cast<std::uint64_t>(base_bytes + scan + std::min(places, whole));
}

std::uint64_t default_batch_memory() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 2;
}

} // namespace KVN::toolkit
