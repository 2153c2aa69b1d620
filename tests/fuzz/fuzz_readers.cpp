// Gives bytes to the readers of meshes, markers, blocks and lists of jobs. What they take is
// written and has to come back equal; what they do not take has to be an InputError of one line.
#include "kelvane/toolkit/batch/job_list.hpp"
#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "tests/fuzz/files.hpp"

namespace {

using namespace KVN::toolkit;
using fuzz::Folder;
using fuzz::same_bits;

void read_mesh(const Folder& folder, const std::string& extension, const std::string& content) {
    const auto file = open_scan(folder.put("in" + extension, content));
    const Scan scan = file->to_scan();
    const std::size_t vertices = scan.vertex_count();
    for (const std::int32_t corner : scan.triangles) {
        fuzz::expect_none(corner >= 0 && static_cast<std::size_t>(corner) < vertices
                              ? ""
                              : "a corner names no vertex");
    }
    write_scan(folder / "out.ply", scan);
    const Scan again = read_scan(folder / "out.ply");
    fuzz::expect_none(same_bits(scan.positions, again.positions) &&
                              scan.triangles == again.triangles
                          ? ""
                          : "a mesh does not come back");
    write_spliced(*file, {}, folder / ("same" + extension));
    const Scan same = read_scan(folder / ("same" + extension));
    fuzz::expect_none(same_bits(scan.positions, same.positions) && scan.triangles == same.triangles
                          ? ""
                          : "an empty splice changes a mesh");
}

void read_list(const Folder& folder, int kind, const std::string& content) {
    const std::filesystem::path file = folder.put(kind % 2 == 0 ? "in.csv" : "in.json", content);
    if (kind < 2) {
        const std::vector<KVN::Marker> markers = read_markers(file);
        write_markers(folder / "out.csv", markers);
        fuzz::expect_none(
            same_bits(markers, read_markers(folder / "out.csv")) ? "" : "markers do not come back");
    } else if (kind < 4) {
        read_blocks(file);
    } else {
        read_job_list(file);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    static const char* const meshes[] = {".ply", ".stl", ".obj", ".off"};
    fuzz::Bytes bytes(data, size);
    const int kind = bytes.byte() % 9;
    const std::string content = bytes.rest();
    try {
        if (kind < 4) {
            read_mesh(folder, meshes[kind], content);
        } else {
            read_list(folder, kind - 4, content);
        }
    } catch (const InputError& error) {
        fuzz::expect_none(std::strchr(error.what(), '\n') == nullptr ? "" : "more than one line");
    }
    return 0;
}
