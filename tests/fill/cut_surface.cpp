#include "cut_surface.hpp"

#include <Eigen/Geometry>
#include <Eigen/SparseCore>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>

namespace cut_surface {

namespace {

Surface graph(const std::function<double(double, double)>& height) {
    const auto distance = [height](const Point& p) {
        constexpr double step = 1e-5;
        const double dx = (height(p.x() + step, p.y()) - height(p.x() - step, p.y())) / (2 * step);
        const double dy = (height(p.x(), p.y() + step) - height(p.x(), p.y() - step)) / (2 * step);
        return std::abs(p.z() - height(p.x(), p.y())) / std::sqrt(1 + dx * dx + dy * dy);
    };
    return {[height](double u, double v) { return Point(u, v, height(u, v)); }, distance};
}

struct Grid {
    std::vector<Point> points;
    std::vector<Eigen::Vector2d> places;
    std::vector<Triangle> triangles;
};

// Triangles of a jittered hexagonal grid; both diagonals of a cell occur, by chance.
Grid makeGrid(const Surface& surface, const CutOptions& options) {
    constexpr double margin = 4.0; // in edges, beyond three rings
    const double half = options.radius + (3.0 + margin) * options.edge;
    const double row = options.edge * std::sqrt(3.0) / 2.0;
    const int columns = static_cast<int>(2.0 * half / options.edge);
    const int rows = static_cast<int>((options.rim ? half : 2.0 * half) / row);
    std::mt19937 random(options.seed);
    std::uniform_real_distribution<double> jitter(-0.22 * options.edge, 0.22 * options.edge);
    std::normal_distribution<double> noise(0.0, options.noise * options.edge);
    Grid grid;
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i) {
            const bool onRim = options.rim && j == 0;
            const double u = -half + (i + 0.5 * (j % 2)) * options.edge + jitter(random);
            const double v = (options.rim ? 0.0 : -half) + j * row + (onRim ? 0.0 : jitter(random));
            constexpr double step = 1e-4;
            const Point normal = (surface.at(u + step, v) - surface.at(u - step, v))
                                     .cross(surface.at(u, v + step) - surface.at(u, v - step))
                                     .normalized();
            const double offset = options.noise > 0.0 ? noise(random) : 0.0;
            const Point p = surface.at(u, v) + offset * normal;
            grid.points.push_back(p.cast<float>().cast<double>());
            grid.places.emplace_back(u, v);
        }
    for (int j = 0; j + 1 < rows; ++j)
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
    return grid;
}

// The outline of the triangles taken out, as far as it bounds what stays.
std::vector<int> findBorder(const std::vector<Triangle>& removed,
                            const std::vector<Triangle>& kept) {
    std::set<std::pair<int, int>> keptEdges;
    for (const Triangle& t : kept)
        for (int c = 0; c < 3; ++c)
            keptEdges.insert({t[c], t[(c + 1) % 3]});
    std::map<int, int> next;
    std::set<int> targets;
    for (const Triangle& t : removed)
        for (int c = 0; c < 3; ++c)
            if (keptEdges.count({t[(c + 1) % 3], t[c]})) {
                next[t[c]] = t[(c + 1) % 3];
                targets.insert(t[(c + 1) % 3]);
            }
    int start = next.begin()->first;
    for (const auto& [from, to] : next)
        if (!targets.count(from))
            start = from; // an open chain begins here
    std::vector<int> border = {start};
    for (auto found = next.find(start); found != next.end() && found->second != start;
         found = next.find(found->second))
        border.push_back(found->second);
    return border;
}

std::vector<Triangle> rings(const std::vector<Triangle>& kept, const std::vector<int>& border) {
    std::set<int> reached(border.begin(), border.end());
    std::vector<char> taken(kept.size(), 0);
    for (int pass = 0; pass < 3; ++pass) {
        const std::set<int> before = reached;
        for (std::size_t f = 0; f < kept.size(); ++f)
            if (std::any_of(kept[f].begin(), kept[f].end(),
                            [&](int v) { return before.count(v) > 0; })) {
                taken[f] = 1;
                reached.insert(kept[f].begin(), kept[f].end());
            }
    }
    std::vector<Triangle> result;
    for (std::size_t f = 0; f < kept.size(); ++f)
        if (taken[f])
            result.push_back(kept[f]);
    return result;
}

double cotangent(const Point& apex, const Point& a, const Point& b) {
    return (a - apex).dot(b - apex) / (a - apex).cross(b - apex).norm();
}

} // namespace

Surface sphere(double radius) {
    return {[radius](double u, double v) {
                const double length = std::hypot(u, v);
                const double s = length > 0.0 ? radius * std::sin(length / radius) / length : 1.0;
                return Point(u * s, v * s, radius * std::cos(length / radius));
            },
            [radius](const Point& p) { return std::abs(p.norm() - radius); }};
}

Surface torus(double ringRadius, double tubeRadius) {
    return {[=](double u, double v) {
                const double around = u / (ringRadius + tubeRadius);
                const double reach = ringRadius + tubeRadius * std::cos(v / tubeRadius);
                return Point(reach * std::sin(around), tubeRadius * std::sin(v / tubeRadius),
                             reach * std::cos(around));
            },
            [=](const Point& p) {
                const double out = std::hypot(p.x(), p.z()) - ringRadius;
                return std::abs(std::hypot(out, p.y()) - tubeRadius);
            }};
}

Surface cylinder(double radius) {
    return {[radius](double u, double v) {
                return Point(radius * std::sin(u / radius), v, radius * std::cos(u / radius));
            },
            [radius](const Point& p) { return std::abs(std::hypot(p.x(), p.z()) - radius); }};
}

