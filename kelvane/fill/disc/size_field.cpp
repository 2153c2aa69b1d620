#include "kelvane/fill/disc/size_field.hpp"

#include "kelvane/fill/disc/size_growth.hpp"

#include <algorithm>
#include <functional>
#include <limits>
#include <queue>

namespace Mesh_M::fill {
namespace {

constexpr int smoothing_sweeps = 3;

/// Greatest growth of the size per unit of length.
constexpr double greatest_slope = 0.5;

/// A border edge is long if it exceeds the sizes at its ends this many times; its middle then
/// counts as another neighbour, this many times as much as a real one.
constexpr double long_edge_ratio = 2.0;
constexpr double long_edge_weight = 4.0;

} // namespace

SizeField::SizeField(DiscMesh& mesh, const std::vector<double>& border_sizes) : mesh(mesh) {
    double total = 0.0;
    for (const double size : border_sizes) {
        total += size;
    }
    mean_size = total / static_cast<double>(border_sizes.size());
    base.assign(mesh.points.size(), mean_size);
    std::copy(border_sizes.begin(), border_sizes.end(), base.begin());
    depth.assign(mesh.points.size(), 0.0);
    limit_slopes();
    update();
}

void SizeField::store(int point) {
    mesh.sizes[point] = base[point] * growth_at(depth[point] / mean_size);
}

/// Mean of the neighbours' sizes, nearer ones counting more. A long border edge stands for what the
/// size has grown to in its middle.
double SizeField::interpolate(int point) const {
    const Point& position = mesh.points[point];
    double sum = 0.0, weights = 0.0;
    mesh.for_each_triangle(point, [&](int h) {
        const int a = mesh.target(h);
        const double length = (mesh.points[a] - position).norm();
        const double weight = 1.0 / std::max(length, 1e-12);
        sum += weight * base[a];
        weights += weight;
        if (mesh.twin(DiscMesh::next(h)) == DiscMesh::none) {
            const int b = mesh.apex(h);
            const double edge = (mesh.points[b] - mesh.points[a]).norm();
            const double ends = 0.5 * (base[a] + base[b]);
            if (edge > long_edge_ratio * ends) {
                const double middle = 0.5 * edge * greatest_slope + ends;
                sum += long_edge_weight * weight * middle;
                weights += long_edge_weight * weight;
            }
        }
    });
    return sum / weights;
}

void SizeField::add_point(int point) {
    base.resize(mesh.points.size());
    depth.resize(mesh.points.size());
    double bound = std::numeric_limits<double>::max();
    depth[point] = bound;
    base[point] = interpolate(point);
    mesh.for_each_neighbour(point, [&](int neighbour) {
        const double length = (mesh.points[neighbour] - mesh.points[point]).norm();
        bound = std::min(bound, base[neighbour] + greatest_slope * length);
        depth[point] = std::min(depth[point], depth[neighbour] + length);
    });
    base[point] = std::min(base[point], bound);
    store(point);
}

void SizeField::update() {
    base.insert(base.end(), mesh.sizes.begin() + static_cast<std::ptrdiff_t>(base.size()),
                mesh.sizes.end());
    depth.resize(mesh.points.size());
    for (int sweep = 0; sweep < smoothing_sweeps; ++sweep) {
        for (int point = mesh.borderCount(); point < mesh.point_count(); ++point) {
            if (mesh.is_alive(point)) {
                base[point] = interpolate(point);
            }
        }
    }
    limit_slopes();
    measure_depths();
    for (int point = 0; point < mesh.point_count(); ++point) {
        store(point);
    }
}

void SizeField::limit_slopes() {
    bool changed = true;
    for (int sweep = 0; changed && sweep < 8; ++sweep) {
        changed = false;
        for (int h = 0; h < mesh.half_edge_count(); ++h) {
            if (!mesh.is_used(h)) {
                continue;
            }
            const int a = mesh.origin(h), b = mesh.target(h);
            const auto lower = [&](int high, int low) {
                const double bound =
                    base[low] + greatest_slope * (mesh.points[high] - mesh.points[low]).norm();
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
void SizeField::measure_depths() {
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
        mesh.for_each_neighbour(point, [&](int neighbour) {
            const double length = (mesh.points[neighbour] - mesh.points[point]).norm();
            if (reached + length < depth[neighbour]) {
                depth[neighbour] = reached + length;
                open.push({depth[neighbour], neighbour});
            }
        });
    }
}

} // namespace Mesh_M::fill
