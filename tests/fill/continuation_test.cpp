// fillHole2 and fairing: how near the patch comes to the surface that was cut away.
#include "kelvane/fill/continuation/surface_continuation.hpp"
#include "kelvane/fill/hole_filling.hpp"
#include "support/analytic_surfaces.hpp"
#include "support/bi_laplace.hpp"
#include "support/cut_surface.hpp"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace {

using namespace support;
using Mesh_M::MyFace;
using Mesh_M::MyOFFDataNew;
using Mesh_M::MyPoint3;
using Mesh_M::Orbrel;
using Point = Eigen::Vector3d;

struct Result {
    int code = 0;
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::vector<int> border_indices;
};

Result fill_whole(const std::vector<double>& surroundings, const std::vector<double>& border) {
    Result r;
    r.code =
        Orbrel().fillHole2(surroundings, border, r.points, r.faces, r.normals, r.border_indices);
    return r;
}

Result fair(const std::vector<double>& soup, int count, const std::vector<double>& border) {
    Result r;
    r.code = Orbrel().fairing(soup, count, border, r.points, r.faces, r.normals, r.border_indices);
    return r;
}

// Twelve doubles: the normal, then the corners.
void append_triangle(const Point& a, const Point& b, const Point& c, std::vector<double>& soup) {
    const Point normal = (b - a).cross(c - a).normalized();
    for (const Point& p : {normal, a, b, c}) {
        soup.insert(soup.end(), p.data(), p.data() + 3);
    }
}

// A hole as the filler takes it: the border, the triangles around it, and a patch over it.
struct Hole {
    Cut cut;
    std::vector<double> border;
    std::vector<double> surroundings;
    int code = 0; ///< of the patch
    MyOFFDataNew patch;

    Hole(const TruthSurface& surface, const Point& centre, const CutOptions& options = {})
        : cut(cut_surface(surface, centre, options)) {
        for (const int v : cut.border) {
            border.insert(border.end(), at(v).data(), at(v).data() + 3);
        }
        for (const Triangle& t : cut.surroundings) {
            append_triangle(at(t[0]), at(t[1]), at(t[2]), surroundings);
        }
        code = Orbrel::fillHoleWithoutFair(border, patch);
    }

    const Point& at(int v) const { return cut.points[static_cast<std::size_t>(v)]; }
    int face_count() const { return static_cast<int>(cut.surroundings.size()); }
    std::size_t border_count() const { return cut.border.size(); }

    // Behind the surroundings: the input of a fairing.
    std::vector<double> with_patch() const {
        std::vector<double> soup = surroundings;
        for (const MyFace& f : patch.faces) {
            const auto corner = [&](int c) {
                return Point(patch.points[static_cast<std::size_t>(f.t_idx[c])].p);
            };
            append_triangle(corner(0), corner(1), corner(2), soup);
        }
        return soup;
    }

    // Where the inner points lie on the field that the surroundings continue into.
    std::vector<Point> on_field() const {
        namespace fill = Mesh_M::fill;
        fill::HoleScene scene;
        EXPECT_TRUE(fill::read_scene(with_patch(), border, true, face_count(), scene));
        fill::continue_surface(fill::HeightField(scene), fill::Finish::draft, scene);
        std::vector<Point> points;
        for (std::size_t v = 0; v < scene.points.size(); ++v) {
            if (scene.movable[v] != 0) {
                points.push_back(scene.points[v]);
            }
        }
        return points;
    }

    // Where this library's main road puts the inner points.
    std::vector<Point> fair_plainly() const {
        std::vector<Point> points = cut.points;
        std::vector<int> index(cut.border);
        for (std::size_t i = border_count(); i < patch.points.size(); ++i) {
            index.push_back(static_cast<int>(points.size()));
            points.emplace_back(patch.points[i].p);
        }
        std::vector<Triangle> triangles = cut.surroundings;
        for (const MyFace& f : patch.faces) {
            triangles.push_back({index[static_cast<std::size_t>(f.t_idx[0])],
                                 index[static_cast<std::size_t>(f.t_idx[1])],
                                 index[static_cast<std::size_t>(f.t_idx[2])]});
        }
        return solve_bi_laplace(
            points, triangles,
            {index.begin() + static_cast<std::ptrdiff_t>(border_count()), index.end()});
    }
};

