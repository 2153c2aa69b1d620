#include "support/cut_surface.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>

namespace support {

namespace {

// The surface around one of its points by length and direction from there: walks straight on.
class StraightWalks {
  public:
    StraightWalks(const TruthSurface& surface, const Vector3d& centre)
        : surface_(surface), start_(surface.closest(centre)), x_(start_.normal.unitOrthogonal()),
          y_(start_.normal.cross(x_)) {}

    SurfacePoint at(double u, double v) const {
        constexpr int steps = 40;
        SurfacePoint place = start_;
        Vector3d heading = u * x_ + v * y_;
        const double length = heading.norm();
        for (int i = 0; i < steps && length > 0.0; ++i) {
            place = surface_.closest(place.point + heading / steps);
            heading = length * (heading - heading.dot(place.normal) * place.normal).normalized();
        }
        return place;
    }

  private:
    const TruthSurface& surface_;
    SurfacePoint start_;
    Vector3d x_, y_;
};

struct Grid {
    std::vector<Vector3d> points;
    std::vector<double> reaches; // from the centre of the hole
    std::vector<Triangle> triangles;
};

// Rows of a jittered hexagonal grid; both diagonals of a cell occur, by chance.
Grid make_grid(const TruthSurface& surface, const Vector3d& centre, const CutOptions& options) {
    constexpr double margin = 4.0; // in edges, beyond three rings
    const StraightWalks walks(surface, centre);
    const double half = options.radius + (3.0 + margin) * options.edge;
    const double row = options.edge * std::sqrt(3.0) / 2.0;
    const int columns = static_cast<int>(2.0 * half / options.edge);
    const int rows = static_cast<int>((options.rim ? half : 2.0 * half) / row);
    std::mt19937 random(options.seed);
    std::uniform_real_distribution<double> jitter(-0.22 * options.edge, 0.22 * options.edge);
    std::normal_distribution<double> noise(0.0, options.noise * options.edge);
    Grid grid;
    for (int j = 0; j < rows; ++j) {
        for (int i = 0; i < columns; ++i) {
            const bool on_rim = options.rim && j == 0;
            const double u = -half + (i + 0.5 * (j % 2)) * options.edge + jitter(random);
            const double v =
                (options.rim ? 0.0 : -half) + j * row + (on_rim ? 0.0 : jitter(random));
            const SurfacePoint on = walks.at(u, v);
            const double offset = options.noise > 0.0 ? noise(random) : 0.0;
            const Vector3d p = on.point + offset * on.normal;
            grid.points.push_back(p.cast<float>().cast<double>());
            grid.reaches.push_back(std::hypot(u, v));
        }
    }
    for (int j = 0; j + 1 < rows; ++j) {
        for (int i = 0; i + 1 < columns; ++i) {
            const int a = j * columns + i;
            const int b = a + 1;
            const int c = a + columns;
            const int d = c + 1;
            if (j % 2 == 1) {
                grid.triangles.push_back({a, b, d});
                grid.triangles.push_back({a, d, c});
            } else {
                grid.triangles.push_back({a, b, c});
                grid.triangles.push_back({b, d, c});
            }
        }
    }
    return grid;
}

// The outline of the triangles taken out, as far as it bounds what stays.
std::vector<int> find_border(const std::vector<Triangle>& removed,
                             const std::vector<Triangle>& kept) {
    std::set<std::pair<int, int>> kept_edges;
    for (const Triangle& t : kept) {
        for (std::size_t c = 0; c < 3; ++c) {
            kept_edges.insert({t[c], t[(c + 1) % 3]});
        }
    }
    std::map<int, int> next;
    std::set<int> targets;
    for (const Triangle& t : removed) {
        for (std::size_t c = 0; c < 3; ++c) {
            if (kept_edges.count({t[(c + 1) % 3], t[c]}) > 0) {
                next[t[c]] = t[(c + 1) % 3];
                targets.insert(t[(c + 1) % 3]);
            }
        }
    }
    int start = next.begin()->first;
    for (const auto& [from, to] : next) {
        if (targets.count(from) == 0) {
            start = from; // an open chain begins here
        }
    }
    std::vector<int> border = {start};
    for (auto found = next.find(start); found != next.end() && found->second != start;
         found = next.find(found->second)) {
        border.push_back(found->second);
    }
    return border;
}

std::vector<Triangle> rings(const std::vector<Triangle>& kept, const std::vector<int>& border) {
    std::set<int> reached(border.begin(), border.end());
    std::vector<char> taken(kept.size(), 0);
    for (int pass = 0; pass < 3; ++pass) {
        const std::set<int> before = reached;
        for (std::size_t f = 0; f < kept.size(); ++f) {
            if (std::any_of(kept[f].begin(), kept[f].end(),
                            [&](int v) { return before.count(v) > 0; })) {
                taken[f] = 1;
                reached.insert(kept[f].begin(), kept[f].end());
            }
        }
    }
    std::vector<Triangle> result;
    for (std::size_t f = 0; f < kept.size(); ++f) {
        if (taken[f] != 0) {
            result.push_back(kept[f]);
        }
    }
    return result;
}

} // namespace

Cut cut_surface(const TruthSurface& surface, const Vector3d& centre, const CutOptions& options) {
    Grid grid = make_grid(surface, centre, options);
    std::vector<Triangle> removed;
    std::vector<Triangle> kept;
    for (const Triangle& t : grid.triangles) {
        const bool under = std::any_of(t.begin(), t.end(), [&](int v) {
            return grid.reaches[static_cast<std::size_t>(v)] < options.radius;
        });
        (under ? removed : kept).push_back(t);
    }
    Cut result;
    result.points = std::move(grid.points);
    result.border = find_border(removed, kept);
    result.surroundings = rings(kept, result.border);
    return result;
}

} // namespace support
