#include "kelvane/fill/disc/ring_layout.hpp"

#include "kelvane/fill/disc/patch_builder.hpp"
#include "kelvane/fill/disc/size_growth.hpp"

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {
namespace {

constexpr std::size_t fewest_points = 8; ///< of a loop; below, its triangulation says more
constexpr double least_roundness = 0.5;  ///< a narrower loop has no room for rings
constexpr double most_height = 0.35;     ///< of a point over the plane, in radii of the loop

/// A border edge may be this much longer or shorter than the size at its ends. The closing edge of
/// a hole on the rim of a scan is much longer, and no ring may follow it.
constexpr double longest_edge = 3.0;
constexpr double shortest_edge = 0.2;

/// Distance of a row from the one before, in sizes: the height of an equilateral triangle, and for
/// the first row less, which keeps the crease at the seam low. (0.75 has 3 % more of it.)
constexpr double row_height = 0.866;
constexpr double first_row_height = 0.45;

/// A step of the smoothed ring has at least this share of its height: a corner of the border that
/// points inward would cross the ring otherwise.
constexpr double least_step = 0.8;

/// Rows lie this much denser than the border's edges ask for. It makes up for the points that the
/// growth saves: measured on marked scans, the distance from the surface is that of an even patch.
constexpr double fineness = 0.96;

/// Growing rows need 4 to 10 points per border point; more stand for a ring that goes nowhere.
constexpr std::size_t points_per_border_point = 16;

/// The last ring has less than this area in squares of its perimeter over its points: the next one
/// would have no room. Of a round ring these are 8 points.
constexpr double last_area = 0.66;

/// The last ring is closed by one point in its middle if that has this many spokes, else by
/// triangles alone.
constexpr std::size_t fewest_spokes = 5;
constexpr std::size_t most_spokes = 8;

/// A row in coordinates of the plane.
struct Ring {
    std::vector<Point> points;
    std::vector<double> bases;    ///< wished edge length as the border continues inward
    std::vector<double> stations; ///< place on the ring before, counted in its points, ascending
    double growth = 1.0;          ///< wished edge length over base
    int first = 0;                ///< index of points[0] in the patch

    std::size_t count() const { return points.size(); }
    std::size_t after(std::size_t i) const { return i + 1 < count() ? i + 1 : 0; }
    std::size_t before(std::size_t i) const { return i > 0 ? i - 1 : count() - 1; }
};

double cross(const Point& a, const Point& b) {
    return a.x() * b.y() - a.y() * b.x();
}

double enclosed_area(const Ring& ring) {
    double twice = 0.0;
    for (std::size_t i = 0; i < ring.count(); ++i) {
        twice += cross(ring.points[i], ring.points[ring.after(i)]);
    }
    return 0.5 * twice;
}

/// How often the ring goes round the origin: its crossings of the positive x axis.
int winding_number(const Ring& ring) {
    int winding = 0;
    for (std::size_t i = 0; i < ring.count(); ++i) {
        const Point &a = ring.points[i], &b = ring.points[ring.after(i)];
        if ((a.y() < 0.0) != (b.y() < 0.0)) {
            const bool upward = a.y() < 0.0;
            if ((cross(a, b) > 0.0) == upward) {
                winding += upward ? 1 : -1;
            }
        }
    }
    return winding;
}

bool suits_rings(const Ring& border, const BorderPlane& plane) {
    if (border.count() < fewest_points || !(plane.roundness > least_roundness) ||
        winding_number(border) != 1) {
        return false;
    }
    for (std::size_t i = 0; i < border.count(); ++i) {
        const std::size_t j = border.after(i);
        const double length = (border.points[j] - border.points[i]).norm();
        const double size = 0.5 * (border.bases[i] + border.bases[j]);
        if (!(length > shortest_edge * size && length < longest_edge * size &&
              std::abs(border.points[i].z()) < most_height * plane.radius)) {
            return false;
        }
    }
    return true;
}

/// The ring one row further in, point by point over the old one, and smoothed by half as far as
/// corners that point inward stay behind it.
Ring offset(const Ring& ring, double height) {
    std::vector<Point> steps(ring.count(), Point::Zero());
    for (std::size_t i = 0; i < ring.count(); ++i) {
        const Point along = ring.points[ring.after(i)] - ring.points[ring.before(i)];
        const double length = std::hypot(along.x(), along.y());
        if (length > 0.0) {
            steps[i] =
                height * ring.bases[i] * ring.growth / length * Point(-along.y(), along.x(), 0.0);
        }
    }
    Ring moved = ring;
    for (std::size_t i = 0; i < ring.count(); ++i) {
        const std::size_t a = ring.before(i), b = ring.after(i);
        const Point way = 0.5 * steps[i] +
                          0.25 * (ring.points[a] + steps[a] + ring.points[b] + steps[b]) -
                          0.5 * ring.points[i];
        const double squared = steps[i].squaredNorm();
        const double lacking = least_step * squared - way.dot(steps[i]);
        moved.points[i] += way;
        if (lacking > 0.0) {
            moved.points[i] += lacking / squared * steps[i];
        }
        moved.bases[i] = 0.5 * ring.bases[i] + 0.25 * (ring.bases[a] + ring.bases[b]);
    }
    return moved;
}

/// As many points on the ring as its sizes ask for, evenly spread in units of them.
Ring resample(const Ring& curve) {
    std::vector<double> reached{0.0};
    for (std::size_t i = 0; i < curve.count(); ++i) {
        const std::size_t j = curve.after(i);
        const double size = 0.5 * (curve.bases[i] + curve.bases[j]) * curve.growth;
        reached.push_back(reached.back() + (curve.points[j] - curve.points[i]).norm() / size);
    }
    Ring ring;
    ring.growth = curve.growth;
    const int count = std::max(3, static_cast<int>(std::lround(reached.back())));
    std::size_t i = 0;
    for (int k = 0; k < count; ++k) {
        const double target = (k + 0.5) / count * reached.back();
        while (i + 1 < curve.count() && reached[i + 1] < target) {
            ++i;
        }
        const double share = (target - reached[i]) / (reached[i + 1] - reached[i]);
        const std::size_t j = curve.after(i);
        ring.points.push_back(curve.points[i] + share * (curve.points[j] - curve.points[i]));
        ring.bases.push_back(curve.bases[i] + share * (curve.bases[j] - curve.bases[i]));
        ring.stations.push_back(static_cast<double>(i) + share);
    }
    return ring;
}

/// Triangles between a ring and the next one, always on to the point that comes first.
void sew(const Ring& outer, const Ring& inner, std::vector<Triangle>& triangles) {
    const std::size_t count_a = outer.count(), count_b = inner.count();
    const auto station = [&](std::size_t b) {
        return b < count_b ? inner.stations[b]
                           : inner.stations[b - count_b] + static_cast<double>(count_a);
    };
    std::size_t a = 0, b = 0;
    while (a < count_a || b < count_b) {
        const int at_a = outer.first + static_cast<int>(a % count_a);
        const int at_b = inner.first + static_cast<int>(b % count_b);
        if (a < count_a && (b == count_b || static_cast<double>(a + 1) <= station(b + 1))) {
            ++a;
            triangles.push_back({at_a, outer.first + static_cast<int>(a % count_a), at_b});
        } else {
            ++b;
            triangles.push_back({at_a, inner.first + static_cast<int>(b % count_b), at_b});
        }
    }
}

bool is_last(const Ring& ring) {
    double perimeter = 0.0;
    for (std::size_t i = 0; i < ring.count(); ++i) {
        perimeter += (ring.points[ring.after(i)] - ring.points[i]).norm();
    }
    return enclosed_area(ring) * static_cast<double>(ring.count()) <
           last_area * perimeter * perimeter;
}

void add_points(const Ring& ring, const BorderPlane& plane, SizedPatch& layout) {
    for (std::size_t i = 0; i < ring.count(); ++i) {
        layout.patch.points.push_back(plane.from_plane(ring.points[i]));
        layout.sizes.push_back(ring.bases[i] * ring.growth);
    }
}

void close(const Ring& ring, const BorderPlane& plane, SizedPatch& layout) {
    std::vector<Triangle>& triangles = layout.patch.triangles;
    const int count = static_cast<int>(ring.count());
    if (ring.count() < fewest_spokes || ring.count() > most_spokes) {
        for (const Triangle& t : triangulate_border(ring.points)) {
            triangles.push_back({ring.first + t[0], ring.first + t[1], ring.first + t[2]});
        }
        return;
    }
    Ring middle;
    middle.growth = ring.growth;
    middle.points = {Point::Zero()};
    middle.bases = {0.0};
    const int index = static_cast<int>(layout.patch.points.size());
    for (int i = 0; i < count; ++i) {
        middle.points[0] += ring.points[i] / count;
        middle.bases[0] += ring.bases[i] / count;
        triangles.push_back({ring.first + i, ring.first + (i + 1) % count, index});
    }
    add_points(middle, plane, layout);
}

Ring border_ring(const std::vector<Point>& border, const std::vector<double>& sizes,
                 const BorderPlane& plane) {
    Ring ring;
    for (const Point& point : border) {
        ring.points.push_back(plane.to_plane(point));
    }
    ring.bases = sizes;
    return ring;
}

} // namespace

bool suits_rings(const std::vector<Point>& border) {
    const BorderPlane plane = border_plane(border);
    return suits_rings(border_ring(border, border_sizes(border), plane), plane);
}

bool lay_rings(const BorderPlane& plane, SizedPatch& layout) {
    Ring ring = border_ring(layout.patch.points, layout.sizes, plane);
    if (!suits_rings(ring, plane)) {
        return false;
    }
    for (double& base : ring.bases) {
        base *= fineness;
    }
    const std::size_t border_count = ring.count();
    SizedPatch result = layout;
    double height = first_row_height;
    double depth = 0.0;
    while (!is_last(ring)) {
        Ring next = resample(offset(ring, height));
        const double area = enclosed_area(next);
        if (!(area > 0.0 && area < enclosed_area(ring)) ||
            result.patch.points.size() > points_per_border_point * border_count) {
            return false;
        }
        next.first = static_cast<int>(result.patch.points.size());
        add_points(next, plane, result);
        sew(ring, next, result.patch.triangles);
        ring = std::move(next);
        depth += height * ring.growth;
        height = row_height;
        ring.growth = growth_at(depth + height * ring.growth);
    }
    close(ring, plane, result);
    layout = std::move(result);
    return true;
}

} // namespace Mesh_M::fill
