#include "kelvane/fill/disc/patch_builder.hpp"
#include "kelvane/fill/disc/ring_layout.hpp"
#include "kelvane/fill/hole_filling.hpp"

#include <algorithm>
#include <cmath>

namespace Mesh_M {

int Orbrel::fillHoleWithoutFair(const std::vector<double>& border, MyOFFDataNew& patch) {
    std::vector<fill::Point> loop;
    if (!fill::read_border(border, loop)) {
        return -1;
    }
    fill::Patch built;
    if (!fill::build_patch(loop, built)) {
        return -2;
    }
    MyOFFDataNew result;
    result.points.reserve(built.points.size());
    for (const fill::Point& point : built.points) {
        MyPoint3 entry;
        std::copy(point.data(), point.data() + 3, entry.p);
        result.points.push_back(entry);
    }
    result.faces.reserve(built.triangles.size());
    for (const fill::Triangle& triangle : built.triangles) {
        MyFace face;
        std::copy(triangle.begin(), triangle.end(), face.t_idx);
        result.faces.push_back(face);
    }
    result.borderCount = built.borderCount;
    result.freeStart = built.borderCount;
    result.innerCount = static_cast<int>(built.points.size()) - built.borderCount;
    patch = std::move(result);
    return 0;
}

double filling_cost(const std::vector<double>& border) {
    std::vector<fill::Point> loop;
    if (!fill::read_border(border, loop)) {
        return 0.0;
    }
    const auto count = static_cast<double>(loop.size());
    return count * (fill::suits_rings(loop) ? std::sqrt(count) : 0.75 * count);
}

} // namespace Mesh_M