Surface saddle(double radius) {
    return graph([radius](double x, double y) { return (x * x - y * y) / (2.0 * radius); });
}

Surface waves(double x0, double y0) {
    return graph([=](double x, double y) {
        return 3.0 * std::sin(2.0 * M_PI * (x + x0) / 45.0) *
               std::cos(2.0 * M_PI * (y + y0) / 60.0);
    });
}

void appendTriangle(const Point& a, const Point& b, const Point& c, std::vector<double>& soup) {
    const Point normal = (b - a).cross(c - a).normalized();
    for (const Point& p : {normal, a, b, c})
        soup.insert(soup.end(), p.data(), p.data() + 3);
}

Cut cut(const Surface& surface, const CutOptions& options) {
    const Grid grid = makeGrid(surface, options);
    std::vector<Triangle> removed;
    std::vector<Triangle> kept;
    for (const Triangle& t : grid.triangles) {
        const bool under = std::any_of(t.begin(), t.end(), [&](int v) {
            return grid.places[static_cast<std::size_t>(v)].norm() < options.radius;
        });
        (under ? removed : kept).push_back(t);
    }
    Cut result;
    result.points = grid.points;
    result.border = findBorder(removed, kept);
    result.surroundings = rings(kept, result.border);
    for (const int v : result.border) {
        const Point& p = grid.points[static_cast<std::size_t>(v)];
        result.borderVector.insert(result.borderVector.end(), p.data(), p.data() + 3);
    }
    for (const Triangle& t : result.surroundings)
        appendTriangle(grid.points[static_cast<std::size_t>(t[0])],
                       grid.points[static_cast<std::size_t>(t[1])],
                       grid.points[static_cast<std::size_t>(t[2])], result.surroundingVector);
    return result;
}

std::vector<double> withPatch(const Cut& cut, const Mesh_M::MyOFFDataNew& patch) {
    std::vector<double> soup = cut.surroundingVector;
    const auto corner = [&](const Mesh_M::MyFace& f, int c) {
        return Point(patch.points[static_cast<std::size_t>(f.t_idx[c])].p);
    };
    for (const Mesh_M::MyFace& f : patch.faces)
        appendTriangle(corner(f, 0), corner(f, 1), corner(f, 2), soup);
    return soup;
}

void fairPlainly(const Cut& cut, Mesh_M::MyOFFDataNew& patch) {
    std::vector<Point> points = cut.points;
    std::vector<int> index(cut.border);
    for (std::size_t i = cut.border.size(); i < patch.points.size(); ++i) {
        index.push_back(static_cast<int>(points.size()));
        points.emplace_back(patch.points[i].p);
    }
    std::vector<Triangle> triangles = cut.surroundings;
    for (const Mesh_M::MyFace& f : patch.faces)
        triangles.push_back({index[static_cast<std::size_t>(f.t_idx[0])],
                             index[static_cast<std::size_t>(f.t_idx[1])],
                             index[static_cast<std::size_t>(f.t_idx[2])]});
    const auto count = static_cast<Eigen::Index>(points.size());
    std::vector<Eigen::Triplet<double>> entries;
    Eigen::VectorXd area = Eigen::VectorXd::Zero(count);
    for (const Triangle& t : triangles)
        for (int c = 0; c < 3; ++c) {
            const int a = t[(c + 1) % 3];
            const int b = t[(c + 2) % 3];
            const auto at = [&](int v) { return points[static_cast<std::size_t>(v)]; };
            const double half = 0.5 * cotangent(at(t[c]), at(a), at(b));
            for (const auto& [i, j] : {std::pair(a, b), std::pair(b, a)}) {
                entries.emplace_back(i, i, half);
                entries.emplace_back(i, j, -half);
            }
            area[t[c]] += (at(a) - at(t[c])).cross(at(b) - at(t[c])).norm() / 6.0;
        }
    Eigen::SparseMatrix<double> stiffness(count, count);
    stiffness.setFromTriplets(entries.begin(), entries.end());
    const Eigen::VectorXd inverse = area.unaryExpr([](double a) { return a > 0 ? 1 / a : 0.0; });
    const Eigen::SparseMatrix<double> laplacian = inverse.asDiagonal() * stiffness;
    const Eigen::SparseMatrix<double> twice = laplacian * laplacian;

    const auto first = static_cast<Eigen::Index>(cut.points.size());
    Eigen::MatrixXd fixed(first, 3);
    for (Eigen::Index v = 0; v < first; ++v)
        fixed.row(v) = points[static_cast<std::size_t>(v)].transpose();
    const Eigen::Index unknowns = count - first;
    const Eigen::SparseMatrix<double> system = twice.bottomRightCorner(unknowns, unknowns);
    const Eigen::SparseMatrix<double> known = twice.bottomLeftCorner(unknowns, first);
    Eigen::SparseLU<Eigen::SparseMatrix<double>> solver(system);
    const Eigen::MatrixXd solution = solver.solve(Eigen::MatrixXd(-known * fixed));
    for (Eigen::Index v = 0; v < unknowns; ++v)
        for (int k = 0; k < 3; ++k)
            patch.points[cut.border.size() + static_cast<std::size_t>(v)].p[k] = solution(v, k);
}

Deviation deviation(const std::vector<Mesh_M::MyPoint3>& points, std::size_t first,
                    const Surface& surface) {
    Deviation result;
    for (std::size_t i = first; i < points.size(); ++i) {
        const double d = surface.distance(Point(points[i].p));
        result.meanSquareRoot += d * d / static_cast<double>(points.size() - first);
        result.greatest = std::max(result.greatest, d);
    }
    result.meanSquareRoot = std::sqrt(result.meanSquareRoot);
    return result;
}

} // namespace cut_surface