Deviation inner_deviation(const Result& r, const TruthSurface& surface) {
    std::vector<Point> inner;
    for (std::size_t i = r.border_indices.size(); i < r.points.size(); ++i) {
        inner.emplace_back(r.points[i].p);
    }
    return deviation(inner, surface);
}

// Of the triangles' centres: points that lie on a curved surface leave the triangles off it.
Deviation facet_deviation(const Result& r, const TruthSurface& surface) {
    std::vector<Point> centres;
    for (const MyFace& f : r.faces) {
        Point sum = Point::Zero();
        for (const int corner : f.t_idx) {
            sum += Point(r.points[static_cast<std::size_t>(corner)].p);
        }
        centres.emplace_back(sum / 3.0);
    }
    return deviation(centres, surface);
}

// What every result has to be, whatever the surface: the border first and to the bit, all border
// edges along the loop, no edge used twice in one direction, unit normals of the faces themselves.
void expect_sound(const Result& r, const std::vector<double>& border) {
    ASSERT_GE(r.code, 0);
    const std::size_t k = border.size() / 3;
    ASSERT_GE(r.points.size(), k);
    ASSERT_EQ(r.border_indices.size(), k);
    for (std::size_t i = 0; i < k; ++i) {
        EXPECT_EQ(r.border_indices[i], static_cast<int>(i));
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_EQ(r.points[i].p[c], border[3 * i + c]);
    }
    std::set<std::pair<int, int>> edges;
    ASSERT_EQ(r.normals.size(), r.faces.size());
    for (std::size_t f = 0; f < r.faces.size(); ++f) {
        const int* t = r.faces[f].t_idx;
        for (int c = 0; c < 3; ++c) {
            ASSERT_TRUE(t[c] >= 0 && t[c] < static_cast<int>(r.points.size()));
            EXPECT_TRUE(edges.insert({t[c], t[(c + 1) % 3]}).second);
        }
        const Point a(r.points[static_cast<std::size_t>(t[0])].p);
        const Point b(r.points[static_cast<std::size_t>(t[1])].p);
        const Point c(r.points[static_cast<std::size_t>(t[2])].p);
        const Point normal(r.normals[f].p);
        EXPECT_NEAR(normal.norm(), 1.0, 1e-12);
        EXPECT_GE(normal.dot((b - a).cross(c - a)), 0.0);
    }
    for (std::size_t i = 0; i < k; ++i)
        EXPECT_TRUE(edges.count({static_cast<int>(i), static_cast<int>((i + 1) % k)})) << i;
    for (const MyPoint3& p : r.points)
        EXPECT_TRUE(Point(p.p).allFinite());
}

struct Comparison {
    Deviation plain;
    Deviation field;
    Deviation fairing;
    Deviation whole;
    Deviation fairing_facets;
    Deviation whole_facets;
};

struct NamedPlace {
    std::string name;
    std::shared_ptr<const TruthSurface> surface;
    Point centre;
};

Comparison compare(const NamedPlace& place, const CutOptions& options) {
    const Hole hole(*place.surface, place.centre, options);
    EXPECT_EQ(hole.code, 0) << place.name;
    const Result fairing = fair(hole.with_patch(), hole.face_count(), hole.border);
    const Result whole = fill_whole(hole.surroundings, hole.border);
    expect_sound(fairing, hole.border);
    expect_sound(whole, hole.border);
    return {
        deviation(hole.fair_plainly(), *place.surface), deviation(hole.on_field(), *place.surface),
        inner_deviation(fairing, *place.surface),       inner_deviation(whole, *place.surface),
        facet_deviation(fairing, *place.surface),       facet_deviation(whole, *place.surface)};
}

NamedPlace on_sphere(double radius) {
    return {"sphere " + std::to_string(radius), sphere_surface(radius), {0, 0, radius}};
}

