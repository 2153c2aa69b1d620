// Repairs one marker on a small sheet by the library alone; ends with 0 if its place is closed.
#include <kelvane/kernel/mesh_build.hpp>
#include <kelvane/kernel/mesh_check.hpp>
#include <kelvane/repair/repair_markers.hpp>

#include <cstdint>
#include <cstdio>
#include <vector>

int main() {
    constexpr std::int32_t side = 31;
    std::vector<float> positions;
    std::vector<std::int32_t> triangles;
    for (std::int32_t j = 0; j < side; ++j) {
        for (std::int32_t i = 0; i < side; ++i) {
            positions.insert(positions.end(), {float(i), float(j), 0.01F * float(i * j % 7)});
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
    std::vector<KVN::Marker> markers{{15, 15, 0, 0, 0, 1, 3}};
    KVN::RepairMarkers repair(&mesh, markers, 1.5, 0, nullptr, 0);
    repair.DeleteMarkRegion();
    repair.MarkerRepairprocessing(2);
    const Mesh_M::MeshCheck check = Mesh_M::check_mesh(mesh);
    std::printf("%d faces, %d boundary edges\n", int(check.live_faces), int(check.boundary_edges));
    return check.sound() && check.boundary_edges == 4 * (side - 1) ? 0 : 1;
}
