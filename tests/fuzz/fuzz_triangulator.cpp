// Turns bytes into a band around a hole and looks whether its triangulation leaves the band as it
// is and the records of the mesh agree.
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/kernel/mesh_check.hpp"
#include "kelvane/triangulator/hole_triangulator.hpp"
#include "tests/fuzz/band.hpp"

#include <algorithm>
#include <cstring>

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;

struct Corners {
    const _face* face;
    std::array<const _vert*, 3> verts;
};

std::vector<Corners> corners_of(const Mesh_M::Mesh& mesh) {
    std::vector<Corners> all;
    for (int i = 0; i < mesh.faces.total(); ++i) {
        const _face* face = &mesh.faces.at(i);
        all.push_back({face, {face->verts[0], face->verts[1], face->verts[2]}});
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // 2 edges: the triangulator has no limit on its faces, and a vertex far off makes many.
    constexpr int most_steps = 8;
    fuzz::Bytes bytes(data, size);
    const fuzz::Band band = fuzz::band_of(bytes, most_steps);
    Mesh_M::Mesh mesh;
    Mesh_M::build_mesh(mesh, band.points[0].data(), band.points.size(), band.triangles[0].data(),
                       band.triangles.size());
    std::vector<_vert*> boundary;
    for (int i = 0; i < band.loop; ++i) {
        boundary.push_back(&mesh.vertices.at(i));
    }
    const std::vector<Corners> before = corners_of(mesh);
    const std::string fault = Mesh_M::check_mesh(mesh).fault;
    fuzz::expect_none(fault.empty() ? "" : "before: " + fault);
    KVN::HoleTriangulator(&mesh, boundary).fill_front();

    fuzz::expect_none(Mesh_M::check_mesh(mesh).fault);
    for (std::size_t i = 0; i < band.points.size(); ++i) {
        const MemS::Point3v<float>& pos = mesh.vertices.at(static_cast<int>(i)).pos;
        fuzz::expect_none(std::memcmp(&pos, band.points[i].data(), sizeof pos) == 0
                              ? ""
                              : "a point of the band moved");
    }
    for (const Corners& corners : before) {
        const bool same =
            corners.face->status != Mesh_R::status_deleted &&
            std::equal(corners.verts.begin(), corners.verts.end(), corners.face->verts);
        fuzz::expect_none(same ? "" : "a triangle of the band changed");
    }
    return 0;
}
