// Triangulation of a border loop without new points.
//
// Dynamic programming over all sub-chains of the loop with the lexicographic weight (largest
// dihedral angle, total area): G. Barequet, M. Sharir, "Filling gaps in the boundary of a
// polyhedron", CAGD 12 (1995); the dihedral term as in P. Liepa, "Filling holes in meshes", SGP
// 2003. Its cost is cubic, so that a long loop is first cut into a coarse loop and the pockets
// between the two: the coarse points are those of D. Douglas and T. Peucker, Cartographica 10
// (1973), taken greatest deviation first.
#include "kelvane/fill/disc/patch_builder.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <queue>

namespace Mesh_M::fill {
namespace {

constexpr int direct_limit = 240; ///< longest chain that is triangulated in one piece
constexpr int coarse_count = 160; ///< points of the coarse loop of a longer one

/// Dihedral angles whose cosine is nearer to 1 than this count as flat: among nearly flat choices
/// the area decides, not the noise of the scan.
constexpr double flat_tolerance = 1e-4;
constexpr double degenerate_angle = 3.0; ///< worse than a fold, which has 1 - cos = 2

/// What the best triangulation of the chain from point i to point j weighs.
struct ChainWeight {
    double angle = 0.0; ///< largest 1 - cos(dihedral angle) inside
    double area = 0.0;  ///< twice the total area

    bool operator<(const ChainWeight& other) const {
        return angle != other.angle ? angle < other.angle : area < other.area;
    }
};

/// The triangle of that triangulation on the chord.
struct ChordTriangle {
    Point normal = Point::Zero(); ///< unit normal; zero for an edge
    int apex = -1;                ///< its third point
};

/// Table of chains. The weights are kept in both index orders, so that the inner loop runs along
/// rows of nothing else.
class ChainTable {
  public:
    explicit ChainTable(int count)
        : count(count), by_start(cells()), by_end(cells()), triangles(cells()) {}

    const ChainWeight* from(int start) const { return by_start.data() + offset(start); }
    const ChainWeight* up_to(int end) const { return by_end.data() + offset(end); }
    const ChordTriangle& triangle(int start, int end) const {
        return triangles[offset(start) + end];
    }
    void set(int start, int end, const ChainWeight& weight, const ChordTriangle& triangle) {
        by_start[offset(start) + end] = weight;
        by_end[offset(end) + start] = weight;
        triangles[offset(start) + end] = triangle;
    }

  private:
    std::size_t cells() const { return static_cast<std::size_t>(count) * count; }
    std::size_t offset(int row) const { return static_cast<std::size_t>(row) * count; }

    int count;
    std::vector<ChainWeight> by_start;
    std::vector<ChainWeight> by_end;
    std::vector<ChordTriangle> triangles;
};

double turn(const Point& normal, const ChordTriangle& neighbour) {
    const double angle = 1.0 - normal.dot(neighbour.normal);
    return angle < flat_tolerance ? 0.0 : angle;
}

void enter_best_triangle(ChainTable& table, const std::vector<Point>& points, int i, int j,
                         double zero_area) {
    const double infinity = std::numeric_limits<double>::infinity();
    ChainWeight best{infinity, infinity};
    ChordTriangle best_triangle;
    const ChainWeight* left = table.from(i);
    const ChainWeight* right = table.up_to(j);
    const Point chord = points[j] - points[i];
    for (int m = i + 1; m < j; ++m) {
        ChainWeight weight{std::max(left[m].angle, right[m].angle), left[m].area + right[m].area};
        if (!(weight < best)) {
            continue;
        }
        Point normal = (points[m] - points[i]).cross(chord);
        const double area = normal.norm();
        weight.area += area;
        if (area > zero_area) {
            normal /= area;
            const double left_turn = m > i + 1 ? turn(normal, table.triangle(i, m)) : 0.0;
            const double right_turn = m < j - 1 ? turn(normal, table.triangle(m, j)) : 0.0;
            weight.angle = std::max({weight.angle, left_turn, right_turn});
        } else {
            normal.setZero();
            weight.angle = degenerate_angle;
        }
        if (weight < best) {
            best = weight;
            best_triangle = {normal, m};
        }
    }
    table.set(i, j, best, best_triangle);
}

/// Triangulates a chain closed by the chord from its last to its first point.
void triangulate_directly(const std::vector<Point>& border, const std::vector<int>& chain,
                          std::vector<Triangle>& triangles) {
    const int n = static_cast<int>(chain.size());
    std::vector<Point> points(n);
    for (int i = 0; i < n; ++i) {
        points[i] = border[chain[i]] - border[chain[0]];
    }
    double extent = 0.0;
    for (const Point& point : points) {
        extent = std::max(extent, point.cwiseAbs().maxCoeff());
    }
    const double zero_area = 1e-14 * extent * extent;

    ChainTable table(n);
    for (int length = 2; length < n; ++length) {
        for (int i = 0; i + length < n; ++i) {
            enter_best_triangle(table, points, i, i + length, zero_area);
        }
    }
    std::vector<std::pair<int, int>> open{{0, n - 1}};
    while (!open.empty()) {
        const auto [i, j] = open.back();
        open.pop_back();
        if (j - i < 2) {
            continue;
        }
        const int m = table.triangle(i, j).apex;
        triangles.push_back({chain[i], chain[m], chain[j]});
        open.push_back({m, j});
        open.push_back({i, m});
    }
}

/// A stretch of a chain and the point of it that lies farthest from its chord.
struct Stretch {
    double deviation;
    int first, last, farthest;

