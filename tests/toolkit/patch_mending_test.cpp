#include "kelvane/toolkit/job/patch_mending.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

namespace {

using KVN::toolkit::PatchMending;
using Mesh_M::MyFace;
using Mesh_M::MyPoint3;

constexpr int cells = 6; // along a side of the patch

struct Patch {
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::vector<int> border;

    PatchMending mend() { return KVN::toolkit::mend_patch(points, faces, normals, border); }
};

int number(int i, int j) {
    return j * (cells + 1) + i;
}

// A gently bent square of unit cells.
Patch square() {
    Patch patch;
    for (int j = 0; j <= cells; ++j) {
        for (int i = 0; i <= cells; ++i) {
            patch.points.push_back({{double(i), double(j), 0.02 * i * i}});
            if (i == 0 || j == 0 || i == cells || j == cells) {
                patch.border.push_back(number(i, j));
            }
        }
    }
    for (int j = 0; j < cells; ++j) {
        for (int i = 0; i < cells; ++i) {
            patch.faces.push_back({{number(i, j), number(i + 1, j), number(i + 1, j + 1)}});
            patch.faces.push_back({{number(i, j), number(i + 1, j + 1), number(i, j + 1)}});
        }
    }
    patch.normals.assign(patch.faces.size(), MyPoint3{{0.0, 0.0, 1.0}});
    return patch;
}

// The directed edges that have no opposite: the outline, by the places of its ends.
std::map<std::pair<double, double>, std::pair<double, double>> outline(const Patch& patch) {
    std::map<std::pair<int, int>, int> uses;
    for (const MyFace& f : patch.faces) {
        for (int k = 0; k < 3; ++k) {
            ++uses[{f.t_idx[k], f.t_idx[(k + 1) % 3]}];
        }
    }
    std::map<std::pair<double, double>, std::pair<double, double>> steps;
    for (const auto& [edge, count] : uses) {
        EXPECT_EQ(count, 1);
        if (uses.count({edge.second, edge.first}) == 0) {
            const double* a = patch.points[std::size_t(edge.first)].p;
            const double* b = patch.points[std::size_t(edge.second)].p;
            steps[{a[0], a[1]}] = {b[0], b[1]};
        }
    }
    return steps;
}

double least_upward(const Patch& patch) {
    double least = 1.0;
    for (const MyPoint3& n : patch.normals) {
        least = std::min(least, n.p[2]);
    }
    return least;
}

TEST(MendPatch, TakesFaultsOutAndKeepsTheOutline) {
    struct Case {
        std::string name;
        int moved;
        MyPoint3 to;
        PatchMending outcome;
    };
    const Case cases[] = {
        {"nothing wrong", number(3, 3), {{3.1, 2.9, 0.2}}, PatchMending::sound},
        {"beyond its neighbour", number(3, 3), {{4.4, 3.2, 0.35}}, PatchMending::mended},
        {"on a neighbour", number(3, 3), {{4.0, 3.0, 0.32}}, PatchMending::mended},
        {"almost on an edge", number(3, 3), {{3.5, 2.4997, 0.25}}, PatchMending::mended},
        {"beyond the border", number(1, 3), {{-0.5, 3.3, 0.0}}, PatchMending::mended},
        {"border point on the next one", number(0, 3), {{0.0, 2.0, 0.0}}, PatchMending::refused},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Patch patch = square();
        patch.points[std::size_t(c.moved)] = c.to;
        const Patch before = patch;
        EXPECT_EQ(patch.mend(), c.outcome);
        ASSERT_EQ(patch.normals.size(), patch.faces.size());
        EXPECT_EQ(outline(patch), outline(before));
        ASSERT_EQ(patch.border.size(), before.border.size());
        for (std::size_t i = 0; i < patch.border.size(); ++i) {
            EXPECT_EQ(patch.points[std::size_t(patch.border[i])].p[0],
                      before.points[std::size_t(before.border[i])].p[0]);
        }
        // A disc: each inner point and no other adds two faces.
        EXPECT_EQ(patch.faces.size(), 2 * patch.points.size() - patch.border.size() - 2);
        EXPECT_GT(least_upward(patch), 0.5);
        if (c.outcome == PatchMending::mended) {
            EXPECT_EQ(patch.mend(), PatchMending::sound);
        } else {
            EXPECT_EQ(patch.points.size(), before.points.size());
        }
    }
}

TEST(MendPatch, RefusesListsThatDoNotBelongTogether) {
    Patch patch = square();
    patch.faces[3].t_idx[1] = 1000;
    EXPECT_EQ(patch.mend(), PatchMending::refused);
    patch = square();
    patch.normals.pop_back();
    EXPECT_EQ(patch.mend(), PatchMending::refused);
}

} // namespace
