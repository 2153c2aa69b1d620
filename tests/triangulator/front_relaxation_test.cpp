#include "tests/triangulator/holes.hpp"

#include <Eigen/Dense>

namespace test {
namespace {

/// Places of the vertices from number `first` on, all of them free, from a dense orthogonal
/// factorisation of the same least-squares problem.
Eigen::MatrixXd dense_solution(const Mesh_M::Mesh& mesh, int first, int loop) {
    const int unknowns = mesh.vertices.total() - first;
    Eigen::MatrixXd a = Eigen::MatrixXd::Zero(unknowns + loop, unknowns);
    Eigen::MatrixXd b = Eigen::MatrixXd::Zero(unknowns + loop, 3);
    for (int r = 0; r < unknowns + loop; ++r) {
        const _vert* v = vertex(mesh, r < unknowns ? first + r : r - unknowns);
        const auto add = [&](const _vert* w, double factor) {
            for (int c = 0; c < unknowns; ++c) {
                if (vertex(mesh, first + c) == w) {
                    a(r, c) += factor;
                    return;
                }
            }
            b.row(r) -= factor * Eigen::RowVector3d(w->pos.x, w->pos.y, w->pos.z);
        };
        for (int k = 0; k < v->edgeCount; ++k) {
            add(v->edges[k]->start == v ? v->edges[k]->end : v->edges[k]->start, 1.0);
            add(v, -1.0);
        }
    }
    return a.colPivHouseholderQr().solve(b);
}

TEST(PatchRelaxation, AgreesWithADenseLeastSquaresSolve) {
    Hole hole(disc_hole(30, 1.0, 0.3), 30);
    std::vector<_face*> faces;
    hole->clip_front(faces);
    hole->refine_patch(faces);
    const Eigen::MatrixXd expected = dense_solution(*hole.mesh, 60, 30);
    ASSERT_GT(expected.rows(), 30);
    for (int i = 60; i < hole.mesh->vertices.total(); ++i) {
        hole.v(i)->pos.z += 7.0f; // where a free vertex stood does not matter
    }
    hole->relax_patch();
    for (int i = 0; i < expected.rows(); ++i) {
        EXPECT_NEAR(hole.v(60 + i)->pos.x, expected(i, 0), 1e-5);
        EXPECT_NEAR(hole.v(60 + i)->pos.y, expected(i, 1), 1e-5);
        EXPECT_NEAR(hole.v(60 + i)->pos.z, expected(i, 2), 1e-5);
    }
}

TEST(PatchRelaxation, AFailedFactorisationMovesNothing) {
    Hole hole(planar_grid(4, 4));
    hole.v(12)->flags = 0;
    hole.v(12)->pos.z = 5.0f;
    MemS::Point3v<float> lonely(1, 2, 3); // without an edge its place is not determined
    hole.mesh->vertices.insert_vert(lonely);
    hole->relax_patch();
    EXPECT_EQ(hole.v(12)->pos.z, 5.0f);
    hole.v(25)->flags = 1;
    hole->relax_patch();
    EXPECT_EQ(hole.v(12)->pos.z, 0.0f);
}

} // namespace
} // namespace test
