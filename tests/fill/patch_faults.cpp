#include "patch_faults.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <numeric>
#include <set>

using namespace Mesh_M;

namespace {

std::array<double, 3> minus(const MyPoint3& a, const MyPoint3& b) {
    return {a.p[0] - b.p[0], a.p[1] - b.p[1], a.p[2] - b.p[2]};
}

std::string fault_ofRecord(const std::vector<double>& border, const MyOFFDataNew& patch) {
    const int count = static_cast<int>(border.size() / 3);
    const int points = static_cast<int>(patch.points.size());
    if (patch.borderCount != count || patch.freeStart != count || points < count ||
        patch.innerCount != points - count) {
        return "counts";
    }
    for (int i = 0; i < points; ++i) {
        for (int axis = 0; axis < 3; ++axis) {
            if (i < count ? patch.points[i].p[axis] != border[3 * i + axis]
                          : !std::isfinite(patch.points[i].p[axis])) {
                return "coordinates of point " + std::to_string(i);
            }
        }
    }
    for (const MyFace& face : patch.faces) {
        const int *low = std::min_element(face.t_idx, face.t_idx + 3),
                  *high = std::max_element(face.t_idx, face.t_idx + 3);
        if (*low < 0 || *high >= points) {
            return "index out of range";
        }
    }
    return {};
}

/// Edges, Euler characteristic and one connected piece, in which every point has a single fan: its
/// triangles hang together across the edges at it.
std::string fault_ofTopology(const MyOFFDataNew& patch) {
    const int count = patch.borderCount, points = static_cast<int>(patch.points.size());
    std::map<std::pair<int, int>, int> owners; // directed edge -> triangle
    for (std::size_t f = 0; f < patch.faces.size(); ++f) {
        for (int i = 0; i < 3; ++i) {
            const int a = patch.faces[f].t_idx[i], b = patch.faces[f].t_idx[(i + 1) % 3];
            if (a == b || !owners.emplace(std::pair(a, b), static_cast<int>(f)).second) {
                return "edge " + std::to_string(a) + " " + std::to_string(b) + " taken twice";
            }
        }
    }
    int loose = 0;
    std::vector<int> triangles(points, 0), crossings(points, 0), piece(points);
    std::iota(piece.begin(), piece.end(), 0);
    const std::function<int(int)> root = [&](int point) {
        return piece[point] == point ? point : piece[point] = root(piece[point]);
    };
    for (const auto& [edge, owner] : owners) {
        const auto [a, b] = edge;
        const bool onBorder = a < count && b == (a + 1) % count;
        const bool paired = owners.count({b, a}) > 0;
        if (paired == onBorder) {
            return "edge " + std::to_string(a) + " " + std::to_string(b) + " loose or covered";
        }
        if (paired && count > 3 && a < count && b < count) {
            return "chord";
        }
        loose += onBorder;
        ++triangles[a];
        crossings[a] += paired;
        piece[root(a)] = root(b);
    }
    const int edges = (static_cast<int>(owners.size()) + loose) / 2;
    if (loose != count || points - edges + static_cast<int>(patch.faces.size()) != 1) {
        return "Euler characteristic";
    }
    // A disc-like fan of n triangles has n inner edges around an inner point, n - 1 at a border
    // point.
    for (int i = 0; i < points; ++i) {
        if (root(i) != root(0) || triangles[i] == 0 || crossings[i] != triangles[i] - (i < count)) {
            return "fan of point " + std::to_string(i);
        }
    }
    return {};
}

std::string fault_ofShape(const MyOFFDataNew& patch) {
    double extent = 0.0;
    for (const MyPoint3& point : patch.points) {
        extent = std::max(extent, distance(point, patch.points[0]));
    }
    for (const MyFace& face : patch.faces) {
        double longest = 0.0, border = extent;
        for (int i = 0; i < 3; ++i) {
            const int a = face.t_idx[i], b = face.t_idx[(i + 1) % 3];
            const double length = distance(patch.points[a], patch.points[b]);
            longest = std::max(longest, length);
            border = b == (a + 1) % patch.borderCount ? std::min(border, length) : border;
        }
        if (border > 1e-12 * extent && !(areaOf(patch, face) > 1e-15 * extent * longest)) {
            return "triangle without area";
        }
    }
    return {};
}

} // namespace

double distance(const MyPoint3& a, const MyPoint3& b) {
    const auto d = minus(a, b);
    return std::hypot(d[0], d[1], d[2]);
}

double areaOf(const MyOFFDataNew& patch, const MyFace& face) {
    const auto u = minus(patch.points[face.t_idx[1]], patch.points[face.t_idx[0]]);
    const auto v = minus(patch.points[face.t_idx[2]], patch.points[face.t_idx[0]]);
    return 0.5 * std::hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                            u[0] * v[1] - u[1] * v[0]);
}

std::string fault_of(const std::vector<double>& border, const MyOFFDataNew& patch) {
    std::string fault = fault_ofRecord(border, patch);
    if (fault.empty()) {
        fault = fault_ofTopology(patch);
    }
    return fault.empty() ? fault_ofShape(patch) : fault;
}
