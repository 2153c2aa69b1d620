// What a page tells of a repair against the scans before and after it.
#include "kelvane/toolkit/page/repair_page.hpp"
#include "kelvane/toolkit/scan/scan.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

using namespace KVN::toolkit;

namespace {

struct Case {
    const char* name;
    double unit;   ///< of the scan, in millimetres
    double radius; ///< of the markers, times that of the stickers
    bool leave_open;
    bool coarsened; ///< too many faces for a view
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
    return out << c.name;
}

class Page : public testing::TestWithParam<Case> {};

using Point = std::array<double, 3>;

Point decoded(const MarkerView& view, std::size_t i) {
    Point p;
    for (std::size_t k = 0; k < 3; ++k) {
        p[k] = view.origin[k] + static_cast<double>(view.positions[i][k]) * view.step;
    }
    return p;
}

std::vector<Point> by_x(const Scan& scan) {
    std::vector<Point> points;
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        const float* p = &scan.positions[3 * v];
        points.push_back({p[0], p[1], p[2]});
    }
    std::sort(points.begin(), points.end());
    return points;
}

/// Whether one of the points, which are sorted, lies within `reach` of `p`.
bool is_among(const std::vector<Point>& points, const Point& p, double reach) {
    const auto beyond = [&](const Point& q) { return q[0] > p[0] + reach; };
    auto q = std::lower_bound(points.begin(), points.end(), Point{p[0] - reach, 0.0, 0.0});
    for (; q != points.end() && !beyond(*q); ++q) {
        if (std::hypot((*q)[0] - p[0], (*q)[1] - p[1], (*q)[2] - p[2]) < reach) {
            return true;
        }
    }
    return false;
}

/// Faces whose corners all lie within `radius` of the view's axis; the panels are flat enough for
/// its height not to matter.
std::size_t faces_around(const Scan& scan, const MarkerView& view, double radius) {
    std::size_t count = 0;
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        bool inside = true;
        for (std::size_t k = 0; k < 3; ++k) {
            const float* p =
                &scan.positions[3 * static_cast<std::size_t>(scan.triangles[3 * f + k])];
            double square = 0.0;
            double height = 0.0;
            for (std::size_t a = 0; a < 3; ++a) {
                const double d = static_cast<double>(p[a]) - view.origin[a];
                square += d * d;
                height += d * view.normal[a];
            }
            inside = inside && square - height * height <= radius * radius;
        }
        count += inside ? 1 : 0;
    }
    return count;
}

} // namespace

TEST_P(Page, ShowsBothSurfacesAsTheyAre) {
    DemoOptions demo;
    demo.width = 70.0;
    demo.depth = 60.0;
    demo.inside = 4;
    demo.on_rim = 2;
    SyntheticScan made = make_demo_scan(demo);
    for (float& value : made.marked.positions) {
        value = static_cast<float>(value / GetParam().unit);
    }
    for (KVN::Marker& m : made.markers) {
        for (float* value : {&m.x, &m.y, &m.z}) {
            *value = static_cast<float>(*value / GetParam().unit);
        }
        m.radius = static_cast<float>(m.radius * GetParam().radius / GetParam().unit);
    }
    const Scan before = made.marked;
    Scan after = before;
    RepairPage page;
    page.most_views = 5;
    RepairOptions options;
    options.leave_open = GetParam().leave_open;
    options.page = &page;
    const RepairReport report = repair_scan(after, made.markers, options);

    ASSERT_EQ(page.worst_first.size(), made.markers.size());
    ASSERT_EQ(page.views.size(), 5);
    EXPECT_FALSE(is_repaired(report.markers[page.worst_first.front()].outcome));
    const std::vector<Point> before_by_x = by_x(before);
    const std::vector<Point> after_by_x = by_x(after);
    std::size_t most_faces = 0;
    for (const PlaceView& place : page.views) {
        const MarkerView& view = place.view;
        SCOPED_TRACE("marker " + std::to_string(place.marker + 1));
        const double radius = std::max(3.0 * view.radius, 1.5 * (view.radius + report.marker_size));
        const std::size_t faces = view.shared_faces.size();
        if (GetParam().coarsened) {
            most_faces = std::max(most_faces, faces_around(before, view, radius));
            EXPECT_LE(faces + view.gone_faces.size() + view.new_faces.size(), 2400);
        } else {
            EXPECT_EQ(faces + view.gone_faces.size(), faces_around(before, view, radius));
            EXPECT_EQ(faces + view.new_faces.size(), faces_around(after, view, radius));
        }
        for (std::size_t i = 0; i < view.positions.size(); ++i) {
            const bool added = i >= view.shared_points + view.gone_points;
            EXPECT_TRUE(is_among(added ? after_by_x : before_by_x, decoded(view, i), view.step))
                << "point " << i;
        }
        EXPECT_EQ(view.distances.size(), view.gone_points + view.new_points());
        EXPECT_EQ(view.bends_after.size(), view.shared_points + view.new_points());
        if (report.markers[place.marker].outcome == Outcome::repaired_loop) {
            // Stickers of 0.1 to 0.2 with noise; their edge bends the old surface, the patch's does
            // not bend the new one.
            const double apart = page.figures[place.marker]->distance * GetParam().unit;
            EXPECT_GT(apart, 0.08);
            EXPECT_LT(apart, 0.8);
            EXPECT_LT(page.figures[place.marker]->seam_bend, 25.0);
            EXPECT_FALSE(view.border.empty());
        }
        EXPECT_LT(base64(to_bytes(view)).size(), 36'000);
    }
    EXPECT_EQ(most_faces > 2400, GetParam().coarsened);

    const std::string html = page_html(page, report, made.markers, "a <scan> & {{more}}");
    EXPECT_NE(html.find("<h1>a &lt;scan&gt; &amp; {{more}}</h1>"), std::string::npos);
    EXPECT_LT(html.size(), 5 * 36'000 + 40'000);
}

INSTANTIATE_TEST_SUITE_P(, Page,
                         testing::Values(Case{"millimetres", 1.0, 1.0, false, false},
                                         Case{"metres", 1000.0, 1.0, false, false},
                                         Case{"left_open", 1.0, 1.0, true, false},
                                         Case{"too_many_faces", 1.0, 2.2, false, true}),
                         [](const auto& info) { return info.param.name; });

TEST(Base64, IsThatOfTheStandard) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"\xff\xfe\xfd", "//79"}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(base64(bytes), text);
    }
}
