#include "kelvane/fill/size_field.hpp"

#include <algorithm>
#include <functional>
#include <limits>
#include <queue>

namespace Mesh_M::fill {
namespace {

constexpr int smoothingSweeps = 3;

/// Greatest growth of the size per unit of length.
constexpr double greatestSlope = 0.5;

/// Depth, in mean border sizes, of the band that keeps the border's density, and growth behind it.
/// A round border has to have about 130 edges before its middle lies deeper.
constexpr double bandDepth = 20.0;
constexpr double coarseningSlope = 0.3;

/// A border edge is long if it exceeds the sizes at its ends this many times; its middle then
/// counts as another neighbour, this many times as much as a real one.
constexpr double longEdgeRatio = 2.0;
constexpr double longEdgeWeight = 4.0;

} // namespace

SizeField::SizeField(DiscMesh& mesh, const std::vector<double>& borderSizes) : mesh(mesh) {
    double total = 0.0;
    for (const double size : borderSizes) {
        total += size;
    }
    // No point of a patch of about the loop's own extent can lie deeper than a quarter of its
    // length.
    isDeep = mesh.borderCount() > 4 * bandDepth;
    coarseningDepth = bandDepth * total / static_cast<double>(borderSizes.size());
    base.assign(mesh.points.size(), total / static_cast<double>(borderSizes.size()));
    std::copy(borderSizes.begin(), borderSizes.end(), base.begin());
    depth.assign(mesh.points.size(), 0.0);
    limitSlopes();
    update();
}

void SizeField::store(int point) {
    mesh.sizes[point] =
        base[point] + coarseningSlope * std::max(0.0, depth[point] - coarseningDepth);
}

/// Mean of the neighbours' sizes, nearer ones counting more. A long border edge stands for what the
/// size has grown to in its middle.
double SizeField::interpolate(int point) const {
    const Point& position = mesh.points[point];
    double sum = 0.0, weights = 0.0;
    mesh.forEachTriangle(point, [&](int h) {
        const int a = mesh.target(h);
        const double length = (mesh.points[a] - position).norm();
        const double weight = 1.0 / std::max(length, 1e-12);
        sum += weight * base[a];
        weights += weight;
        if (mesh.twin(DiscMesh::next(h)) == DiscMesh::none) {
            const int b = mesh.apex(h);
            const double edge = (mesh.points[b] - mesh.points[a]).norm();
            const double ends = 0.5 * (base[a] + base[b]);
            if (edge > longEdgeRatio * ends) {
                const double middle = 0.5 * edge * greatestSlope + ends;
                sum += longEdgeWeight * weight * middle;
                weights += longEdgeWeight * weight;
            }
        }
    });
    return sum / weights;
}

void SizeField::addPoint(int point) {
    base.resize(mesh.points.size());
    depth.resize(mesh.points.size());
    double bound = std::numeric_limits<double>::max();
    depth[point] = bound;
    base[point] = interpolate(point);
    mesh.forEachNeighbour(point, [&](int neighbour) {
        const double length = (mesh.points[neighbour] - mesh.points[point]).norm();
        bound = std::min(bound, base[neighbour] + greatestSlope * length);
        depth[point] = std::min(depth[point], depth[neighbour] + length);
    });
    base[point] = std::min(base[point], bound);
    store(point);
}

void SizeField::update() {
    for (int sweep = 0; sweep < smoothingSweeps; ++sweep) {
        for (int point = mesh.borderCount(); point < mesh.pointCount(); ++point) {
            if (mesh.isAlive(point)) {
                base[point] = interpolate(point);
            }
        }
    }
    limitSlopes();
    if (isDeep) {
        measureDepths();
    }
    for (int point = 0; point < mesh.pointCount(); ++point) {
        store(point);
    }
}

void SizeField::limitSlopes() {
    bool changed = true;
    for (int sweep = 0; changed && sweep < 8; ++sweep) {
        changed = false;
        for (int h = 0; h < mesh.halfEdgeCount(); ++h) {
            if (!mesh.isUsed(h)) {
                continue;
            }
            const int a = mesh.origin(h), b = mesh.target(h);
            const auto lower = [&](int high, int low) {
                const double bound =
                    base[low] + greatestSlope * (mesh.points[high] - mesh.points[low]).norm();
                if (base[high] > bound * (1.0 + 1e-9)) {
                    base[high] = bound;
                    changed = true;
                }
            };
            lower(a, b);
            lower(b, a);
        }
    }
}

/// Shortest paths along edges from the whole border: E. W. Dijkstra, Numerische Mathematik 1
/// (1959).
void SizeField::measureDepths() {
    using Entry = std::pair<double, int>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> open;
    std::fill(depth.begin(), depth.end(), std::numeric_limits<double>::max());
    for (int point = 0; point < mesh.borderCount(); ++point) {
        depth[point] = 0.0;
        open.push({0.0, point});
    }
    while (!open.empty()) {
        const double reached = open.top().first;
        const int point = open.top().second;
        open.pop();
        if (reached > depth[point]) {
            continue;
        }
        mesh.forEachNeighbour(point, [&](int neighbour) {
            const double length = (mesh.points[neighbour] - mesh.points[point]).norm();
            if (reached + length < depth[neighbour]) {
                depth[neighbour] = reached + length;
                open.push({depth[neighbour], neighbour});
            }
        });
    }
}

} // namespace Mesh_M::fill
