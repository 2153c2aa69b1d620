#include "kelvane/toolkit/job/block_cut.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"

#include <limits>
#include <utility>

namespace KVN::toolkit {

CutReport cut_blocks(Scan& scan, const std::vector<Block>& blocks) {
    if (blocks.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw InputError("more blocks than can be counted");
    }
    std::vector<float> spheres;
    for (const Block& block : blocks) {
        spheres.insert(spheres.end(), {block.x, block.y, block.z, block.radius});
    }
    CutReport report;
    report.vertices_before = static_cast<std::int64_t>(scan.vertex_count());
    report.short_faces = scan.short_faces;

    Mesh_M::Mesh mesh;
    report.loaded = build_from(scan, mesh);
    report.faces_before = report.loaded.inserted;
    std::vector<Marker> no_markers;
    RepairMarkers repair(&mesh, no_markers, 0.0, 0, spheres.data(),
                         static_cast<int>(blocks.size()));
    repair.deleteblocks();

    Scan cut = scan_of(mesh);
    report.vertices_after = static_cast<std::int64_t>(cut.vertex_count());
    report.faces_after = static_cast<std::int64_t>(cut.face_count());
    scan = std::move(cut);
    return report;
}

} // namespace KVN::toolkit