std::vector<NamedPlace> all_places() {
    return {on_sphere(20.0),
            {"torus", torus_surface(40, 16), {56, 0, 0}},
            {"cylinder", cylinder_surface(25, 100), {25, 0, 0}},
            {"saddle", saddle_surface(100, 100), {0, 0, 0}},
            {"waves, crest", wave_surface(100, 100), {11, 0, 3}},
            {"waves, flank", wave_surface(100, 100), {3, 14, 0}}};
}

TEST(Continuation, MeetsExactSurfacesFarBetterThanTheBiLaplaceEquation) {
    unsigned seed = 1;
    for (const NamedPlace& s : all_places())
        for (const double radius : {3.0, 5.0}) {
            CutOptions options;
            options.radius = radius;
            options.edge = radius < 4.0 ? 0.6 : 0.95;
            options.seed = seed++;
            const Comparison c = compare(s, options);
            EXPECT_LE(c.field.root_mean_square, c.plain.root_mean_square / 3.0) << s.name;
            EXPECT_LE(c.field.greatest, c.plain.greatest / 3.0) << s.name;
            for (const Deviation& facets : {c.fairing_facets, c.whole_facets}) {
                // With the points on the surface the centres would stand off many times as far.
                EXPECT_LE(facets.root_mean_square, 1.2 * c.whole.root_mean_square) << s.name;
            }
        }
}

TEST(Continuation, AveragesNoiseInsteadOfCarryingItIn) {
    for (const NamedPlace& s : all_places()) {
        double plain = 0.0;
        double fairing = 0.0;
        double whole = 0.0;
        for (unsigned seed = 1; seed <= 4; ++seed) {
            CutOptions options;
            options.noise = 0.02;
            options.radius = 2.5 + 0.6 * seed;
            options.seed = seed;
            const Comparison c = compare(s, options);
            plain += c.plain.root_mean_square * c.plain.root_mean_square;
            fairing += c.fairing.root_mean_square * c.fairing.root_mean_square;
            whole += c.whole.root_mean_square * c.whole.root_mean_square;
        }
        EXPECT_LE(std::sqrt(fairing / plain), 2.0 / 3.0) << s.name;
        EXPECT_LE(std::sqrt(whole / plain), 2.0 / 3.0) << s.name;
    }
}

// A shape that is no surface everywhere, given by where it pulls a point to.
struct Shape : TruthSurface {
    using Map = std::function<Point(const Point&)>;

    explicit Shape(Map onto_) : onto(std::move(onto_)) {}
    SurfacePoint closest(const Point& p) const override { return {onto(p), Point::UnitZ()}; }

    Map onto;
};

struct Ground {
    const char* name;
    Shape::Map onto;
    double noise;
    int least_fairing; ///< percent
    int most_fairing;
};

// Detail that the surroundings do not foretell must not be made up.
TEST(Continuation, FallsBackWhereItCannotForetell) {
    const auto relief = [](double (*height)(double, double)) {
        return [height](const Point& p) { return Point(p.x(), p.y(), height(p.x(), p.y())); };
    };
    const auto bowl = [](double x, double y) { return (x * x + 0.5 * y * y) / 40.0; };
    const Ground grounds[] = {
        {"smooth", relief(bowl), 0.0, 0, 0},
        {"smooth and noisy", relief(bowl), 0.02, 0, 30},
        {"crease", relief([](double x, double) { return -0.6 * std::abs(x - 3.2); }), 0.0, 20, 100},
        {"step", relief([](double x, double) { return std::tanh((x - 3.6) / 0.2); }), 0.0, 50,
         100}};
    for (const Ground& ground : grounds) {
        CutOptions options;
        options.noise = ground.noise;
        const Hole hole(Shape(ground.onto), {0, 0, 0}, options);
        const Result r = fill_whole(hole.surroundings, hole.border);
        expect_sound(r, hole.border);
        EXPECT_GE(Mesh_M::fairing_percent_of(r.code), ground.least_fairing) << ground.name;
        EXPECT_LE(Mesh_M::fairing_percent_of(r.code), ground.most_fairing) << ground.name;
    }
}

