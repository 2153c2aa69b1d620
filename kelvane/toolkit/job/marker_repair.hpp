// Removal of markers from a scan, with a report of what happened to each of them.
//
//     Scan scan = read_scan("part.ply");
//     RepairReport report = repair_scan(scan, read_markers("markers.csv"), {});
//     write_scan("clean.ply", scan);
//
// A run diverts std::cout while the library works, since the library may write diagnostic lines to
// it; they come back in the report. Runs in several threads at once are safe as far as the scans
// are different, but then their lines may get into each other's reports.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/toolkit/bodies/body_report.hpp"
#include "kelvane/toolkit/job/methods.hpp"
#include "kelvane/toolkit/job/progress.hpp"
#include "kelvane/toolkit/rims/rim_report.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace KVN::toolkit {

struct RepairPage;

/// How a repair is to be done. The defaults suit a scan whose markers stand a few edges apart.
struct RepairOptions {
    /// Added to every marker's radius to give the radius of the cut; in the mesh's unit, 0 or more.
    /// None: twice the mean length of the sides of all faces, inner edges counting twice.
    std::optional<double> marker_size;
    /// Lets a cut take in vertices close to the marker's plane that face away by up to 135 degrees,
    /// and lets `resolution` enlarge `marker_size` to the 4 to 7 that suits sparse scans in
    /// millimetres.
    bool size_adjustable = false;
    /// The scan's mean point distance, in the mesh's unit. None: not told to the library.
    std::optional<float> resolution;
    Method method = Method::fast; ///< how holes are closed
    /// Threads of the parallel stages. 0: as many as the OpenMP runtime gives. The result is the
    /// same.
    int threads = 0;
    /// Takes all markers for flat: bodies that stand on the surface are left alone.
    bool flat_only = false;
    /// How far above and below its plane a marker's body is looked for; in the mesh's unit, above
    /// 0. None: eight times its radius.
    std::optional<double> body_height;
    /// Closes markers on the scan's rim by one straight edge instead of along the rim's curve.
    bool straight_rims = false;
    /// Leaves the cut of a marker that could not be repaired open. Otherwise its place stays as it
    /// was.
    bool leave_open = false;
    /// Makes a mesh of the whole scan instead of the markers' neighbourhoods. The result is the
    /// same; time and memory grow with the scan.
    bool whole_mesh = false;
    /// Filled with what a page shows of the repair (page/repair_page.hpp), which takes no second
    /// look at the scan. Null: nothing is gathered, at no cost.
    RepairPage* page = nullptr;
};

/// What became of a marker.
enum class Outcome {
    repaired_loop,           ///< cut out, its hole filled
    repaired_chain,          ///< on the rim: its open border was closed along a chain and filled
    repaired_with_neighbour, ///< its cut ran together with that of another marker and was filled so
    no_vertex_within_reach,  ///< no vertex within radius and margin: nothing was cut
    all_facing_away,     ///< vertices, but too far from its plane or facing away: nothing was cut
    no_border_found,     ///< the cut left no border of a hole that could be found
    not_filled,          ///< border found, but it could not be filled
    body_not_bounded,    ///< something stands there, but its foot was not found
    edges_left_open,     ///< filled, but edges that were opened are still open
    part_left,           ///< filled, but a loose piece of surface is left over the place
    body_left,           ///< filled, but a body, or its foot, still stands on the place
    wild_patch,          ///< filled, but with vertices far away or nowhere
    left_with_neighbour, ///< repaired, but a neighbour that it cannot be without was not
};

/// The name as it stands above, e.g. "repaired_loop", for reports that programs read.
KELVANE_EXPORT const char* to_string(Outcome outcome);
/// The same in words, e.g. "repaired as a loop".
KELVANE_EXPORT const char* describe(Outcome outcome);

/// True for the three outcomes after which the place is closed.
KELVANE_EXPORT bool is_repaired(Outcome outcome);

