// Turns bytes into a band around a hole, fills it as a continuation of the band, lets the filling
// be faired, and looks whether both results are sound.
#include "kelvane/fill/hole_filling.hpp"
#include "tests/fuzz/band.hpp"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

namespace {

using namespace Mesh_M;

struct Result {
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::vector<int> border;

    bool untouched() const {
        return points.empty() && faces.empty() && normals.empty() && border.empty();
    }
};

double length(const MyPoint3& a) {
    return std::hypot(a.p[0], a.p[1], a.p[2]);
}

/// Twelve doubles: a normal, of no length for a triangle without area, and the corners.
void append(const std::array<std::array<double, 3>, 3>& corners, std::vector<double>& soup) {
    const auto& [a, b, c] = corners;
    MyPoint3 normal;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        normal.p[i] = (b[j] - a[j]) * (c[k] - a[k]) - (b[k] - a[k]) * (c[j] - a[j]);
    }
    const double size = length(normal) > 0.0 ? length(normal) : 1.0;
    for (const double coordinate : normal.p) {
        soup.push_back(coordinate / size);
    }
    for (const auto& corner : corners) {
        soup.insert(soup.end(), corner.begin(), corner.end());
    }
}

std::string fault_of(const std::vector<double>& border, const Result& result) {
    for (std::size_t i = 0; i < border.size() / 3; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (result.border[i] != static_cast<int>(i) ||
                result.points[i].p[axis] != border[3 * i + axis]) {
                return "a border point moved";
            }
        }
    }
    for (const MyPoint3& point : result.points) {
        if (!std::isfinite(length(point))) {
            return "a point is nowhere";
        }
    }
    std::set<std::pair<int, int>> sides;
    for (std::size_t f = 0; f < result.faces.size(); ++f) {
        for (int i = 0; i < 3; ++i) {
            const std::pair side(result.faces[f].t_idx[i], result.faces[f].t_idx[(i + 1) % 3]);
            if (side.first < 0 || side.first >= static_cast<int>(result.points.size()) ||
                !sides.insert(side).second) {
                return "a side is wrong or used twice";
            }
        }
        if (!(std::abs(length(result.normals[f]) - 1.0) < 1e-9)) {
            return "a normal is not of unit length";
        }
    }
    return {};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int most_steps = 32; // 8 edges
    fuzz::Bytes bytes(data, size);
    const double unit = bytes.coin() ? 1.0 : 1e-3;
    const fuzz::Band band = fuzz::band_of(bytes, most_steps);
    const auto place = [&](int i) {
        const std::array<float, 3>& p = band.points[static_cast<std::size_t>(i)];
        return std::array<double, 3>{unit * double{p[0]}, unit * double{p[1]}, unit * double{p[2]}};
    };
    std::vector<double> border;
    for (int i = 0; i < band.loop; ++i) {
        const std::array<double, 3> p = place(i);
        border.insert(border.end(), p.begin(), p.end());
    }
    std::vector<double> soup;
    for (const std::array<int, 3>& t : band.triangles) {
        append({place(t[0]), place(t[1]), place(t[2])}, soup);
    }
    Result whole;
    if (Orbrel().fillHole2(soup, border, whole.points, whole.faces, whole.normals, whole.border) <
        0) {
        fuzz::expect_none(whole.untouched() ? "" : "a refusal left something");
        return 0;
    }
    fuzz::expect_none(fault_of(border, whole));

    for (const MyFace& face : whole.faces) {
        std::array<std::array<double, 3>, 3> corners;
        for (std::size_t i = 0; i < 3; ++i) {
            std::copy_n(whole.points[static_cast<std::size_t>(face.t_idx[i])].p, 3,
                        corners[i].begin());
        }
        append(corners, soup);
    }
    Result faired;
    if (Orbrel().fairing(soup, static_cast<int>(band.triangles.size()), border, faired.points,
                         faired.faces, faired.normals, faired.border) < 0) {
        fuzz::expect_none(faired.untouched() ? "" : "a refusal left something");
        return 0;
    }
    const std::string fault = fault_of(border, faired);
    fuzz::expect_none(fault.empty() ? "" : "faired: " + fault);
    return 0;
}
