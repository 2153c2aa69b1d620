// The second way of inserting a patch: border vertices are told by their coordinates.
#include "kelvane/patch/face_insertion.hpp"
#include "kelvane/patch/point_conversion.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <cmath>
#include <iostream>

namespace KVN {

namespace {

// Diagnostic for a triangle whose index `k` is outside of the points.
const char* const bad_index_lines[3] = {
    "t_idx[0] < 0 || t_idx[0] >last_addVertexIndex\n",
    "t_idx[1] < 0 || t_idx[1] >last_addVertexIndex\n",
    "t_idx[2] < 0 || t_idx[2] >last_addVertexIndex\n",
};

// True if all indices of the triangle are within the slots; otherwise names the first bad one.
bool indices_in_range(const MyFace& triangle, int last) {
    for (int k = 0; k < 3; ++k) {
        if (triangle.t_idx[k] < 0 || triangle.t_idx[k] > last) {
            std::cout << bad_index_lines[k];
            return false;
        }
    }
    return true;
}

} // namespace

int RepairMarkers::getVertexIndex(std::vector<_vert*>& candidates, const MyPoint3& point) {
    constexpr double tolerance = 0.001; // mesh units, per axis
    constexpr double farthest = 1e50;   // squared

    const int count = static_cast<int>(candidates.size());
    const auto offset = [&](int i, int axis) {
        const MemS::Point3v<float>& pos = candidates[i]->pos;
        const double p[3] = {pos.x, pos.y, pos.z};
        return p[axis] - point.p[axis];
    };
    // "Not greater" instead of "at most": a difference that is not a number is in the box.
    const auto outside = [&](int i, int axis) { return std::fabs(offset(i, axis)) > tolerance; };
    for (int i = 0; i < count; ++i) {
        if (!outside(i, 0) && !outside(i, 1) && !outside(i, 2)) {
            return i;
        }
    }
    double best = farthest;
    int nearest = -1;
    for (int i = 0; i < count; ++i) {
        const double dx = offset(i, 0), dy = offset(i, 1), dz = offset(i, 2);
        const double squared = dx * dx + dy * dy + dz * dz;
        if (best > squared) {
            best = squared;
            nearest = i;
        }
    }
    return nearest;
}

void RepairMarkers::insertpatch_7(std::vector<_vert*>& border, std::vector<MyPoint3>& points,
                                  std::vector<MyFace>& faces, std::vector<MyPoint3>& Fn,
                                  std::vector<int>& borderIndices) {
    const int n = static_cast<int>(points.size());
    std::vector<unsigned char> isBorder(n, 0);
    for (const int index : borderIndices) {
        isBorder[index] = 0xFF;
    }
    std::vector<_vert*> vertices(n, nullptr);
    for (int i = 0; i < n; ++i) {
        if (isBorder[i] != 0) {
            const int match = getVertexIndex(border, points[i]);
            vertices[i] = match >= 0 ? border[match] : nullptr;
        } else {
            MemS::Point3v<float> position = narrow(points[i]);
            vertices[i] = mesh->vertices.insert_vert(position);
        }
    }
    const int last_addVertexIndex = static_cast<int>(vertices.size()) - 1;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        if (!indices_in_range(faces[i], last_addVertexIndex)) {
            continue;
        }
        _vert* const corners[3] = {vertices[faces[i].t_idx[0]], vertices[faces[i].t_idx[1]],
                                   vertices[faces[i].t_idx[2]]};
        if (!insertion::has_room(corners)) {
            continue;
        }
        const insertion::TriangleEdges edges = insertion::find_then_make_edges(*mesh, corners);
        if (std::isnan(Fn[i].p[0])) {
            std::cout << "tnormal(Fn[i].p[0], Fn[i].p[1], Fn[i].p[2]) nan\n";
        }
        MemS::Point3v<float> normal = narrow(Fn[i]);
        for (_vert* corner : corners) {
            corner->normal = normal; // also where the face turns out to exist
        }
        if (!insertion::face_exists(*mesh, edges.ab, corners)) {
            insertion::add_face(*mesh, corners, edges, normal);
        }
    }
    insertion::average_normals(vertices);
}

} // namespace KVN