/// One marker's result. The counts are 0 where there is no hole of the marker's own.
struct MarkerReport {
    Outcome outcome = Outcome::no_vertex_within_reach; ///< what became of it
    int border_vertices = 0;                           ///< of its hole
    int new_vertices = 0;                              ///< of its patch
    int new_faces = 0;                                 ///< of its patch
    /// Where its patch begins among all new vertices and faces, which come last in the repaired
    /// scan; -1 where the scan has no patch of the marker's own, and after repair_mesh(). New
    /// vertices along the scan's rim come before those of all patches.
    std::int64_t first_new_vertex = -1;
    std::int64_t first_new_face = -1; ///< as `first_new_vertex`
    /// How the patch came to its place, for methods that can do it in several ways, in words.
    std::string placement;
    /// Where no border was found, what stood against the boundary that came nearest, in words.
    std::string search;
    TakenBody body; ///< what was taken beyond the cut
    /// The patch is in the scan as it was filled: the fairing found no solution, or one that is
    /// wild, with a vertex farther from the box around the border than the box's diagonal.
    bool unfaired = false;
    /// How a closed place on the scan's rim was closed there; none inside the scan.
    std::optional<RimClosing> rim = std::nullopt;
};

/// The time that a stage took.
struct StageTime {
    Stage stage;    ///< which
    double seconds; ///< of wall time
};

/// Everything that a run tells.
struct KELVANE_EXPORT RepairReport {
    std::vector<MarkerReport> markers; ///< one per marker, in their order
    double marker_size = 0.0;          ///< as it was used, in the mesh's unit
    int threads = 0;                   ///< as they were used
    /// Also those without faces; of a binary STL file, whose facets are welded around the markers
    /// alone, the corners of all triangles.
    std::int64_t vertices_before = 0;
    std::int64_t faces_before = 0;   ///< face records
    std::int64_t vertices_after = 0; ///< as written; likewise
    std::int64_t faces_after = 0;    ///< as written
    std::int64_t short_faces = 0;    ///< faces of the file with too few corners, left out
    /// Faces around the markers that the mesh took and refused, by reason; of all the scan's faces
    /// with `whole_mesh`. Refused ones stay in the scan unless a corner of
    /// theirs goes or a patch takes their place.
    Mesh_M::BuildReport loaded;
    std::vector<StageTime> times;         ///< stage by stage
    std::vector<std::string> diagnostics; ///< lines that the library wrote
    std::vector<std::string> warnings; ///< what of the scan makes the result doubtful, a line each
    std::vector<std::string> not_kept; ///< what the output's format could not hold, a line each

    int repaired() const;   ///< markers whose place is closed
    double seconds() const; ///< sum of all stages
};

/// Throws InputError for options or markers that make no sense: a negative or not finite size.
KELVANE_EXPORT void check_repair_arguments(const std::vector<Marker>& markers,
                                           const RepairOptions& options);

/// Lengths are in the scan's own unit, whatever it is. Scans whose markers have radii of less than
/// 1/8 or more than 65536 (those in metres) are repaired in another unit, a power of two away,
/// since the library's fixed tolerances suit millimetres; there count `size_adjustable`'s lengths
/// as well.
///
/// Repairs `mesh` in place; its vertex normals must be up to date. Nothing but the surroundings of
/// the markers is touched, except that all normals are computed anew. Records that are deleted
/// cannot come back, so a place that could not be repaired is left open here. `loaded`,
/// `short_faces` and the stages build and output of the report stay empty.
///
/// `progress` may be null. It is asked to stop only until the first face is deleted: Cancelled
/// means that the mesh is as it was. Throws InputError for options or markers that make no sense (a
/// negative or not finite size), std::bad_alloc and std::length_error; after these two the mesh is
/// sound for its destructor only.
KELVANE_EXPORT RepairReport repair_mesh(Mesh_M::Mesh& mesh, const std::vector<Marker>& markers,
                                        const RepairOptions& options, Progress* progress = nullptr);

/// Repairs `scan`. Only the markers' neighbourhoods become a mesh. Vertices and faces that the
/// repair leaves alone keep their bits, their properties and their order and come first; those
/// under the markers are gone; new ones follow, with properties that grow from the border of their
/// place. A place that could not be repaired stays as it was, unless `options.leave_open`.
///
/// Stops at the next stage when `progress` is cancelled. After any exception `scan` is as it was.
/// Throws InputError for arrays, options or markers that make no sense.
KELVANE_EXPORT RepairReport repair_scan(Scan& scan, const std::vector<Marker>& markers,
                                        const RepairOptions& options, Progress* progress = nullptr);

/// The same from file to file: `scan` is read in pieces and written to `output` with what the
/// repair changes, see write_spliced(). `output` may be the file that `scan` is of. After any
/// exception it is as it was.
KELVANE_EXPORT RepairReport repair_file(const OpenScan& scan, const std::vector<Marker>& markers,
                                        const RepairOptions& options,
                                        const std::filesystem::path& output,
                                        Progress* progress = nullptr);

} // namespace KVN::toolkit