// The smaller ball turns by more than a right angle within the hole and is no height field.
TEST(Continuation, FollowsStronglyCurvedSurfaces) {
    for (const double ball_radius : {6.0, 3.2})
        for (const double noise : {0.0, 0.02}) {
            CutOptions options;
            options.edge = 0.5;
            options.noise = noise;
            const Comparison c = compare(on_sphere(ball_radius), options);
            EXPECT_LE(c.fairing.root_mean_square, 0.5 * c.plain.root_mean_square) << ball_radius;
            EXPECT_LE(c.whole.root_mean_square, 0.5 * c.plain.root_mean_square) << ball_radius;
        }
}

// The straight edge that closes the chain leaves the surface, and nothing lies beyond it.
TEST(Continuation, StaysTameAtAnOpenRim) {
    unsigned seed = 1;
    for (const NamedPlace& s : all_places())
        for (const double noise : {0.0, 0.02}) {
            CutOptions options;
            options.rim = true;
            options.noise = noise;
            options.seed = seed++;
            const Comparison c = compare(s, options);
            const double share = noise > 0.0 ? 1.0 : 1.0 / 3.0;
            EXPECT_LE(c.field.root_mean_square, share * c.plain.root_mean_square) << s.name;
            EXPECT_LE(c.field.greatest, share * c.plain.greatest) << s.name;
            const double sagitta = options.edge * options.edge / 50; // and no more beside the chord
            const double most = noise > 0.0 ? c.plain.root_mean_square : sagitta;
            EXPECT_LE(c.fairing.root_mean_square, most) << s.name;
            EXPECT_LE(c.whole.root_mean_square, most) << s.name;
        }
}

// Nothing around tells the surface: a flat loop gets a flat patch.
TEST(Continuation, FillsALoopWithoutSurroundings) {
    std::vector<double> loop;
    for (int i = 0; i < 24; ++i)
        for (const double v : {4.0 * std::cos(i * M_PI / 12), 4.0 * std::sin(i * M_PI / 12), 7.0})
            loop.push_back(v);
    const Result r = fill_whole({}, loop);
    expect_sound(r, loop);
    for (const MyPoint3& p : r.points)
        EXPECT_NEAR(p.p[2], 7.0, 1e-9);
    const std::vector<double> triangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    expect_sound(fill_whole({}, triangle), triangle);
}

TEST(Fairing, KeepsTheTriangulationAndFindsItByPosition) {
    const auto surface = sphere_surface(20);
    const Hole c(*surface, {0, 0, 20});
    const std::vector<double> soup = c.with_patch();
    const Result given = fair(soup, c.face_count(), c.border);
    ASSERT_EQ(given.faces.size(), c.patch.faces.size());
    EXPECT_EQ(given.points.size(), c.patch.points.size());

    // Triangles that were left out on the way here still count.
    const std::vector<double> fewer(soup.begin() + 12 * 7, soup.end());
    for (const int count : {c.face_count(), c.face_count() + 5, 1 << 30}) {
        const Result r = fair(fewer, count, c.border);
        expect_sound(r, c.border);
        EXPECT_EQ(r.faces.size(), c.patch.faces.size()) << count;
        EXPECT_NEAR(facet_deviation(r, *surface).root_mean_square,
                    facet_deviation(given, *surface).root_mean_square, 1e-4)
            << count;
    }
}

// A triangulation with a gap: the outline of the gap stays, the rest is faired.
TEST(Fairing, KeepsOpenOutlinesOfTheHole) {
    Hole c(*saddle_surface(100, 100), {0, 0, 0});
    std::size_t inner = 0; // a face without border points
    const auto k = static_cast<int>(c.border_count());
    while (c.patch.faces[inner].t_idx[0] < k || c.patch.faces[inner].t_idx[1] < k ||
           c.patch.faces[inner].t_idx[2] < k)
        ++inner;
    const MyFace gap = c.patch.faces[inner];
    c.patch.faces.erase(c.patch.faces.begin() + static_cast<std::ptrdiff_t>(inner));
    const Result r = fair(c.with_patch(), c.face_count(), c.border);
    expect_sound(r, c.border);
    EXPECT_EQ(r.faces.size(), c.patch.faces.size());
    for (const int v : gap.t_idx) {
        const double* wanted = c.patch.points[static_cast<std::size_t>(v)].p;
        EXPECT_TRUE(std::any_of(r.points.begin(), r.points.end(), [&](const MyPoint3& p) {
            return std::equal(p.p, p.p + 3, wanted);
        }));
    }
}

