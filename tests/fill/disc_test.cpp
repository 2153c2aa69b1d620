// The disc's single steps: flips, splits, collapses, and what bisection makes of long edges.
#include "kelvane/fill/disc/disc_refinement.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>
#include <string>

namespace {

using namespace Mesh_M::fill;

// n border points on the unit circle around inner point n, which lies off the centre.
Patch wheel(int n) {
    Patch patch;
    patch.borderCount = n;
    for (int i = 0; i < n; ++i) {
        const double angle = 2.0 * M_PI * i / n;
        patch.points.emplace_back(std::cos(angle), std::sin(angle), 0.1 * std::cos(2 * angle));
        patch.triangles.push_back({i, (i + 1) % n, n});
    }
    patch.points.emplace_back(0.2, 0.1, 0.0);
    return patch;
}

DiscMesh mesh_of(const Patch& patch, double size) {
    DiscMesh mesh;
    EXPECT_TRUE(mesh.assign(patch));
    mesh.sizes.assign(mesh.points.size(), size);
    return mesh;
}

// Adds triangles over points that begin behind those of the patch; -1 and -2 stand for the hub and
// border point 0.
void add_closed(Patch& patch, int new_points, const std::vector<Triangle>& triangles) {
    const int first = static_cast<int>(patch.points.size());
    for (int i = 0; i < new_points; ++i) {
        patch.points.emplace_back(i, i * i, 3.0);
    }
    for (Triangle t : triangles) {
        for (int& corner : t) {
            corner = corner >= 0 ? first + corner : corner == -1 ? patch.borderCount : 0;
        }
        patch.triangles.push_back(t);
    }
}

// The torus of seven points, which keeps the Euler characteristic (A. F. Moebius, A. Csaszar).
void add_torus(Patch& patch) {
    std::vector<Triangle> triangles;
    for (int i = 0; i < 7; ++i) {
        triangles.push_back({i, (i + 1) % 7, (i + 3) % 7});
        triangles.push_back({i, (i + 3) % 7, (i + 2) % 7});
    }
    add_closed(patch, 7, triangles);
}

// An octahedron whose poles are two points of the patch: pinched there, the characteristic kept.
void add_pinched_octahedron(Patch& patch) {
    std::vector<Triangle> triangles;
    for (int i = 0; i < 4; ++i) {
        triangles.push_back({i, (i + 1) % 4, -1});
        triangles.push_back({(i + 1) % 4, i, -2});
    }
    add_closed(patch, 4, triangles);
}

// What the records say of each other, and that they are a disc's: assigned anew they must pass.
void expect_disc(const DiscMesh& mesh) {
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        if (mesh.is_used(h) && mesh.twin(h) != DiscMesh::none) {
            ASSERT_EQ(mesh.twin(mesh.twin(h)), h);
            ASSERT_EQ(mesh.origin(mesh.twin(h)), mesh.target(h));
        }
    }
    for (int point = 0; point < mesh.point_count(); ++point) {
        if (mesh.is_alive(point)) {
            ASSERT_EQ(mesh.origin(mesh.outgoing(point)), point);
        }
    }
    DiscMesh again;
    ASSERT_TRUE(again.assign(mesh.extract()));
}

Point area_of(const DiscMesh& mesh) {
    Point sum = Point::Zero();
    for (int h = 0; h < mesh.half_edge_count(); h += 3) {
        if (mesh.is_used(h)) {
            const Point& a = mesh.points[mesh.origin(h)];
            sum += (mesh.points[mesh.target(h)] - a).cross(mesh.points[mesh.apex(h)] - a);
        }
    }
    return sum;
}

// Angles opposite an edge of a flat mesh sum up to at most 180 degrees.
bool is_delaunay(const DiscMesh& mesh, int h) {
    const auto angle = [&](int side) {
        const Point& apex = mesh.points[mesh.apex(side)];
        const Point u = mesh.points[mesh.origin(side)] - apex;
        const Point v = mesh.points[mesh.target(side)] - apex;
        return std::atan2(u.cross(v).norm(), u.dot(v));
    };
    return mesh.twin(h) == DiscMesh::none || angle(h) + angle(mesh.twin(h)) < M_PI + 1e-6;
}

TEST(DiscMesh, TakesDiscsOnly) {
    struct Row {
        const char* name;
        void (*spoil)(Patch&);
    };
    const Row rows[] = {
        {"triangle missing", [](Patch& p) { p.triangles.pop_back(); }},
        {"triangle turned", [](Patch& p) { std::swap(p.triangles[2][0], p.triangles[2][1]); }},
        {"triangle twice", [](Patch& p) { p.triangles[1] = p.triangles[0]; }},
        {"corner twice", [](Patch& p) { p.triangles[1][0] = p.triangles[1][1]; }},
        {"index out of range", [](Patch& p) { p.triangles[1][0] = 99; }},
        {"loose point", [](Patch& p) { p.points.emplace_back(0, 0, 1); }},
        {"two pieces", add_torus},
        {"pinched", add_pinched_octahedron},
        {"border too long", [](Patch& p) { p.borderCount = 7; }},
        {"no border", [](Patch& p) { p.borderCount = 2; }}};
    for (const Row& row : rows) {
        Patch patch = wheel(6);
        row.spoil(patch);
        EXPECT_FALSE(DiscMesh().assign(patch)) << row.name;
    }
}

