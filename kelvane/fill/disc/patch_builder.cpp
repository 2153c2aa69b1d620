#include "kelvane/fill/disc/patch_builder.hpp"

#include "kelvane/fill/disc/disc_refinement.hpp"
#include "kelvane/fill/disc/disc_relaxation.hpp"
#include "kelvane/fill/disc/size_field.hpp"
#include "kelvane/fill/disc/surface_guess.hpp"

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {
namespace {

/// Rounds of remeshing and of mere evening out behind it; more of either gains next to nothing.
constexpr int remesh_rounds = 2;
constexpr int evening_rounds = 2;
constexpr int mending_rounds = 8;

void refine(DiscMesh& mesh, const std::vector<double>& sizes, bool keep_shape) {
    SizeField field(mesh, sizes);
    PatchRefiner refiner(mesh, field);
    refiner.bisect_long_edges();
    refiner.cut_chords();
    refiner.flip_edges();
    for (int round = 0; round < remesh_rounds; ++round) {
        relax_points(mesh, keep_shape);
        field.update();
        refiner.split_long_edges();
        refiner.collapse_short_edges();
        refiner.flip_edges();
    }
    for (int round = 0; round < evening_rounds; ++round) {
        relax_points(mesh, keep_shape);
        refiner.flip_edges();
    }
    for (int round = 0; round < mending_rounds && mend_flat_triangles(mesh); ++round) {
        refiner.flip_edges();
    }
}

/// The similarity between the caller's coordinates and those that stages work in: the centre of the
/// border in the origin and an extent between 1/2 and 1, so that neither a far origin nor a strange
/// unit costs digits. A power of two scales without rounding.
class UnitFrame {
  public:
    explicit UnitFrame(const std::vector<Point>& border) {
        const Box box = bounding_box(border);
        centre = box.centre();
        extent = box.extent();
        std::frexp(extent, &exponent);
    }

    bool is_usable() const { return std::isfinite(extent) && extent > 0.0; }
    Point to_unit(const Point& point) const { return scaled(point - centre, -exponent); }
    Point from_unit(const Point& point) const { return scaled(point, exponent) + centre; }

  private:
    static Point scaled(const Point& point, int power) {
        return point.unaryExpr([&](double x) { return std::ldexp(x, power); });
    }

    Point centre;
    double extent = 0.0;
    int exponent = 0;
};

} // namespace

bool read_border(const std::vector<double>& flat, std::vector<Point>& border) {
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

bool refine_patch(Patch& patch, const std::vector<double>& sizes, bool keep_shape) {
    DiscMesh mesh;
    if (static_cast<int>(sizes.size()) != patch.borderCount || !mesh.assign(patch)) {
        return false;
    }
    refine(mesh, sizes, keep_shape);
    Patch refined = mesh.extract();
    if (!is_sound_patch(refined)) {
        return false;
    }
    patch = std::move(refined);
    return true;
}

bool build_patch(const std::vector<Point>& border, Patch& patch) {
    const UnitFrame frame(border);
    if (!frame.is_usable()) {
        return false;
    }
    Patch unit;
    unit.borderCount = static_cast<int>(border.size());
    for (const Point& point : border) {
        unit.points.push_back(frame.to_unit(point));
    }
    unit.triangles = triangulate_border(unit.points);
    DiscMesh mesh;
    if (!mesh.assign(unit)) {
        return false;
    }
    refine(mesh, border_sizes(unit.points), false);
    unit = mesh.extract();
    guess_surface(unit);

    // What is checked are the coordinates that the caller gets, after their rounding.
    Patch result = unit;
    for (std::size_t i = 0; i < unit.points.size(); ++i) {
        result.points[i] = i < border.size() ? border[i] : frame.from_unit(unit.points[i]);
        unit.points[i] = frame.to_unit(result.points[i]);
    }
    if (!is_sound_patch(unit)) {
        return false;
    }
    patch = std::move(result);
    return true;
}

} // namespace Mesh_M::fill
