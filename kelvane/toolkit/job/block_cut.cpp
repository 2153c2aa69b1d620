#include "kelvane/toolkit/job/block_cut.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/scan_counts.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"
#include "kelvane/toolkit/windows/splice_making.hpp"
#include "kelvane/toolkit/windows/window.hpp"

#include <limits>
#include <numeric>

namespace KVN::toolkit {

namespace {

/// The window that holds all faces of every vertex whose faces are cut: those in a block, and their
/// neighbours, of which the cut may leave nothing.
Window window_of(const Surface& surface, const std::vector<Block>& blocks) {
    std::vector<Capsule> spheres;
    for (const Block& b : blocks) {
        // A hit is decided in single precision: a little more reach makes up for it.
        spheres.push_back({{b.x, b.y, b.z}, {b.x, b.y, b.z}, 1.001 * b.radius});
    }
    VertexBits complete(surface.vertex_count());
    add_in_reach(surface, Reach(spheres), complete);
    const Window inner = collect_window(surface, complete);
    std::vector<std::int32_t> all(inner.vertices.size());
    std::iota(all.begin(), all.end(), 0);
    add_vertices(surface, inner, all, complete);
    return collect_window(surface, complete);
}

Splice plan_cut(const Surface& surface, const std::vector<Block>& blocks, CutReport& report) {
    if (blocks.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw InputError("more blocks than can be counted");
    }
    std::vector<float> spheres;
    for (const Block& block : blocks) {
        spheres.insert(spheres.end(), {block.x, block.y, block.z, block.radius});
    }
    const Window window = window_of(surface, blocks);
    Mesh_M::Mesh mesh;
    const std::vector<std::int32_t> face_of = build_from(window, mesh, report.loaded);
    std::vector<Marker> no_markers;
    RepairMarkers repair(&mesh, no_markers, 0.0, 0, spheres.data(),
                         static_cast<int>(blocks.size()));
    repair.deleteblocks();
    Splice splice = make_cut_splice(window, mesh, face_of);
    note_counts(surface, splice, report);
    return splice;
}

} // namespace

CutReport cut_blocks(Scan& scan, const std::vector<Block>& blocks) {
    CutReport report;
    apply_splice(scan, plan_cut(ScanSurface(scan), blocks, report));
    report.short_faces = scan.short_faces;
    return report;
}

CutReport cut_file(const OpenScan& scan, const std::vector<Block>& blocks,
                   const std::filesystem::path& output) {
    CutReport report;
    report.not_kept = write_spliced(scan, plan_cut(FileSurface(scan), blocks, report), output);
    report.short_faces = static_cast<std::int64_t>(scan.short_faces());
    return report;
}

} // namespace KVN::toolkit
