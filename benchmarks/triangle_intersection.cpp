#include "triangle_intersection.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace KVN::bench {

namespace {

using Eigen::Vector2d;
using Corners = std::array<Vector3d, 3>;

constexpr double tolerance = 1e-12; // of the product of the spanning lengths

// Sign of the volume that d spans over the triangle abc. Differences of single-precision positions
// are exact in double precision, or nearly so.
int side(const Vector3d& a, const Vector3d& b, const Vector3d& c, const Vector3d& d) {
    const Vector3d u = b - a, v = c - a, w = d - a;
    const double volume = u.cross(v).dot(w);
    const double limit = tolerance * u.norm() * v.norm() * w.norm();
    return volume > limit ? 1 : volume < -limit ? -1 : 0;
}

// Does pq pass from one side of the triangle to the other through its inside or its outline?
bool segment_cuts(const Vector3d& p, const Vector3d& q, const Corners& t) {
    const int from = side(t[0], t[1], t[2], p), to = side(t[0], t[1], t[2], q);
    if (from * to >= 0) {
        return false;
    }
    const int s0 = side(p, q, t[0], t[1]), s1 = side(p, q, t[1], t[2]), s2 = side(p, q, t[2], t[0]);
    const bool mixed = (s0 > 0 || s1 > 0 || s2 > 0) && (s0 < 0 || s1 < 0 || s2 < 0);
    return !mixed;
}

int side(const Vector2d& a, const Vector2d& b, const Vector2d& c) {
    const Vector2d u = b - a, v = c - a;
    const double area = u.x() * v.y() - u.y() * v.x();
    const double limit = tolerance * u.norm() * v.norm();
    return area > limit ? 1 : area < -limit ? -1 : 0;
}

bool strictly_inside(const Vector2d& p, const std::array<Vector2d, 3>& t) {
    const int s = side(t[0], t[1], p);
    return s != 0 && s == side(t[1], t[2], p) && s == side(t[2], t[0], p);
}

// Overlap of positive area of two triangles in one plane, seen along the largest component of their
// normal.
bool overlap_in_plane(const Corners& f, const Corners& g) {
    int drop;
    (f[1] - f[0]).cross(f[2] - f[0]).cwiseAbs().maxCoeff(&drop);
    std::array<Vector2d, 3> a, b;
    for (int i = 0; i < 3; ++i) {
        a[i] = {f[i][(drop + 1) % 3], f[i][(drop + 2) % 3]};
        b[i] = {g[i][(drop + 1) % 3], g[i][(drop + 2) % 3]};
    }
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            const Vector2d &p = a[i], &q = a[(i + 1) % 3], &r = b[j], &s = b[(j + 1) % 3];
            if (side(p, q, r) * side(p, q, s) < 0 && side(r, s, p) * side(r, s, q) < 0) {
                return true;
            }
        }
        if (strictly_inside(a[i], b) || strictly_inside(b[i], a)) {
            return true;
        }
    }
    const Vector2d middle_a = (a[0] + a[1] + a[2]) / 3, middle_b = (b[0] + b[1] + b[2]) / 3;
    return strictly_inside(middle_a, b) || strictly_inside(middle_b, a);
}

bool in_plane_of(const Corners& f, const Corners& g) {
    return side(f[0], f[1], f[2], g[0]) == 0 && side(f[0], f[1], f[2], g[1]) == 0 &&
           side(f[0], f[1], f[2], g[2]) == 0;
}

struct Box {
    Eigen::AlignedBox3f box;
    int face;
};

std::vector<Box> boxes_by_x(const TriangleMesh& mesh) {
    std::vector<Box> boxes(mesh.faces());
    for (int f = 0; f < mesh.faces(); ++f) {
        boxes[f].face = f;
        for (const Vector3d& corner : mesh.corners(f)) {
            boxes[f].box.extend(corner.cast<float>());
        }
    }
    std::stable_sort(boxes.begin(), boxes.end(),
                     [](const Box& a, const Box& b) { return a.box.min().x() < b.box.min().x(); });
    return boxes;
}

} // namespace

bool faces_intersect(const TriangleMesh& mesh, int f, int g) {
    const auto tf = mesh.face(f), tg = mesh.face(g);
    const Corners cf = mesh.corners(f), cg = mesh.corners(g);
    int shared = 0;
    for (int i = 0; i < 3; ++i) {
        shared += std::count(tg.begin(), tg.end(), tf[i]) > 0;
    }
    if (shared == 3) {
        return true;
    }
    if (in_plane_of(cf, cg)) {
        return overlap_in_plane(cf, cg);
    }
    if (shared == 2) {
        return false; // two planes meet in the common edge only
    }
    for (int i = 0; i < 3; ++i) {
        // An edge at a shared corner begins in the other plane and is no candidate: its side is 0.
        if (segment_cuts(cf[i], cf[(i + 1) % 3], cg) || segment_cuts(cg[i], cg[(i + 1) % 3], cf)) {
            return true;
        }
    }
    return false;
}

std::vector<std::pair<int, int>> intersecting_pairs(const TriangleMesh& mesh,
                                                    const std::vector<char>& chosen) {
    const std::vector<Box> boxes = boxes_by_x(mesh);
    float widest = 0;
    for (const Box& b : boxes) {
        widest = std::max(widest, b.box.sizes().x());
    }
    std::vector<std::pair<int, int>> pairs;
    for (const Box& b : boxes) {
        if (!chosen[b.face]) {
            continue;
        }
        auto other =
            std::lower_bound(boxes.begin(), boxes.end(), b.box.min().x() - widest,
                             [](const Box& box, float x) { return box.box.min().x() < x; });
        for (; other != boxes.end() && other->box.min().x() <= b.box.max().x(); ++other) {
            const bool counted_elsewhere = chosen[other->face] && other->face <= b.face;
            if (!counted_elsewhere && b.box.intersects(other->box) &&
                faces_intersect(mesh, b.face, other->face)) {
                pairs.emplace_back(b.face, other->face);
            }
        }
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

} // namespace KVN::bench
