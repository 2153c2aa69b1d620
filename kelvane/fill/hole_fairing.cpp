#include "kelvane/fill/continuation/neighbourhood_surface.hpp"
#include "kelvane/fill/continuation/surface_continuation.hpp"
#include "kelvane/fill/hole_filling.hpp"

namespace Mesh_M {

int Orbrel::fairing(const std::vector<double>& neighbourhood, const int& neighbourhoodFaces,
                    const std::vector<double>& border, std::vector<MyPoint3>& points,
                    std::vector<MyFace>& faces, std::vector<MyPoint3>& normals,
                    std::vector<int>& borderIndices) {
    fill::HoleScene scene;
    if (!fill::read_scene(neighbourhood, border, true, neighbourhoodFaces, scene) ||
        scene.patch.empty()) {
        return -1;
    }
    const int placement =
        fill::continue_surface(fill::HeightField(scene), fill::Finish::even, scene);
    fill::write_patch(scene, points, faces, normals, borderIndices);
    return placement;
}

} // namespace Mesh_M
