// The bi-Laplace system of one patch: its weights, its rows, and its solution.
#include "kelvane/patch/patch_fairing.hpp"

#include "kelvane/kernel/record_words.hpp"
#include "kelvane/patch/fairing_rows.hpp"

#include <Eigen/OrderingMethods>
#include <Eigen/SparseCore>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <set>
#include <utility>

namespace KVN {

namespace {

constexpr double cotangent_limit = 19.1; // cotangent of 3 degrees
constexpr double smallest_normal = std::numeric_limits<double>::min();

double clamped(double cotangent) {
    return std::min(std::max(cotangent, -cotangent_limit), cotangent_limit);
}

// A difference of two positions, in single precision.
using Vector = MemS::Point3v<float>;

Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double dot(const Vector& a, const Vector& b) {
    return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
           static_cast<double>(a.z) * b.z;
}

// Length of the cross product: components in single precision, length in double.
double cross_length(const Vector& a, const Vector& b) {
    const Vector c(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
    return std::sqrt(dot(c, c));
}

// The share of a triangle's area that goes to its corner `v`, with p and q the two others.
double area_share(const _vert* v, const _vert* p, const _vert* q) {
    const Vector a = p->pos - v->pos;
    const Vector b = q->pos - v->pos;
    const Vector c = q->pos - p->pos;
    const double s = cross_length(a, b); // twice the triangle's area
    if (!(s > smallest_normal)) {
        return 0.0;
    }
    const double dv = dot(a, b);
    const double dp = -dot(a, c);
    const double dq = dot(b, c);
    if (dv < 0.0) {
        return 0.25 * s;
    }
    if (dp < 0.0 || dq < 0.0) {
        return 0.125 * s;
    }
    return 0.125 * (dot(a, a) * clamped(dq / s) + dot(b, b) * clamped(dp / s));
}

// Store order: the same on every run, which the order of addresses is not.
struct StoreOrder {
    bool operator()(const _vert* a, const _vert* b) const {
        return a->index != b->index ? a->index < b->index : a < b;
    }
};

using Coordinates = Eigen::Matrix<double, Eigen::Dynamic, 3>;

enum class SystemOutcome { solved, infinite_entry, singular };

// Solves for all three coordinates with one factorisation. The rows carry their own areas, so the
// matrix is not symmetric.
SystemOutcome solve_system(FairingRows& rows, int unknowns, Coordinates& positions) {
    std::vector<Eigen::Triplet<double>> triplets;
    std::vector<std::pair<int, double>> entries;
    Coordinates right(unknowns, 3);
    for (int row = 0; row < unknowns; ++row) {
        double terms[3] = {0.0, 0.0, 0.0};
        rows.expand(row, entries, terms);
        right.row(row) << terms[0], terms[1], terms[2];
        for (const auto& [column, value] : entries) {
            if (std::isinf(value)) {
                return SystemOutcome::infinite_entry;
            }
            triplets.emplace_back(row, column, value);
        }
    }
    Eigen::SparseMatrix<double> matrix(unknowns, unknowns);
    matrix.setFromTriplets(triplets.begin(), triplets.end());
    matrix.makeCompressed();
    Eigen::SparseLU<Eigen::SparseMatrix<double>, Eigen::COLAMDOrdering<int>> solver;
    solver.analyzePattern(matrix);
    solver.factorize(matrix);
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
    double sum = 0.0;
    for (int i = 0; i < e->faceCount; ++i) {
        const _face* f = e->faces[i];
        const _vert* w = f->verts[2];
        for (int k = 1; k >= 0; --k) {
            if (!Mesh_R::is_end(e, f->verts[k])) {
                w = f->verts[k];
            }
        }
        const Vector p = e->end->pos - w->pos;
        const Vector q = e->start->pos - w->pos;
        const double s = cross_length(p, q);
        if (s > smallest_normal) {
            sum += clamped(dot(p, q) / s);
        }
    }
    return sum;
}

double PatchFairing::mixedArea(const _vert* v) {
    if (v->faceCount < 2) {
        return 0.0;
    }
    double area = 0.0;
    for (int i = 0; i < v->faceCount; ++i) {
        _vert* const* corners = v->faces[i]->verts;
        for (int k = 0; k < 3; ++k) {
            if (corners[k] == v) {
                area += area_share(v, corners[(k + 1) % 3], corners[(k + 2) % 3]);
                break;
            }
        }
    }
    return area;
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
    std::set<_vert*, StoreOrder> distinct;
    for (std::size_t k = patch->freeStart; k < patch->points.size(); ++k) {
        distinct.insert((*vertices)[k]);
    }
    if (distinct.empty()) {
        return 0;
    }
    const std::vector<_vert*> free(distinct.begin(), distinct.end());
    FairingRows rows(
        free, [this](const _vert* v) { return mixedArea(v); },
        [this](const _edge* e) { return edgeWeight(e); });
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
            solution.emplace_back(free[i], Vector(p[0], p[1], p[2]));
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
