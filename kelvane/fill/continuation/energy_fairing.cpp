#include "kelvane/fill/continuation/energy_fairing.hpp"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace Mesh_M::fill {

namespace {

using Matrix = Eigen::SparseMatrix<double>;
using Triplets = std::vector<Eigen::Triplet<double>>;

// Angles below about 3 degrees count as 3 degrees, so that slivers do not rule the sum.
constexpr double greatest_cotangent = 19.1;

// Both parts of the mesh, and the points whose ring of triangles is closed: only there is the
// cotangent sum a Laplacian.
struct Mesh {
    std::vector<Triangle> triangles;
    std::vector<char> complete;
};

Mesh join_parts(const HoleScene& scene) {
    Mesh mesh;
    mesh.triangles = scene.surroundings;
    mesh.triangles.insert(mesh.triangles.end(), scene.patch.begin(), scene.patch.end());
    mesh.complete.assign(scene.points.size(), 0);
    std::map<std::pair<int, int>, int> uses;
    for (const Triangle& t : mesh.triangles) {
        for (int c = 0; c < 3; ++c) {
            mesh.complete[static_cast<std::size_t>(t[c])] = 1;
            ++uses[std::minmax(t[c], t[(c + 1) % 3])];
        }
    }
    for (const auto& [edge, count] : uses) {
        if (count != 2) {
            mesh.complete[static_cast<std::size_t>(edge.first)] = 0;
            mesh.complete[static_cast<std::size_t>(edge.second)] = 0;
        }
    }
    return mesh;
}

struct Operators {
    Matrix laplacian; // rows of incomplete points are empty
    Matrix metric;    // what the Laplacian is measured with
};

// Cotangents of the three angles of a triangle; its double area in `double_area`.
Eigen::Vector3d cotangents(const std::vector<Point>& points, const Triangle& t,
                           double& double_area) {
    Eigen::Vector3d result = Eigen::Vector3d::Zero();
    const auto corner = [&](int c) { return points[static_cast<std::size_t>(t[c % 3])]; };
    double_area = (corner(1) - corner(0)).cross(corner(2) - corner(0)).norm();
    if (double_area > 1e-300) {
        for (int c = 0; c < 3; ++c) {
            const double dot = (corner(c + 1) - corner(c)).dot(corner(c + 2) - corner(c));
            result[c] = std::clamp(dot / double_area, -greatest_cotangent, greatest_cotangent);
        }
    }
    return result;
}

Operators make_operators(const HoleScene& scene, const Mesh& mesh, FairingOrder order) {
    const auto count = static_cast<Eigen::Index>(scene.points.size());
    std::vector<double> area(scene.points.size(), 0.0);
    Triplets stiffness;
    Triplets gradient;
    for (const Triangle& t : mesh.triangles) {
        double double_area = 0.0;
        const Eigen::Vector3d cot = cotangents(scene.points, t, double_area);
        bool all_complete = true;
        for (const int v : t) {
            area[static_cast<std::size_t>(v)] += double_area / 6.0;
            all_complete = all_complete && mesh.complete[static_cast<std::size_t>(v)];
        }
        for (int c = 0; c < 3; ++c) {
            const int a = t[(c + 1) % 3];
            const int b = t[(c + 2) % 3];
            const double half = 0.5 * cot[c];
            for (Triplets* target : {&stiffness, &gradient}) {
                if (target == &gradient && !all_complete) {
                    continue;
                }
                target->emplace_back(a, a, half);
                target->emplace_back(b, b, half);
                target->emplace_back(a, b, -half);
                target->emplace_back(b, a, -half);
            }
        }
    }
    Matrix raw(count, count);
    raw.setFromTriplets(stiffness.begin(), stiffness.end());
    Triplets inverse;
    Triplets mass;
    for (Eigen::Index v = 0; v < count; ++v) {
        const double a = area[static_cast<std::size_t>(v)];
        if (!mesh.complete[static_cast<std::size_t>(v)] || !(a > 1e-300)) {
            continue;
        }
        inverse.emplace_back(v, v, 1.0 / a);
        mass.emplace_back(v, v, a);
    }
    Matrix scale(count, count);
    scale.setFromTriplets(inverse.begin(), inverse.end());
    Operators result;
    result.laplacian = scale * raw;
    result.metric.resize(count, count);
    const Triplets& metric = order == FairingOrder::biharmonic ? mass : gradient;
    result.metric.setFromTriplets(metric.begin(), metric.end());
    return result;
}

// One linear solve with the weights of the present positions. False if it fails.
bool minimise(HoleScene& scene, const Mesh& mesh, FairingOrder order,
              const std::vector<int>& unknown, int unknowns) {
    const Operators operators = make_operators(scene, mesh, order);
    const Matrix energy =
        Matrix(operators.laplacian.transpose()) * operators.metric * operators.laplacian;
    Triplets inner;
    Eigen::MatrixXd right = Eigen::MatrixXd::Zero(unknowns, 3);
    for (Eigen::Index column = 0; column < energy.outerSize(); ++column) {
        for (Matrix::InnerIterator entry(energy, column); entry; ++entry) {
            const int row = unknown[static_cast<std::size_t>(entry.row())];
            if (row < 0) {
                continue;
            }
            const int target = unknown[static_cast<std::size_t>(column)];
            if (target >= 0) {
                inner.emplace_back(row, target, entry.value());
            } else {
                right.row(row) -=
                    entry.value() * scene.points[static_cast<std::size_t>(column)].transpose();
            }
        }
    }
    Matrix system(unknowns, unknowns);
    system.setFromTriplets(inner.begin(), inner.end());
    const Eigen::SimplicialLDLT<Matrix> solver(system);
    if (solver.info() != Eigen::Success) {
        return false;
    }
    const Eigen::MatrixXd solution = solver.solve(right);
    if (!solution.allFinite()) {
        return false;
    }
    for (std::size_t v = 0; v < unknown.size(); ++v) {
        if (unknown[v] >= 0) {
            scene.points[v] = solution.row(unknown[v]).transpose();
        }
    }
    return true;
}

} // namespace

bool fair_by_energy(HoleScene& scene, FairingOrder order, int rounds) {
    const Mesh mesh = join_parts(scene);
    std::vector<int> unknown(scene.points.size(), -1);
    int unknowns = 0;
    for (std::size_t v = 0; v < unknown.size(); ++v) {
        if (scene.movable[v]) {
            unknown[v] = unknowns++;
        }
    }
    if (unknowns == 0) {
        return true;
    }
    for (int round = 0; round < rounds; ++round) {
        if (!minimise(scene, mesh, order, unknown, unknowns)) {
            return false;
        }
    }
    return true;
}

} // namespace Mesh_M::fill
