#include "kelvane/fill/disc/disc_relaxation.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mesh_M::fill {
namespace {

/// A triangle may shrink to this part of the ring's area, seen along the ring's area vector, but
/// not further; one that is smaller or folded over already may only grow.
constexpr double least_share = 0.02;

/// Triangles of less height, relative to their longest edge, are to be mended; those of far less
/// even at the price of a fold.
constexpr double flat_ratio = 0.3;
constexpr double degenerate_ratio = 1e-3;

/// The triangles around one point. The object is reused, so that its storage is.
class Ring {
  public:
    void gather(const DiscMesh& mesh, int point);
    /// Centre of the triangles' centres. The weights, (area / size^2)^2, are equal where areas are
    /// as wished; the square pulls towards the largest triangle, which evens out faster than the
    /// area.
    Point weighted_centre() const;
    Point plain_centre() const;
    /// Height over longest edge of the flattest triangle if the middle were at `position`.
    double flattest(const Point& position) const;
    /// The least triangle if the middle were at `position`, along the area vector.
    double least_triangle(const Point& position) const;

    Point position = Point::Zero();
    Point area_vector = Point::Zero(); ///< twice the area; does not depend on the middle

  private:
    struct Side {
        Point a, b;
        double size; ///< sum of the wished sizes at the three corners
    };
    std::vector<Side> sides;
};

void Ring::gather(const DiscMesh& mesh, int point) {
    sides.clear();
    position = mesh.points[point];
    area_vector.setZero();
    mesh.for_each_triangle(point, [&](int h) {
        const int a = mesh.target(h), b = mesh.apex(h);
        double size = mesh.sizes[point] + mesh.sizes[a] + mesh.sizes[b];
        if (mesh.twin(DiscMesh::next(h)) == DiscMesh::none) {
            size = std::max(size, 3.0 * (mesh.points[b] - mesh.points[a]).norm());
        }
        sides.push_back({mesh.points[a], mesh.points[b], size});
        area_vector += (mesh.points[a] - position).cross(mesh.points[b] - position);
    });
}

Point Ring::weighted_centre() const {
    Point centre = Point::Zero();
    double weights = 0.0;
    for (const Side& side : sides) {
        const Point to_a = side.a - position, to_b = side.b - position;
        const double squared_size = side.size * side.size;
        const double weight = to_a.cross(to_b).squaredNorm() / (squared_size * squared_size);
        centre += weight * (to_a + to_b);
        weights += weight;
    }
    return weights > 0.0 ? Point(position + centre / (3.0 * weights)) : position;
}

Point Ring::plain_centre() const {
    Point sum = Point::Zero();
    for (const Side& side : sides) {
        sum += side.a;
    }
    return sum / static_cast<double>(sides.size());
}

double Ring::flattest(const Point& middle) const {
    double least = std::numeric_limits<double>::max();
    for (const Side& side : sides) {
        const Point to_a = side.a - middle, to_b = side.b - middle;
        const double longest =
            std::max({to_a.squaredNorm(), to_b.squaredNorm(), (side.b - side.a).squaredNorm()});
        least = std::min(least, longest > 0.0 ? to_a.cross(to_b).norm() / longest : 0.0);
    }
    return least;
}

double Ring::least_triangle(const Point& middle) const {
    double least = std::numeric_limits<double>::max();
    for (const Side& side : sides) {
        least = std::min(least, (side.a - middle).cross(side.b - middle).dot(area_vector));
    }
    return least;
}

} // namespace

void relax_points(DiscMesh& mesh, bool keep_shape) {
    Ring ring;
    for (int point = mesh.borderCount(); point < mesh.point_count(); ++point) {
        if (!mesh.is_alive(point)) {
            continue;
        }
        ring.gather(mesh, point);
        Point step = ring.weighted_centre() - ring.position;
        const double squared = ring.area_vector.squaredNorm();
        if (keep_shape && squared > 0.0) {
            step -= step.dot(ring.area_vector) / squared * ring.area_vector;
        }
        const double least = std::min(ring.least_triangle(ring.position), least_share * squared);
        for (int attempt = 0; attempt < 3; ++attempt, step *= 0.5) {
            const Point moved = ring.position + step;
            if (ring.least_triangle(moved) >= least) {
                mesh.points[point] = moved;
                break;
            }
        }
    }
}

bool mend_flat_triangles(DiscMesh& mesh) {
    Ring ring;
    bool moved = false;
    for (int point = mesh.borderCount(); point < mesh.point_count(); ++point) {
        if (!mesh.is_alive(point)) {
            continue;
        }
        ring.gather(mesh, point);
        double best = ring.flattest(ring.position);
        if (best > flat_ratio) {
            continue;
        }
        const double least = best < degenerate_ratio
                                 ? -std::numeric_limits<double>::max()
                                 : std::min(0.0, ring.least_triangle(ring.position));
        const Point plain = ring.plain_centre(), weighted = ring.weighted_centre();
        for (const Point& candidate :
             {weighted, plain, Point(0.5 * (weighted + plain)),
              Point(0.5 * (ring.position + plain)), Point(1.5 * plain - 0.5 * ring.position)}) {
            const double quality = ring.flattest(candidate);
            if (quality > best && ring.least_triangle(candidate) >= least) {
                best = quality;
                mesh.points[point] = candidate;
                moved = true;
            }
        }
    }
    return moved;
}

} // namespace Mesh_M::fill