TEST(DiscMesh, StaysADiscUnderAnyRunOfFlipsSplitsAndCollapses) {
    std::set<std::string> seen;
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        DiscMesh mesh = mesh_of(wheel(3 + static_cast<int>(seed % 7)), 1.0);
        const Point area = area_of(mesh);
        for (int step = 0; step < 120; ++step) {
            const int h =
                static_cast<int>(random() % static_cast<unsigned>(mesh.half_edge_count()));
            if (!mesh.is_used(h)) {
                continue;
            }
            const int from = mesh.origin(h), to = mesh.target(h);
            const int apex = mesh.apex(h), points = mesh.point_count();
            switch (random() % 4) {
            case 0:
                if (mesh.flip(h)) {
                    EXPECT_FALSE(mesh.are_joined(from, to));
                    seen.insert("flip");
                }
                break;
            case 1:
            case 2:
                if (mesh.split(h, 0.5 * (mesh.points[from] + mesh.points[to]), 1.0) == points) {
                    EXPECT_EQ(mesh.degree(points), 4);
                    EXPECT_TRUE(mesh.are_joined(points, apex));
                    seen.insert("split");
                }
                break;
            default:
                if (mesh.collapse(h)) {
                    EXPECT_FALSE(mesh.is_alive(from));
                    EXPECT_TRUE(mesh.is_alive(to));
                    seen.insert("collapse");
                }
            }
            expect_disc(mesh);
        }
        // The area vector belongs to the border alone, whatever lies within.
        EXPECT_LT((area_of(mesh) - area).norm(), 1e-12);
    }
    EXPECT_EQ(seen.size(), 3u);
}

TEST(DiscMesh, RefusesWhatWouldLeaveNoDisc) {
    DiscMesh mesh = mesh_of(wheel(3), 1.0);
    for (int h = 0; h < mesh.half_edge_count(); ++h) {
        const bool on_border = mesh.twin(h) == DiscMesh::none;
        EXPECT_FALSE(mesh.flip(h)) << "the other diagonal joins border points that are joined";
        EXPECT_EQ(mesh.split(h, Point::Zero(), 1.0) == DiscMesh::none, on_border);
        if (!on_border) {
            break; // the mesh is another now
        }
    }
    DiscMesh hub = mesh_of(wheel(5), 1.0);
    for (int h = 0; h < hub.half_edge_count(); ++h) {
        if (hub.is_border(hub.origin(h))) {
            EXPECT_FALSE(hub.collapse(h));
        }
    }
}

TEST(EdgeFlipper, LeavesAFlatMeshDelaunayAndMakesNoChord) {
    for (const bool avoid_chords : {false, true}) {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> inside(-0.6, 0.6);
        Patch patch = wheel(12);
        for (Point& p : patch.points) {
            p.z() = 0.0;
        }
        DiscMesh mesh = mesh_of(patch, 1.0);
        for (int i = 0; i < 40; ++i) { // thin triangles: each new point goes onto a spoke
            const int hub = 12;
            mesh.split(mesh.outgoing(hub),
                       0.5 * (mesh.points[hub] + mesh.points[mesh.target(mesh.outgoing(hub))]),
                       1.0);
        }
        EdgeFlipper(mesh, avoid_chords).run_on_all();
        expect_disc(mesh);
        int chords = 0, unlawful = 0;
        for (int h = 0; h < mesh.half_edge_count(); ++h) {
            chords += mesh.is_chord(h);
            unlawful += !is_delaunay(mesh, h);
        }
        EXPECT_EQ(avoid_chords ? chords : unlawful, 0);
    }
}

TEST(PatchRefiner, BringsEdgesToTheWishedLength) {
    for (const double size : {0.5, 0.25, 0.1}) {
        DiscMesh mesh = mesh_of(wheel(24), size);
        PatchRefiner refiner(mesh);
        for (int pass = 0; pass < 6; ++pass) {
            refiner.split_long_edges();
            refiner.flip_edges();
            refiner.collapse_short_edges();
        }
        refiner.cut_chords();
        expect_disc(mesh);
        double sum = 0.0;
        int inner = 0, long_ones = 0;
        for (int h = 0; h < mesh.half_edge_count(); ++h) {
            if (mesh.is_used(h) && mesh.twin(h) != DiscMesh::none) {
                const double length =
                    (mesh.points[mesh.origin(h)] - mesh.points[mesh.target(h)]).norm();
                EXPECT_FALSE(mesh.is_chord(h));
                sum += length;
                long_ones += length > 1.7 * size;
                ++inner;
            }
        }
        EXPECT_NEAR(sum / inner, size, 0.3 * size) << size;
        EXPECT_LT(long_ones, inner / 20) << size;
    }
}

} // namespace