TEST(Continuation, RefusesUnusableInputAndLeavesTheListsAlone) {
    const Hole c(*sphere_surface(20), {0, 0, 20});
    const double infinity = std::numeric_limits<double>::infinity();
    std::vector<double> bad_border = c.border;
    bad_border[4] = std::nan("");
    std::vector<double> bad_corner = c.surroundings;
    bad_corner[12 * 3 + 5] = infinity;
    std::vector<double> bad_normal = c.surroundings;
    bad_normal[12] = std::nan("");
    std::vector<double> repeated_border = c.border;
    std::copy_n(c.border.begin(), 3, repeated_border.begin() + 18);
    const std::vector<double> short_soup(c.surroundings.begin(), c.surroundings.begin() + 13);
    const std::vector<double> short_border(c.border.begin(), c.border.begin() + 6);
    const std::vector<std::pair<std::vector<double>, std::vector<double>>> inputs = {
        {c.surroundings, bad_border},
        {bad_corner, c.border},
        {bad_normal, c.border},
        {short_soup, c.border},
        {c.surroundings, repeated_border},
        {c.surroundings, short_border},
        {c.surroundings, {}}};
    const auto expect_untouched = [](const std::function<int(Result&)>& call) {
        Result r;
        r.points.resize(2);
        r.faces.resize(3);
        r.normals.resize(4);
        r.border_indices.resize(5);
        EXPECT_LT(call(r), 0);
        EXPECT_EQ(r.points.size(), 2u);
        EXPECT_EQ(r.faces.size(), 3u);
        EXPECT_EQ(r.normals.size(), 4u);
        EXPECT_EQ(r.border_indices.size(), 5u);
    };
    for (const auto& [soup, border] : inputs) {
        expect_untouched([&, s = soup, b = border](Result& r) {
            return Orbrel().fillHole2(s, b, r.points, r.faces, r.normals, r.border_indices);
        });
        expect_untouched([&, s = soup, b = border](Result& r) {
            return Orbrel().fairing(s, 0, b, r.points, r.faces, r.normals, r.border_indices);
        });
    }
    // Nothing to fair: the surroundings alone.
    expect_untouched([&](Result& r) {
        return Orbrel().fairing(c.surroundings, c.face_count(), c.border, r.points, r.faces,
                                r.normals, r.border_indices);
    });
}

// Edges, needles, doubled points and surroundings that contradict the loop: any sound patch or a
// refusal will do, but nothing that is not finite and no crash.
TEST(Continuation, SurvivesUglySurroundings) {
    const std::vector<std::pair<std::string, Shape::Map>> shapes = {
        {"roof", [](const Point& p) { return Point(p.x(), p.y(), -2.0 * std::abs(p.x())); }},
        {"step", [](const Point& p) { return Point(p.x(), p.y(), p.x() > 4.3 ? 30.0 : 0.0); }},
        {"line", [](const Point& p) { return Point(p.x(), 0.0, 0.0); }},
        {"spot", [](const Point&) { return Point(1.0, 2.0, 3.0); }}};
    for (const auto& [name, onto] : shapes) {
        const Hole c(Shape(onto), {0, 0, 0});
        std::vector<double> backwards;
        for (std::size_t i = c.border.size(); i > 0; i -= 3) {
            const auto end = c.border.begin() + static_cast<std::ptrdiff_t>(i);
            backwards.insert(backwards.end(), end - 3, end);
        }
        for (const std::vector<double>& border : {c.border, backwards}) {
            for (const Result& r :
                 {fill_whole(c.surroundings, border), fair(c.surroundings, 40, border)}) {
                for (const MyPoint3& p : r.points) {
                    EXPECT_TRUE(Point(p.p).allFinite()) << name;
                }
            }
        }
    }
}

} // namespace
