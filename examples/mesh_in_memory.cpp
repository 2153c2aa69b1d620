// Repairs a mesh that the program holds in memory: arrays in, repair in place, arrays out. Needs
// the library alone.
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <cstdint>
#include <cstdio>
#include <vector>

int main() {
    // A flat sheet of 40 x 40 mm with points every millimetre.
    constexpr std::int32_t side = 41;
    std::vector<float> positions;
    std::vector<std::int32_t> triangles;
    for (std::int32_t j = 0; j < side; ++j) {
        for (std::int32_t i = 0; i < side; ++i) {
            positions.insert(positions.end(), {float(i), float(j), 0.0F});
            if (i + 1 < side && j + 1 < side) {
                const std::int32_t a = j * side + i;
                triangles.insert(triangles.end(),
                                 {a, a + 1, a + side + 1, a, a + side + 1, a + side});
            }
        }
    }

    Mesh_M::Mesh mesh;
    Mesh_M::build_mesh(mesh, positions.data(), positions.size() / 3, triangles.data(),
                       triangles.size() / 3);
    const int faces_before = mesh.faces.liveCount;

    // One marker of radius 3 in the middle; the cut reaches 1.5 mm farther.
    std::vector<KVN::Marker> markers{{20.0F, 20.0F, 0.0F, 0.0F, 0.0F, 1.0F, 3.0F}};
    KVN::RepairMarkers repair(&mesh, markers, 1.5, 0, nullptr, 0);
    repair.DeleteMarkRegion();
    const int faces_cut = mesh.faces.liveCount;
    repair.MarkerRepairprocessing(2);

    const Mesh_M::MeshArrays result = Mesh_M::to_arrays(mesh);
    std::printf("faces: %d, cut to %d, repaired to %zu\n", faces_before, faces_cut,
                result.triangles.size() / 3);
    return 0;
}
