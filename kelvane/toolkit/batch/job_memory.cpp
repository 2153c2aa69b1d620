#include "kelvane/toolkit/batch/job_memory.hpp"

#include "kelvane/toolkit/scan/formats/source_file.hpp"

#include <fstream>
#include <string>

#include <unistd.h>

namespace KVN::toolkit {

namespace {

// Peak memory of runs on 2 million faces, with some room: 19 MB with a binary PLY file, which stays
// on the disk; where the file is decoded 1.2 (STL) to 2.9 (OBJ, OFF) times its size; 16 times where
// all of it becomes a mesh. With less, jobs side by side run out of memory together.
constexpr double base_bytes = 64e6;
constexpr double streamed_share = 0.25;
constexpr double decoded_share = 4.0;
constexpr double whole_mesh_share = 25.0;

bool is_binary_ply(const std::filesystem::path& file) {
    char head[64] = {};
    std::ifstream(file, std::ios::binary).read(head, sizeof head - 1);
    return std::string(head).find("format binary_") != std::string::npos;
}

double share_of(const BatchJob& job) {
    const std::string whole = job.option("whole-mesh");
    if (!whole.empty() && whole != "false") {
        return whole_mesh_share;
    }
    const bool streamed = job.option("find").empty() && is_binary_ply(job.scan) &&
                          lower_extension(job.output) == ".ply";
    return streamed ? streamed_share : decoded_share;
}

} // namespace

std::uint64_t job_memory(const BatchJob& job) {
    std::error_code error;
    const auto size = std::filesystem::file_size(job.scan, error);
    return error
               ? 0
               : static_cast<std::uint64_t>(base_bytes + share_of(job) * static_cast<double>(size));
}

std::uint64_t default_batch_memory() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 2;
}

} // namespace KVN::toolkit
