// The global smoothing step: one sparse least-squares solve for all free vertices, in the manner of
// Sorkine and Cohen-Or, "Least-squares Meshes" (Shape Modeling International 2004).
#include "kelvane/triangulator/hole_triangulator.hpp"

#include "kelvane/triangulator/patch_records.hpp"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>

#include <algorithm>

namespace KVN {

namespace {

using Triplets = std::vector<Eigen::Triplet<double>>;

Eigen::Vector3d widened(float x, float y, float z) {
    return {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
}

/// The vertices that may move, numbered by their `index` word.
std::vector<_vert*> number_free_vertices(Mesh_R::Vertex& vertices) {
    std::vector<_vert*> free_verts;
    const int total = vertices.total();
    for (int i = 0; i < total; ++i) {
        _vert& v = vertices.at(i);
        if (v.status != Mesh_R::status_deleted && !has_mark(&v, keep_bit)) {
            v.index = static_cast<std::int32_t>(free_verts.size());
            free_verts.push_back(&v);
        }
    }
    return free_verts;
}

/// The equation "the sum of (neighbour - v) over the neighbours of v is zero": its coefficients go
/// to `triplets`, what is known of it is returned as the right-hand side.
Eigen::Vector3d append_equation(int row, const _vert* v, Triplets& triplets) {
    float neighbours = 0.0f;
    Eigen::Vector3d known(0.0, 0.0, 0.0);
    for (int k = 0; k < v->edgeCount; ++k) {
        const _vert* w = other_end(v->edges[k], v);
        if (has_mark(w, keep_bit)) {
            known += widened(w->pos.x, w->pos.y, w->pos.z);
        } else {
            triplets.emplace_back(row, w->index, -1.0);
        }
        neighbours += 1.0f;
    }
    if (has_mark(v, keep_bit)) {
        known -= widened(v->pos.x * neighbours, v->pos.y * neighbours, v->pos.z * neighbours);
    } else {
        triplets.emplace_back(row, v->index, static_cast<double>(neighbours));
    }
    return known;
}

} // namespace

void HoleTriangulator::relax_patch() {
    const std::vector<_vert*> free_verts = number_free_vertices(mesh->vertices);
    if (free_verts.empty()) {
        return;
    }
    // The boundary's rows make the patch join the surface smoothly instead of just touching it.
    std::vector<_vert*> row_verts = free_verts;
    const int loop = std::min(static_cast<int>(boundary.size()), mesh->vertices.total());
    for (int i = 0; i < loop; ++i) {
        row_verts.push_back(&mesh->vertices.at(i));
    }

    const auto rows = static_cast<Eigen::Index>(row_verts.size());
    const auto columns = static_cast<Eigen::Index>(free_verts.size());
    Triplets triplets;
    Eigen::MatrixXd known(rows, 3);
    for (Eigen::Index r = 0; r < rows; ++r) {
        const _vert* v = row_verts[static_cast<std::size_t>(r)];
        known.row(r) = append_equation(static_cast<int>(r), v, triplets).transpose();
    }
    // The transposed matrix is built as such: its products run on this thread alone.
    for (Eigen::Triplet<double>& t : triplets) {
        t = Eigen::Triplet<double>(t.col(), t.row(), t.value());
    }
    Eigen::SparseMatrix<double> transposed(columns, rows);
    transposed.setFromTriplets(triplets.begin(), triplets.end());
    const Eigen::SparseMatrix<double> normal =
        transposed * Eigen::SparseMatrix<double>(transposed.transpose());
    const Eigen::MatrixXd right_hand = transposed * known;

    // Simplicial LDLT orders by approximate minimum degree unless told otherwise.
    const Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> solver(normal);
    if (solver.info() != Eigen::Success) {
        return; // a group of free vertices without any fixed neighbour has no unique place
    }
    const Eigen::MatrixXd solution = solver.solve(right_hand);
    for (Eigen::Index i = 0; i < columns; ++i) {
        MemS::Point3v<float>& pos = free_verts[static_cast<std::size_t>(i)]->pos;
        pos.x = static_cast<float>(solution(i, 0));
        pos.y = static_cast<float>(solution(i, 1));
        pos.z = static_cast<float>(solution(i, 2));
    }
}

} // namespace KVN
