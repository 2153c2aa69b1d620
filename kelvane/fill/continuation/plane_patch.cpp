#include "kelvane/fill/continuation/plane_patch.hpp"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>

#include <algorithm>

namespace Mesh_M::fill {

PlanePatch::PlanePatch(const HoleScene& scene, const Frame& frame)
    : places(scene.points.size()), scene_(scene), around_(scene.points.size()) {
    for (std::size_t v = 0; v < places.size(); ++v) {
        places[v] = frame.place(scene.points[v]);
    }
    for (std::size_t f = 0; f < scene.patch.size(); ++f) {
        for (const int v : scene.patch[f]) {
            around_[static_cast<std::size_t>(v)].push_back(static_cast<int>(f));
        }
    }
}

double PlanePatch::signed_area(const Triangle& triangle) const {
    const Place& a = places[static_cast<std::size_t>(triangle[0])];
    const Place ab = places[static_cast<std::size_t>(triangle[1])] - a;
    const Place ac = places[static_cast<std::size_t>(triangle[2])] - a;
    return ab.x() * ac.y() - ab.y() * ac.x();
}

bool PlanePatch::is_unfolded() const {
    return std::all_of(scene_.patch.begin(), scene_.patch.end(), [&](const Triangle& t) {
        const bool movable = scene_.movable[static_cast<std::size_t>(t[0])] ||
                             scene_.movable[static_cast<std::size_t>(t[1])] ||
                             scene_.movable[static_cast<std::size_t>(t[2])];
        return !movable || signed_area(t) > 0.0;
    });
}

// Each neighbour counts once per triangle that it shares, which is twice inside.
bool PlanePatch::embed() {
    std::vector<int> unknown(places.size(), -1);
    int unknowns = 0;
    for (std::size_t v = 0; v < places.size(); ++v) {
        if (scene_.movable[v]) {
            unknown[v] = unknowns++;
        }
    }
    std::vector<Eigen::Triplet<double>> entries;
    Eigen::MatrixXd right = Eigen::MatrixXd::Zero(unknowns, 2);
    for (const Triangle& t : scene_.patch) {
        for (int c = 0; c < 3; ++c) {
            for (int other = 1; other < 3; ++other) {
                const int row = unknown[static_cast<std::size_t>(t[c])];
                if (row < 0) {
                    continue;
                }
                const auto neighbour = static_cast<std::size_t>(t[(c + other) % 3]);
                entries.emplace_back(row, row, 1.0);
                if (unknown[neighbour] >= 0) {
                    entries.emplace_back(row, unknown[neighbour], -1.0);
                } else {
                    right.row(row) += places[neighbour].transpose();
                }
            }
        }
    }
    Eigen::SparseMatrix<double> matrix(unknowns, unknowns);
    matrix.setFromTriplets(entries.begin(), entries.end());
    const Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> solver(matrix);
    if (solver.info() != Eigen::Success) {
        return false;
    }
    const Eigen::MatrixXd solution = solver.solve(right);
    if (!solution.allFinite()) {
        return false;
    }
    for (std::size_t v = 0; v < places.size(); ++v) {
        if (unknown[v] >= 0) {
            places[v] = solution.row(unknown[v]).transpose();
        }
    }
    return true;
}

} // namespace Mesh_M::fill