    bool operator<(const Stretch& other) const {
        return deviation != other.deviation ? deviation < other.deviation : first > other.first;
    }
};

Stretch measure_stretch(const std::vector<Point>& border, const std::vector<int>& chain, int first,
                        int last, int longest) {
    Stretch stretch{-1.0, first, last, -1};
    const Point& origin = border[chain[first]];
    const Point chord = border[chain[last]] - origin;
    const double squared = chord.squaredNorm();
    for (int i = first + 1; i < last; ++i) {
        const Point offset = border[chain[i]] - origin;
        const double along =
            squared > 0.0 ? std::clamp(offset.dot(chord) / squared, 0.0, 1.0) : 0.0;
        const double deviation = (offset - along * chord).squaredNorm();
        if (deviation > stretch.deviation) {
            stretch.deviation = deviation;
            stretch.farthest = i;
        }
    }
    if (last - first > longest) { // keeps the pockets small whatever their shape
        stretch.deviation = std::numeric_limits<double>::infinity();
        stretch.farthest = first + (last - first) / 2;
    }
    return stretch;
}

/// Positions in `chain`, ascending, of the points of the coarse loop; the two ends are among them.
std::vector<int> coarse_positions(const std::vector<Point>& border, const std::vector<int>& chain) {
    const int last = static_cast<int>(chain.size()) - 1;
    const int longest = std::max(2, 4 * last / coarse_count);
    std::vector<int> chosen{0, last};
    std::priority_queue<Stretch> stretches;
    stretches.push(measure_stretch(border, chain, 0, last, longest));
    while (static_cast<int>(chosen.size()) < coarse_count && stretches.top().farthest >= 0) {
        const Stretch stretch = stretches.top();
        stretches.pop();
        chosen.push_back(stretch.farthest);
        stretches.push(measure_stretch(border, chain, stretch.first, stretch.farthest, longest));
        stretches.push(measure_stretch(border, chain, stretch.farthest, stretch.last, longest));
    }
    std::sort(chosen.begin(), chosen.end());
    return chosen;
}

/// Any chain: long ones in pieces, each piece shorter than the whole.
void triangulate_chain(const std::vector<Point>& border, const std::vector<int>& chain,
                       std::vector<Triangle>& triangles) {
    if (static_cast<int>(chain.size()) <= direct_limit) {
        triangulate_directly(border, chain, triangles);
        return;
    }
    const std::vector<int> chosen = coarse_positions(border, chain);
    std::vector<int> coarse;
    for (const int position : chosen) {
        coarse.push_back(chain[position]);
    }
    triangulate_directly(border, coarse, triangles);
    for (std::size_t i = 1; i < chosen.size(); ++i) {
        if (chosen[i] - chosen[i - 1] > 1) {
            triangulate_chain(
                border, {chain.begin() + chosen[i - 1], chain.begin() + chosen[i] + 1}, triangles);
        }
    }
}

} // namespace

std::vector<Triangle> triangulate_border(const std::vector<Point>& border) {
    // A point on top of its predecessor makes every triangle on their edge degenerate, which would
    // level all weights; such points are left out of the loop and sewn on afterwards.
    const int count = static_cast<int>(border.size());
    std::vector<int> chain{0};
    std::vector<int> left_out;
    for (int i = 1; i < count; ++i) {
        const bool repeated = border[i] == border[chain.back()];
        const bool needed = static_cast<int>(chain.size()) + count - i <= 3;
        (repeated && !needed ? left_out : chain).push_back(i);
    }
    std::vector<Triangle> triangles;
    triangles.reserve(count - 2);
    triangulate_chain(border, chain, triangles);
    // From the last to the first, so that the successor on the loop is always in place already.
    for (auto point = left_out.rbegin(); point != left_out.rend(); ++point) {
        const int before = *std::prev(std::upper_bound(chain.begin(), chain.end(), *point));
        const auto place = std::upper_bound(chain.begin(), chain.end(), *point);
        const int after = place == chain.end() ? 0 : *place;
        triangles.push_back({before, *point, after});
        chain.insert(place, *point);
    }
    return triangles;
}

std::vector<double> border_sizes(const std::vector<Point>& border) {
    const std::size_t count = border.size();
    std::vector<double> lengths(count);
    double total = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        lengths[i] = (border[(i + 1) % count] - border[i]).norm();
        total += lengths[i];
    }
    // Edges this much shorter than the mean stand for points that were meant to coincide; grading
    // the patch down to them would only pile up triangles.
    const double least = 1e-3 * total / static_cast<double>(count);
    std::vector<double> sizes(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double before = std::max(lengths[(i + count - 1) % count], least);
        const double after = std::max(lengths[i], least);
        sizes[i] = std::min(0.5 * (before + after), 1.5 * std::min(before, after));
    }
    return sizes;
}

} // namespace Mesh_M::fill
