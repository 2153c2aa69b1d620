#include "kelvane/fill/hole_filling.hpp"
#include "kelvane/fill/neighbourhood_surface.hpp"
#include "kelvane/fill/surface_continuation.hpp"

namespace Mesh_M {

int Orbrel::fairing(const std::vector<double>& neighbourhood, const int& neighbourhoodFaces,
                    const std::vector<double>& border, std::vector<MyPoint3>& points,
                    std::vector<MyFace>& faces, std::vector<MyPoint3>& normals,
                    std::vector<int>& borderIndices) {
    fill::HoleScene scene;
    if (!fill::readScene(neighbourhood, border, true, neighbourhoodFaces, scene) ||
        scene.patch.empty())
        return -1;
    fill::continueSurface(scene);
    fill::writePatch(scene, points, faces, normals, borderIndices);
    return 0;
}

} // namespace Mesh_M
