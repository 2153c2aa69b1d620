#include "kelvane/fill/patch_builder.hpp"

#include "kelvane/fill/patch_refinement.hpp"
#include "kelvane/fill/patch_relaxation.hpp"
#include "kelvane/fill/size_field.hpp"
#include "kelvane/fill/surface_guess.hpp"

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {
namespace {

/// Rounds of remeshing and of mere evening out behind it; more of either gains next to nothing.
constexpr int remeshRounds = 2;
constexpr int eveningRounds = 2;
constexpr int mendingRounds = 8;

void refine(DiscMesh& mesh, const std::vector<double>& sizes, bool keepShape) {
    SizeField field(mesh, sizes);
    PatchRefiner refiner(mesh, field);
    refiner.bisectLongEdges();
    refiner.cutChords();
    refiner.flipEdges();
    for (int round = 0; round < remeshRounds; ++round) {
        relaxPoints(mesh, keepShape);
        field.update();
        refiner.splitLongEdges();
        refiner.collapseShortEdges();
        refiner.flipEdges();
    }
    for (int round = 0; round < eveningRounds; ++round) {
        relaxPoints(mesh, keepShape);
        refiner.flipEdges();
    }
    for (int round = 0; round < mendingRounds && mendFlatTriangles(mesh); ++round) {
        refiner.flipEdges();
    }
}

/// The similarity between the caller's coordinates and those that stages work in: the centre of the
/// border in the origin and an extent between 1/2 and 1, so that neither a far origin nor a strange
/// unit costs digits. A power of two scales without rounding.
class UnitFrame {
  public:
    explicit UnitFrame(const std::vector<Point>& border) {
        Point low = border[0], high = border[0];
        for (const Point& point : border) {
            low = low.cwiseMin(point);
            high = high.cwiseMax(point);
        }
        centre = 0.5 * low + 0.5 * high;
        extent = (high - low).maxCoeff();
        std::frexp(extent, &exponent);
    }

    bool isUsable() const { return std::isfinite(extent) && extent > 0.0; }
    Point toUnit(const Point& point) const { return scaled(point - centre, -exponent); }
    Point fromUnit(const Point& point) const { return scaled(point, exponent) + centre; }

  private:
    static Point scaled(const Point& point, int power) {
        return point.unaryExpr([&](double x) { return std::ldexp(x, power); });
    }

    Point centre;
    double extent = 0.0;
    int exponent = 0;
};

} // namespace

bool readBorder(const std::vector<double>& flat, std::vector<Point>& border) {
    if (flat.size() < 9 || flat.size() % 3 != 0 ||
        !std::all_of(flat.begin(), flat.end(), [](double x) { return std::isfinite(x); })) {
        return false;
    }
    border.resize(flat.size() / 3);
    for (std::size_t i = 0; i < border.size(); ++i) {
        border[i] = Point(flat[3 * i], flat[3 * i + 1], flat[3 * i + 2]);
    }
    return true;
}

bool refinePatch(Patch& patch, const std::vector<double>& sizes, bool keepShape) {
    DiscMesh mesh;
    if (static_cast<int>(sizes.size()) != patch.borderCount || !mesh.assign(patch)) {
        return false;
    }
    refine(mesh, sizes, keepShape);
    Patch refined = mesh.extract();
    if (!isSoundPatch(refined)) {
        return false;
    }
    patch = std::move(refined);
    return true;
}

bool buildPatch(const std::vector<Point>& border, Patch& patch) {
    const UnitFrame frame(border);
    if (!frame.isUsable()) {
        return false;
    }
    Patch unit;
    unit.borderCount = static_cast<int>(border.size());
    for (const Point& point : border) {
        unit.points.push_back(frame.toUnit(point));
    }
    unit.triangles = triangulateBorder(unit.points);
    DiscMesh mesh;
    if (!mesh.assign(unit)) {
        return false;
    }
    refine(mesh, borderSizes(unit.points), false);
    unit = mesh.extract();
    guessSurface(unit);

    // What is checked are the coordinates that the caller gets, after their rounding.
    Patch result = unit;
    for (std::size_t i = 0; i < unit.points.size(); ++i) {
        result.points[i] = i < border.size() ? border[i] : frame.fromUnit(unit.points[i]);
        unit.points[i] = frame.toUnit(result.points[i]);
    }
    if (!isSoundPatch(unit)) {
        return false;
    }
    patch = std::move(result);
    return true;
}

} // namespace Mesh_M::fill
