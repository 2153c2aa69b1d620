// The bi-Laplace system of one patch: its weights, its rows, and its solution.
#include "kelvane/patch/patch_fairing.hpp"

#include "kelvane/kernel/memory_ahead.hpp"
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/patch/cotangent_weights.hpp"
#include "kelvane/patch/fairing_rows.hpp"

#include <Eigen/OrderingMethods>
#include <Eigen/SparseCore>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <new>
#include <string>
#include <utility>

namespace KVN {

namespace {

// Store order: the same on every run, which the order of addresses is not.
struct StoreOrder {
    bool operator()(const _vert* a, const _vert* b) const {
        return a->index != b->index ? a->index < b->index : a < b;
    }
};

using Coordinates = Eigen::Matrix<double, Eigen::Dynamic, 3>;
using RowMatrix = Eigen::SparseMatrix<double, Eigen::RowMajor>;

enum class SystemOutcome { solved, infinite_entry, singular };

// Fills the matrix row by row. False when an entry is infinite.
bool set_up_system(FairingRows& rows, RowMatrix& matrix, Coordinates& right) {
    constexpr Eigen::Index entries_per_row = 20; // 19 in a regular triangulation
    matrix.reserve(entries_per_row * matrix.rows());
    std::vector<std::pair<int, double>> entries;
    for (int row = 0; row < static_cast<int>(matrix.rows()); ++row) {
        double terms[3] = {0.0, 0.0, 0.0};
        rows.expand(row, entries, terms);
        right.row(row) << terms[0], terms[1], terms[2];
        matrix.startVec(row);
        for (const auto& [column, value] : entries) {
            if (std::isinf(value)) {
                return false;
            }
            matrix.insertBackByOuterInnerUnordered(row, column) = value;
        }
    }
    matrix.finalize();
    return true;
}

// Solves for all three coordinates with one factorisation. The rows carry their own areas, so the
// matrix is not symmetric.
SystemOutcome solve_system(FairingRows& rows, int unknowns, Coordinates& positions) {
    Coordinates right(unknowns, 3);
    Eigen::SparseMatrix<double> matrix(unknowns, unknowns);
    {
        RowMatrix by_rows(unknowns, unknowns);
        if (!set_up_system(rows, by_rows, right)) {
            return SystemOutcome::infinite_entry;
        }
        matrix = by_rows; // sorts each column
    }
    Eigen::SparseLU<Eigen::SparseMatrix<double>, Eigen::COLAMDOrdering<int>> solver;
    // It copies the matrix and takes an array of its size from malloc() without a look.
    constexpr std::size_t bytes_per_entry = 32;
    Mesh_M::require_memory(bytes_per_entry * static_cast<std::size_t>(matrix.nonZeros()));
    solver.analyzePattern(matrix);
    solver.factorize(matrix);
    // The solver catches std::bad_alloc and tells of it in words alone, partly as a success.
    if (solver.lastErrorMessage().find("MEMORY") != std::string::npos) {
        throw std::bad_alloc();
    }
    positions.resize(unknowns, 3);
    for (int axis = 0; axis < 3 && solver.info() == Eigen::Success; ++axis) {
        positions.col(axis) = solver.solve(Eigen::VectorXd(right.col(axis)));
    }
    return solver.info() == Eigen::Success ? SystemOutcome::solved : SystemOutcome::singular;
}

} // namespace

PatchFairing::PatchFairing(Mesh* mesh_, const MyOFFDataNew& patch_,
                           const std::vector<_vert*>& vertices_, char sizeAdjustable_)
    : mesh(mesh_), patch(&patch_), vertices(&vertices_), sizeAdjustable(sizeAdjustable_) {}

double PatchFairing::edgeWeight(const _edge* e) {
    return edge_weight(e);
}

double PatchFairing::mixedArea(const _vert* v) {
    return mixed_area(v);
}

void PatchFairing::computeRow(_vert* v, int row, double& bx, double& by, double& bz,
                              double multiplier, const std::map<_vert*, int>& ids, unsigned depth) {
    while (depth != 0) {
        const double w = 0.5 / mixedArea(v);
        double sum = 0.0;
        for (int i = 0; i < v->edgeCount; ++i) {
            const _edge* e = v->edges[i];
            const double g = edgeWeight(e);
            _vert* neighbour = Mesh_R::other_end(e, v);
            computeRow(neighbour, row, bx, by, bz, -(g * w * multiplier), ids, depth - 1);
            sum += g;
        }
        multiplier = multiplier * (sum * w);
        --depth;
    }
    const auto known = ids.find(v);
    if (known != ids.end()) {
        const auto entry = coefficients.try_emplace({row, known->second}, multiplier);
        if (!entry.second) {
            entry.first->second += multiplier;
        }
    } else {
        bx -= multiplier * v->pos.x;
        by -= multiplier * v->pos.y;
        bz -= multiplier * v->pos.z;
    }
}

int PatchFairing::fair() {
    const int result = solve();
    write();
    return result;
}

int PatchFairing::solve() {
    solution.clear();
    std::vector<_vert*> free;
    for (std::size_t k = patch->freeStart; k < patch->points.size(); ++k) {
        free.push_back((*vertices)[k]);
    }
    if (free.empty()) {
        return 0;
    }
    std::sort(free.begin(), free.end(), StoreOrder());
    free.erase(std::unique(free.begin(), free.end()), free.end());
    FairingRows rows(free);
    if (!rows.distinct()) {
        return -1; // two numbers for one vertex, which only a broken order could bring about
    }
    Coordinates positions;
    const SystemOutcome outcome = solve_system(rows, static_cast<int>(free.size()), positions);
    if (outcome == SystemOutcome::infinite_entry) {
        std::cout << "std::isinf(kv.second)\n";
        return -1;
    }
    if (outcome == SystemOutcome::solved) {
        solution.reserve(free.size());
        for (std::size_t i = 0; i < free.size(); ++i) {
            const auto p = positions.row(static_cast<Eigen::Index>(i)).cast<float>();
            solution.emplace_back(free[i], MemS::Point3v<float>(p[0], p[1], p[2]));
        }
    }
    return 0;
}

void PatchFairing::write() const {
    for (const auto& [v, position] : solution) {
        v->pos = position;
    }
}

} // namespace KVN
