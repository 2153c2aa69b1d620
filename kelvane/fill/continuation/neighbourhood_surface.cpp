#include "kelvane/fill/continuation/neighbourhood_surface.hpp"

#include "kelvane/fill/disc/patch_builder.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>
#include <utility>

namespace Mesh_M::fill {

namespace {

constexpr std::size_t doubles_per_triangle = 12;
constexpr std::size_t normal_doubles = 3;

enum class Side : char { unknown, surroundings, hole };

using DirectedEdge = std::pair<int, int>;

bool all_finite(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

// Gives equal positions one index, in the order of their first occurrence. Sorting instead of
// hashing also makes one of 0.0 and -0.0.
std::vector<int> weld(const std::vector<Point>& positions, std::vector<Point>& points) {
    std::vector<int> order(positions.size());
    std::iota(order.begin(), order.end(), 0);
    const auto key = [&](int i) {
        const Point& p = positions[static_cast<std::size_t>(i)];
        return std::make_tuple(p.x(), p.y(), p.z());
    };
    std::sort(order.begin(), order.end(), [&](int a, int b) {
        return std::make_tuple(key(a), a) < std::make_tuple(key(b), b);
    });
    std::vector<int> first(positions.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        const bool same = i > 0 && key(order[i]) == key(order[i - 1]);
        first[static_cast<std::size_t>(order[i])] =
            same ? first[static_cast<std::size_t>(order[i - 1])] : order[i];
    }
    std::vector<int> index(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto original = static_cast<std::size_t>(first[i]);
        if (original == i) {
            index[i] = static_cast<int>(points.size());
            points.push_back(positions[i]);
        } else {
            index[i] = index[original];
        }
    }
    return index;
}

// The triangles on each side of their edges: sorted, where a tree would cost more than all that is
// asked of it.
class FacesOfEdges {
  public:
    using Entry = std::pair<DirectedEdge, int>;

    explicit FacesOfEdges(const std::vector<Triangle>& triangles) {
        entries_.reserve(3 * triangles.size());
        for (std::size_t f = 0; f < triangles.size(); ++f) {
            for (int c = 0; c < 3; ++c) {
                entries_.push_back(
                    {{triangles[f][c], triangles[f][(c + 1) % 3]}, static_cast<int>(f)});
            }
        }
        std::sort(entries_.begin(), entries_.end());
    }

    const std::vector<Entry>& all() const { return entries_; }

    // Calls `use` with the triangles that run along `edge`, ascending, as long as it holds.
    template <class Use>
    bool each(const DirectedEdge& edge, const Use& use) const {
        auto entry = std::lower_bound(entries_.begin(), entries_.end(), Entry(edge, 0));
        while (entry != entries_.end() && entry->first == edge && use(entry->second)) {
            ++entry;
        }
        return entry == entries_.end() || entry->first != edge;
    }

    bool any(const DirectedEdge& edge) const {
        return !each(edge, [](int) { return false; });
    }

  private:
    std::vector<Entry> entries_;
};

// Spreads the side of the triangles on the border to all that are joined to them. False if both
// sides meet in one triangle.
bool spread_sides(const std::vector<Triangle>& triangles, const std::vector<int>& border,
                  std::vector<Side>& sides) {
    const FacesOfEdges faces(triangles);
    std::map<DirectedEdge, Side> loop;
    for (std::size_t i = 0; i < border.size(); ++i) {
        const int a = border[i];
        const int b = border[(i + 1) % border.size()];
        loop[{a, b}] = Side::hole;
        loop.insert({{b, a}, Side::surroundings});
    }
    std::vector<int> pending;
    const auto label = [&](int face, Side side) {
        Side& current = sides[static_cast<std::size_t>(face)];
        if (current == Side::unknown) {
            current = side;
            pending.push_back(face);
        }
        return current == side;
    };
    for (const auto& [edge, side] : loop) {
        const Side own = side;
        if (!faces.each(edge, [&](int face) { return label(face, own); })) {
            return false;
        }
    }
    while (!pending.empty()) {
        const int face = pending.back();
        pending.pop_back();
        const Triangle& t = triangles[static_cast<std::size_t>(face)];
        for (int c = 0; c < 3; ++c) {
            const DirectedEdge opposite(t[(c + 1) % 3], t[c]);
            const Side own = sides[static_cast<std::size_t>(face)];
            if (!loop.count(opposite) &&
                !faces.each(opposite, [&](int next) { return label(next, own); })) {
                return false;
            }
        }
    }
    return true;
}

void split_triangles(const std::vector<Triangle>& triangles, const std::vector<int>& original,
                     int surrounding_faces, HoleScene& scene) {
    std::vector<Side> sides(triangles.size(), Side::unknown);
    const bool consistent = spread_sides(triangles, scene.border, sides);
    for (std::size_t f = 0; f < triangles.size(); ++f) {
        Side side = consistent ? sides[f] : Side::unknown;
        if (side == Side::unknown) {
            side = original[f] < surrounding_faces ? Side::surroundings : Side::hole;
        }
        (side == Side::hole ? scene.patch : scene.surroundings).push_back(triangles[f]);
    }
}

// A triangulation with such a side is no surface, and no fairing makes it one.
bool uses_side_twice(const std::vector<Triangle>& triangles) {
    const FacesOfEdges faces(triangles);
    return std::adjacent_find(faces.all().begin(), faces.all().end(),
                              [](const auto& a, const auto& b) { return a.first == b.first; }) !=
           faces.all().end();
}

void find_movable(HoleScene& scene) {
    scene.movable.assign(scene.points.size(), 0);
    for (const Triangle& t : scene.patch) {
        for (const int v : t) {
            scene.movable[static_cast<std::size_t>(v)] = 1;
        }
    }
    for (const Triangle& t : scene.surroundings) {
        for (const int v : t) {
            scene.movable[static_cast<std::size_t>(v)] = 0;
        }
    }
    for (const int v : scene.border) {
        scene.movable[static_cast<std::size_t>(v)] = 0;
    }
    const FacesOfEdges faces(scene.patch);
    for (const auto& [edge, face] : faces.all()) {
        if (!faces.any({edge.second, edge.first})) {
            scene.movable[static_cast<std::size_t>(edge.first)] = 0;
            scene.movable[static_cast<std::size_t>(edge.second)] = 0;
        }
    }
}

MyPoint3 to_record(const Point& p) {
    MyPoint3 record;
    for (int k = 0; k < 3; ++k) {
        record.p[k] = p[k];
    }
    return record;
}

// A triangle without area takes the direction of the whole loop.
Point face_normal(const HoleScene& scene, const Triangle& t, const Point& fallback) {
    const auto corner = [&](int c) { return scene.points[static_cast<std::size_t>(t[c])]; };
    const Point cross = (corner(1) - corner(0)).cross(corner(2) - corner(0));
    const double length = cross.norm();
    return length > 1e-300 ? Point(cross / length) : fallback;
}

} // namespace

bool read_scene(const std::vector<double>& soup, const std::vector<double>& border,
                bool hole_included, int surrounding_faces, HoleScene& scene) {
    std::vector<Point> loop;
    if (soup.size() % doubles_per_triangle != 0 || !all_finite(soup) ||
        !read_border(border, loop)) {
        return false;
    }
    std::vector<Point> positions;
    for (std::size_t start = 0; start < soup.size(); start += doubles_per_triangle) {
        for (std::size_t k = start + normal_doubles; k < start + doubles_per_triangle; k += 3) {
            positions.emplace_back(soup[k], soup[k + 1], soup[k + 2]);
        }
    }
    const std::size_t corners = positions.size();
    positions.insert(positions.end(), loop.begin(), loop.end());

    scene = HoleScene();
    const std::vector<int> index = weld(positions, scene.points);
    scene.border.assign(index.begin() + static_cast<std::ptrdiff_t>(corners), index.end());
    std::vector<int> ordered = scene.border;
    std::sort(ordered.begin(), ordered.end());
    if (std::adjacent_find(ordered.begin(), ordered.end()) != ordered.end()) {
        return false; // a patch over such a loop would use an edge twice
    }
    for (std::size_t i = 0; i < loop.size(); ++i) { // equal, but perhaps by the sign of a zero
        scene.points[static_cast<std::size_t>(scene.border[i])] = loop[i];
    }
    std::vector<Triangle> triangles;
    std::vector<int> original;
    for (std::size_t k = 0; k < corners; k += 3) {
        const Triangle t = {index[k], index[k + 1], index[k + 2]};
        if (t[0] == t[1] || t[1] == t[2] || t[2] == t[0]) {
            continue;
        }
        triangles.push_back(t);
        original.push_back(static_cast<int>(k / 3));
    }
    if (hole_included) {
        split_triangles(triangles, original, surrounding_faces, scene);
        if (uses_side_twice(scene.patch)) {
            return false;
        }
    } else {
        scene.surroundings = std::move(triangles);
    }
    find_movable(scene);
    return true;
}

void adopt_patch(const Patch& patch, HoleScene& scene) {
    const auto borderCount = static_cast<std::size_t>(patch.borderCount);
    std::vector<int> index(scene.border);
    for (std::size_t i = borderCount; i < patch.points.size(); ++i) {
        index.push_back(static_cast<int>(scene.points.size()));
        scene.points.push_back(patch.points[i]);
        scene.movable.push_back(1);
    }
    scene.patch.clear();
    for (const Triangle& t : patch.triangles) {
        scene.patch.push_back({index[static_cast<std::size_t>(t[0])],
                               index[static_cast<std::size_t>(t[1])],
                               index[static_cast<std::size_t>(t[2])]});
    }
}

Point area_vector(const HoleScene& scene) {
    std::vector<Point> loop;
    for (const int v : scene.border) {
        loop.push_back(scene.points[static_cast<std::size_t>(v)]);
    }
    return area_vector(loop);
}

void write_patch(const HoleScene& scene, std::vector<MyPoint3>& points, std::vector<MyFace>& faces,
                 std::vector<MyPoint3>& normals, std::vector<int>& borderIndices) {
    std::vector<int> place(scene.points.size(), -1);
    std::vector<int> order;
    for (const int v : scene.border) {
        int& target = place[static_cast<std::size_t>(v)];
        if (target < 0) {
            target = static_cast<int>(order.size());
        }
        borderIndices.push_back(static_cast<int>(order.size()));
        order.push_back(v);
    }
    std::vector<char> used(scene.points.size(), 0);
    for (const Triangle& t : scene.patch) {
        for (const int v : t) {
            used[static_cast<std::size_t>(v)] = 1;
        }
    }
    for (std::size_t v = 0; v < used.size(); ++v) {
        if (used[v] && place[v] < 0) {
            place[v] = static_cast<int>(order.size());
            order.push_back(static_cast<int>(v));
        }
    }
    for (const int v : order) {
        points.push_back(to_record(scene.points[static_cast<std::size_t>(v)]));
    }

    const Point area = area_vector(scene);
    const Point fallback = area.norm() > 1e-300 ? Point(area.normalized()) : Point::UnitZ();
    for (const Triangle& t : scene.patch) {
        MyFace face;
        for (int c = 0; c < 3; ++c) {
            face.t_idx[c] = place[static_cast<std::size_t>(t[c])];
        }
        faces.push_back(face);
        normals.push_back(to_record(face_normal(scene, t, fallback)));
    }
}

} // namespace Mesh_M::fill
