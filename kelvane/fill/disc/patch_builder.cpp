#include "kelvane/fill/disc/patch_builder.hpp"

#include "kelvane/fill/disc/disc_refinement.hpp"
#include "kelvane/fill/disc/disc_relaxation.hpp"
#include "kelvane/fill/disc/ring_layout.hpp"
#include "kelvane/fill/disc/size_field.hpp"
#include "kelvane/fill/disc/surface_guess.hpp"
#include "kelvane/fill/disc/unit_frame.hpp"

#include <algorithm>
#include <cmath>

namespace Mesh_M::fill {
namespace {

/// Rounds of remeshing and of mere evening out behind it; more of either gains next to nothing.
constexpr int remesh_rounds = 2;
constexpr int evening_rounds = 2;
constexpr int mending_rounds = 8;

/// Cosine of the steepest triangle over the plane of a loop that rings were laid over. A steeper
/// one stands for a fold that the flips could not undo.
constexpr double least_upright = 0.2;

void mend(DiscMesh& mesh, PatchRefiner& refiner) {
    for (int round = 0; round < mending_rounds && mend_flat_triangles(mesh); ++round) {
        refiner.flip_edges();
    }
}

/// Refines a triangulation that has few inner points or none.
void refine(DiscMesh& mesh, const std::vector<double>& sizes, bool keep_shape) {
    SizeField field(mesh, sizes);
    PatchRefiner refiner(mesh);
    refiner.bisect_long_edges(field);
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
    mend(mesh, refiner);
}

/// Makes a mesh of rings even, whose points have their sizes and lie about where they should.
void settle_rings(DiscMesh& mesh) {
    PatchRefiner refiner(mesh);
    refiner.cut_chords();
    refiner.flip_edges();
    relax_points(mesh, false);
    refiner.split_long_edges();
    refiner.collapse_short_edges();
    refiner.flip_edges();
    relax_points(mesh, false);
    refiner.flip_edges();
    mend(mesh, refiner);
}

/// Whether all triangles lie the same way up over the plane.
bool is_upright(const DiscMesh& mesh, const BorderPlane& plane) {
    for (int h = 0; h < mesh.half_edge_count(); h += 3) {
        if (!mesh.is_used(h)) {
            continue;
        }
        const Point& corner = mesh.points[mesh.origin(h)];
        const Point normal =
            (mesh.points[mesh.target(h)] - corner).cross(mesh.points[mesh.apex(h)] - corner);
        if (!(normal.dot(plane.normal) > least_upright * normal.norm())) {
            return false;
        }
    }
    return true;
}

/// The fast road, for most loops that a cut leaves.
bool fill_with_rings(const SizedPatch& border, const BorderPlane& plane, DiscMesh& mesh) {
    SizedPatch layout = border;
    if (!lay_rings(plane, layout) || !mesh.assign(layout.patch)) {
        return false;
    }
    mesh.sizes = layout.sizes;
    settle_rings(mesh);
    return is_upright(mesh, plane);
}

/// The road for every loop.
bool fill_by_refinement(const SizedPatch& border, DiscMesh& mesh) {
    Patch coarse = border.patch;
    coarse.triangles = triangulate_border(coarse.points);
    if (!mesh.assign(coarse)) {
        return false;
    }
    refine(mesh, border.sizes, false);
    return true;
}

/// The patch in the caller's coordinates. What is checked are these, after their rounding.
bool hand_out(const DiscMesh& mesh, const UnitFrame& frame, const std::vector<Point>& border,
              Patch& patch) {
    Patch unit = mesh.extract();
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
    if (static_cast<int>(sizes.size()) != patch.borderCount || sizes.empty()) {
        return false;
    }
    const std::vector<Point> border(patch.points.begin(), patch.points.begin() + patch.borderCount);
    const UnitFrame frame(border);
    Patch unit = patch;
    for (Point& point : unit.points) {
        point = frame.to_unit(point);
    }
    std::vector<double> unit_sizes;
    for (const double size : sizes) {
        unit_sizes.push_back(frame.to_unit(size));
    }
    DiscMesh mesh;
    if (!frame.is_usable() || !mesh.assign(unit)) {
        return false;
    }
    refine(mesh, unit_sizes, keep_shape);
    return hand_out(mesh, frame, border, patch);
}

bool build_patch(const std::vector<Point>& border, Patch& patch) {
    const UnitFrame frame(border);
    if (!frame.is_usable()) {
        return false;
    }
    SizedPatch layout;
    layout.patch.borderCount = static_cast<int>(border.size());
    for (const Point& point : border) {
        layout.patch.points.push_back(frame.to_unit(point));
    }
    layout.sizes = border_sizes(layout.patch.points);
    const BorderPlane plane = border_plane(layout.patch.points);
    DiscMesh mesh;
    if (!fill_with_rings(layout, plane, mesh) && !fill_by_refinement(layout, mesh)) {
        return false;
    }
    guess_surface(mesh, plane);
    return hand_out(mesh, frame, border, patch);
}

} // namespace Mesh_M::fill
