// The cost of an ear and its insertion.
#include "kelvane/triangulator/hole_triangulator.hpp"

#include "kelvane/triangulator/patch_records.hpp"

#include <limits>

namespace KVN {

namespace {

constexpr double pi = 3.141592653589793;
/// An angle nearer to pi than this counts as straight, or as folded back. Radians.
constexpr double near_pi = 0.001;

// The order of the degenerate cases around the ordinary costs, which lie between 0 and 3 pi: spikes
// go first, straight vertices last, folds after everything that folds nothing.
constexpr double largest = std::numeric_limits<double>::max();
constexpr double no_ear = largest;
constexpr double spike = -2.0;
constexpr double zero_edge = -1.0;
constexpr double straight = 9.42477796076938;
constexpr double folds_twice = largest / 2.0;
constexpr double folds_once = largest / 4.0;

bool is_near_pi(double angle) {
    return std::fabs(angle - pi) < near_pi;
}

/// Length of the segment between two points, all in single precision.
double single_length(const MemS::Point3v<float>& p, const MemS::Point3v<float>& q) {
    const float x = p.x - q.x;
    const float y = p.y - q.y;
    const float z = p.z - q.z;
    const float squares = x * x + y * y + z * z;
    return static_cast<double>(std::sqrt(squares));
}

bool same_place(const _vert* a, const _vert* b) {
    return a->pos.x == b->pos.x && a->pos.y == b->pos.y && a->pos.z == b->pos.z;
}

Eigen::Vector3d cross(const Eigen::Vector3d& u, const Eigen::Vector3d& v) {
    return {u.y() * v.z() - u.z() * v.y(), u.z() * v.x() - u.x() * v.z(),
            u.x() * v.y() - u.y() * v.x()};
}

Eigen::Vector3d widened(const MemS::Point3v<float>& v) {
    return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)};
}

/// Room for one more face and `edges` more edges in the 16-bit counts of a vertex.
bool has_room(const _vert* v, int edges) {
    return v->faceCount < Mesh_R::max_list_count && v->edgeCount + edges <= Mesh_R::max_list_count;
}

} // namespace

// atan2 keeps its precision near 0 and pi, where the arc cosine loses half of the digits.
double HoleTriangulator::vector_angle(const Eigen::Vector3d& u, const Eigen::Vector3d& v) {
    const double dot = u.x() * v.x() + u.y() * v.y() + u.z() * v.z();
    return std::atan2(std::sqrt(squared_norm(cross(u, v))), dot);
}

double HoleTriangulator::ear_cost(const std::vector<_vert*>& front, int i) {
    const int size = static_cast<int>(front.size());
    const int before = i == 0 ? size - 1 : i - 1;
    const int after = (i + 1) % size;
    return corner_cost(front[static_cast<std::size_t>(before)], front[static_cast<std::size_t>(i)],
                       front[static_cast<std::size_t>(after)]);
}

double HoleTriangulator::corner_cost(const _vert* prev, const _vert* cur, const _vert* next) const {
    if (cur == nullptr) {
        return no_ear;
    }
    const _edge* before = mesh->vertices.find_edge(prev, cur);
    const _edge* after = mesh->vertices.find_edge(next, cur);
    if (before == nullptr || after == nullptr) {
        return no_ear;
    }
    if (same_place(prev, next)) {
        return spike;
    }
    if (single_length(prev->pos, cur->pos) * single_length(next->pos, cur->pos) == 0.0) {
        return zero_edge;
    }

    const Eigen::Vector3d to_prev = difference(prev->pos, cur->pos);
    const Eigen::Vector3d to_next = difference(next->pos, cur->pos);
    const double theta = vector_angle(to_prev, to_next);
    if (is_near_pi(theta)) {
        return straight;
    }
    if (theta == 0.0) {
        return 0.0;
    }

    Eigen::Vector3d normal = cross(to_prev, difference(cur->pos, next->pos));
    const double length = std::sqrt(squared_norm(normal));
    normal = Eigen::Vector3d(normal.x() / length, normal.y() / length, normal.z() / length);
    // An edge that no face uses yet has nothing to bend against.
    const auto bend_at = [&normal](const _edge* e) {
        return e->faceCount > 0 ? vector_angle(normal, widened(e->faces[0]->normal)) : 0.0;
    };
    const double bend1 = bend_at(before);
    const double bend2 = bend_at(after);
    if (is_near_pi(bend1) && is_near_pi(bend2)) {
        return folds_twice;
    }
    if (is_near_pi(bend1) || is_near_pi(bend2)) {
        return folds_once;
    }
    return bend2 + bend1 + theta;
}

_face* HoleTriangulator::add_ear(_vert* a, _vert* b, _vert* c) {
    // A border that passes a vertex twice, or holds a null, brings such corners here; the kernel
    // would make an edge from a vertex to itself of them, or read through the null.
    if (a == nullptr || b == nullptr || c == nullptr || a == b || b == c || a == c) {
        return nullptr;
    }
    _vert* const pairs[3][2] = {{a, b}, {a, c}, {b, c}};
    _edge* edges[3];
    for (int k = 0; k < 3; ++k) {
        edges[k] = mesh->vertices.find_edge(pairs[k][0], pairs[k][1]);
        if (edges[k] != nullptr && edges[k]->faceCount > 1) {
            return nullptr; // a third face would break the manifold
        }
    }
    const int ab = edges[0] == nullptr ? 1 : 0;
    const int ac = edges[1] == nullptr ? 1 : 0;
    const int bc = edges[2] == nullptr ? 1 : 0;
    if (!has_room(a, ab + ac) || !has_room(b, ab + bc) || !has_room(c, ac + bc)) {
        return nullptr;
    }
    for (int k = 0; k < 3; ++k) {
        if (edges[k] == nullptr) {
            edges[k] = mesh->edges.insert_edge(pairs[k][0], pairs[k][1]);
            edges[k]->flags = 0;
            mesh->vertices.insert_edge(edges[k]);
        }
    }

    // Not normalised: only its direction is ever used, and a flip recomputes it the same way.
    const Eigen::Vector3d n = cross(difference(a->pos, b->pos), difference(b->pos, c->pos));
    MemS::Point3v<float> normal(static_cast<float>(n.x()), static_cast<float>(n.y()),
                                static_cast<float>(n.z()));
    _face* ear = mesh->faces.insert_face(a, b, c, edges[0], edges[1], edges[2], normal);
    mesh->vertices.insert_face(ear);
    mesh->edges.insert_face(ear);
    return ear;
}

} // namespace KVN
