#include "kelvane/fill/patch_relaxation.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mesh_M::fill {
namespace {

/// A triangle may shrink to this part of the ring's area, seen along the ring's area vector, but
/// not further; one that is smaller or folded over already may only grow.
constexpr double leastShare = 0.02;

/// Triangles of less height, relative to their longest edge, are to be mended; those of far less
/// even at the price of a fold.
constexpr double flatRatio = 0.3;
constexpr double degenerateRatio = 1e-3;

/// The triangles around one point. The object is reused, so that its storage is.
class Ring {
  public:
    void gather(const DiscMesh& mesh, int point);
    /// Centre of the triangles' centres. The weights, (area / size^2)^2, are equal where areas are
    /// as wished; the square pulls towards the largest triangle, which evens out faster than the
    /// area.
    Point weightedCentre() const;
    Point plainCentre() const;
    /// Height over longest edge of the flattest triangle if the middle were at `position`.
    double flattest(const Point& position) const;
    /// The least triangle if the middle were at `position`, along the area vector.
    double leastTriangle(const Point& position) const;

    Point position = Point::Zero();
    Point areaVector = Point::Zero(); ///< twice the area; does not depend on the middle

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
    areaVector.setZero();
    mesh.forEachTriangle(point, [&](int h) {
        const int a = mesh.target(h), b = mesh.apex(h);
        double size = mesh.sizes[point] + mesh.sizes[a] + mesh.sizes[b];
        if (mesh.twin(DiscMesh::next(h)) == DiscMesh::none) {
            size = std::max(size, 3.0 * (mesh.points[b] - mesh.points[a]).norm());
        }
        sides.push_back({mesh.points[a], mesh.points[b], size});
        areaVector += (mesh.points[a] - position).cross(mesh.points[b] - position);
    });
}

Point Ring::weightedCentre() const {
    Point centre = Point::Zero();
    double weights = 0.0;
    for (const Side& side : sides) {
        const Point toA = side.a - position, toB = side.b - position;
        const double squaredSize = side.size * side.size;
        const double weight = toA.cross(toB).squaredNorm() / (squaredSize * squaredSize);
        centre += weight * (toA + toB);
        weights += weight;
    }
    return weights > 0.0 ? Point(position + centre / (3.0 * weights)) : position;
}

Point Ring::plainCentre() const {
    Point sum = Point::Zero();
    for (const Side& side : sides) {
        sum += side.a;
    }
    return sum / static_cast<double>(sides.size());
}

double Ring::flattest(const Point& middle) const {
    double least = std::numeric_limits<double>::max();
    for (const Side& side : sides) {
        const Point toA = side.a - middle, toB = side.b - middle;
        const double longest =
            std::max({toA.squaredNorm(), toB.squaredNorm(), (side.b - side.a).squaredNorm()});
        least = std::min(least, longest > 0.0 ? toA.cross(toB).norm() / longest : 0.0);
    }
    return least;
}

double Ring::leastTriangle(const Point& middle) const {
    double least = std::numeric_limits<double>::max();
    for (const Side& side : sides) {
        least = std::min(least, (side.a - middle).cross(side.b - middle).dot(areaVector));
    }
    return least;
}

} // namespace

void relaxPoints(DiscMesh& mesh, bool keepShape) {
    Ring ring;
    for (int point = mesh.borderCount(); point < mesh.pointCount(); ++point) {
        if (!mesh.isAlive(point)) {
            continue;
        }
        ring.gather(mesh, point);
        Point step = ring.weightedCentre() - ring.position;
        const double squared = ring.areaVector.squaredNorm();
        if (keepShape && squared > 0.0) {
            step -= step.dot(ring.areaVector) / squared * ring.areaVector;
        }
        const double least = std::min(ring.leastTriangle(ring.position), leastShare * squared);
        for (int attempt = 0; attempt < 3; ++attempt, step *= 0.5) {
            const Point moved = ring.position + step;
            if (ring.leastTriangle(moved) >= least) {
                mesh.points[point] = moved;
                break;
            }
        }
    }
}

bool mendFlatTriangles(DiscMesh& mesh) {
    Ring ring;
    bool moved = false;
    for (int point = mesh.borderCount(); point < mesh.pointCount(); ++point) {
        if (!mesh.isAlive(point)) {
            continue;
        }
        ring.gather(mesh, point);
        double best = ring.flattest(ring.position);
        if (best > flatRatio) {
            continue;
        }
        const double least = best < degenerateRatio
                                 ? -std::numeric_limits<double>::max()
                                 : std::min(0.0, ring.leastTriangle(ring.position));
        const Point plain = ring.plainCentre(), weighted = ring.weightedCentre();
        for (const Point& candidate :
             {weighted, plain, Point(0.5 * (weighted + plain)),
              Point(0.5 * (ring.position + plain)), Point(1.5 * plain - 0.5 * ring.position)}) {
            const double quality = ring.flattest(candidate);
            if (quality > best && ring.leastTriangle(candidate) >= least) {
                best = quality;
                mesh.points[point] = candidate;
                moved = true;
            }
        }
    }
    return moved;
}

} // namespace Mesh_M::fill
