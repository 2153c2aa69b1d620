#include "tests/support/promises.hpp"

#include "kelvane/kernel/mesh_check.hpp"
#include "kelvane/kernel/mesh_kernel.hpp"
#include "kelvane/toolkit/job/repair_plan.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>

namespace test {
namespace {

using namespace KVN::toolkit;
using Corners = std::array<std::uint32_t, 3>;

// Share by which a cut may reach farther than its radius: it is compared in float.
constexpr double rounding = 1e-4;

template <class T>
bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

bool same(const Splice& a, const Splice& b) {
    return a.vertices_gone == b.vertices_gone && a.faces_gone == b.faces_gone &&
           same_bits(a.positions, b.positions) && a.faces == b.faces &&
           a.origin_vertex == b.origin_vertex && same_bits(a.normals, b.normals);
}

Splice plan(const Scan& scan, const std::vector<KVN::Marker>& markers, const RepairOptions& options,
            RepairReport& report) {
    StageClock clock(report, nullptr, false);
    return plan_repair(ScanSurface(scan), markers, options, report, clock);
}

bool degenerate(const Corners& f) {
    return f[0] == f[1] || f[1] == f[2] || f[2] == f[0];
}

/// A scan before and after, all in its own vertex numbers; new vertices follow its own.
class Comparison {
  public:
    Comparison(const Scan& scan, const Splice& splice) : scan_(scan), splice_(splice) {
        std::vector<bool> vertex_gone(scan.vertex_count());
        for (const std::uint32_t v : splice.vertices_gone) {
            vertex_gone[v] = true;
        }
        for (std::size_t f = 0; f < scan.face_count(); ++f) {
            const std::int32_t* t = &scan.triangles[3 * f];
            const Corners corners{std::uint32_t(t[0]), std::uint32_t(t[1]), std::uint32_t(t[2])};
            count(corners, before_);
            const bool gone =
                std::binary_search(splice.faces_gone.begin(), splice.faces_gone.end(), f) ||
                std::any_of(corners.begin(), corners.end(),
                            [&](std::uint32_t v) { return vertex_gone[v]; });
            (gone ? gone_ : kept_).push_back(corners);
        }
        for (const Corners& f : kept_) {
            count(f, after_);
        }
        for (const Corners& f : splice.faces) {
            count(f, after_);
        }
    }

    std::string changed(const Scan& after) const {
        std::vector<float> positions;
        std::vector<std::int32_t> number(scan_.vertex_count() + splice_.new_vertex_count(), -1);
        std::int32_t next = 0;
        for (std::uint32_t v = 0; v < number.size(); ++v) {
            if (!std::binary_search(splice_.vertices_gone.begin(), splice_.vertices_gone.end(),
                                    v)) {
                positions.insert(positions.end(), place(v), place(v) + 3);
                number[v] = next++;
            }
        }
        std::vector<std::int32_t> triangles;
        for (const auto* list : {&kept_, &splice_.faces}) {
            for (const Corners& f : *list) {
                triangles.insert(triangles.end(), {number[f[0]], number[f[1]], number[f[2]]});
            }
        }
        return same_bits(positions, after.positions) && triangles == after.triangles
                   ? ""
                   : "what stays has not kept its bits or its order";
    }

    /// `reaches(v)` tells whether the cut of a repaired marker reaches vertex v.
    template <class Reaches>
    std::string taken_elsewhere(const Reaches& reaches) const {
        const bool near = std::all_of(gone_.begin(), gone_.end(), [&](const Corners& f) {
            return std::any_of(f.begin(), f.end(), reaches) || refusable(f);
        });
        return near ? "" : "a face is gone that no cut reaches";
    }

    std::string crowded_or_turned() const {
        for (const auto& [edge, uses] : after_) {
            const auto old = before_.find(edge);
            if (uses.faces() > 2 && (old == before_.end() || old->second.faces() < uses.faces())) {
                return "an edge has got more than two faces";
            }
        }
        for (const Corners& f : splice_.faces) {
            for (std::size_t i = 0; i < 3; ++i) {
                const std::uint32_t a = f[i], b = f[(i + 1) % 3];
                const Uses& uses = after_.at(std::minmax(a, b));
                if (uses.faces() == 2 && uses.upward != 1) {
                    return "a new face is turned against its neighbour";
                }
            }
        }
        return "";
    }

    std::string opened() const {
        for (const auto& [edge, uses] : before_) {
            const auto now = after_.find(edge);
            if (uses.faces() == 2 && now != after_.end() && now->second.faces() == 1) {
                return "an edge is left open";
            }
        }
        return "";
    }

    std::string wild(const RepairReport& report) const {
        for (const MarkerReport& m : report.markers) {
            if (m.first_new_face < 0 || m.first_new_vertex < 0) {
                continue;
            }
            const std::size_t first = scan_.vertex_count() + std::size_t(m.first_new_vertex);
            const auto own = [&](std::uint32_t v) {
                return v >= first && v < first + std::size_t(m.new_vertices);
            };
            Eigen::AlignedBox3d box;
            Eigen::AlignedBox3d patch;
            for (int i = 0; i < m.new_faces; ++i) {
                for (const std::uint32_t v : splice_.faces[std::size_t(m.first_new_face + i)]) {
                    (own(v) ? patch : box).extend(point(v));
                }
            }
            const Eigen::Vector3d most =
                Eigen::Vector3d::Constant(box.diagonal().norm() * (1.0 + rounding));
            const Eigen::AlignedBox3d bound(box.min() - most, box.max() + most);
            if (!patch.isEmpty() && !bound.contains(patch)) {
                return "a patch is far from its border";
            }
        }
        return std::all_of(splice_.positions.begin(), splice_.positions.end(),
                           [](float x) { return std::isfinite(x); })
                   ? ""
                   : "a new vertex is nowhere";
    }

    Eigen::Vector3d point(std::uint32_t v) const {
        return Eigen::Vector3d(place(v)[0], place(v)[1], place(v)[2]);
    }

  private:
    struct Uses {
        int upward = 0;
        int downward = 0;
        int faces() const { return upward + downward; }
    };
    using EdgeUses = std::map<std::pair<std::uint32_t, std::uint32_t>, Uses>;

    static void count(const Corners& f, EdgeUses& uses) {
        for (std::size_t i = 0; i < 3 && !degenerate(f); ++i) {
            const std::uint32_t a = f[i], b = f[(i + 1) % 3];
            Uses& edge = uses[std::minmax(a, b)];
            ++(a < b ? edge.upward : edge.downward);
        }
    }

    const float* place(std::uint32_t v) const {
        const std::size_t old = scan_.vertex_count();
        return v < old ? &scan_.positions[3 * v] : &splice_.positions[3 * (v - old)];
    }

    /// Whether a mesh may have refused the face, which then gives way to a patch: an edge of it has
    /// more than two faces, or two that run the same way.
    bool refusable(const Corners& f) const {
        for (std::size_t i = 0; i < 3 && !degenerate(f); ++i) {
            const std::uint32_t a = f[i], b = f[(i + 1) % 3];
            const Uses& uses = before_.at(std::minmax(a, b));
            if (uses.upward > 1 || uses.downward > 1) {
                return true;
            }
        }
        return degenerate(f);
    }

    const Scan& scan_;
    const Splice& splice_;
    std::vector<Corners> kept_;
    std::vector<Corners> gone_;
    EdgeUses before_;
    EdgeUses after_;
};

std::string unsound_in_place(const Scan& scan, const std::vector<KVN::Marker>& markers,
                             const RepairOptions& options) {
    Mesh_M::Mesh mesh;
    build_from(scan, mesh);
    repair_mesh(mesh, markers, options);
    return Mesh_M::check_mesh(mesh).fault;
}

} // namespace

CheckedRepair checked_repair(const Scan& scan, const std::vector<KVN::Marker>& markers,
                             RepairOptions options) {
    options.threads = 1;
    CheckedRepair result{scan, {}, ""};
    result.report = repair_scan(result.after, markers, options);
    RepairReport report = result.report;
    const Splice splice = plan(scan, markers, options, report);
    options.whole_mesh = true;
    RepairReport whole_report;
    const Splice whole = plan(scan, markers, options, whole_report);
    const bool outcomes = std::equal(
        report.markers.begin(), report.markers.end(), whole_report.markers.begin(),
        whole_report.markers.end(), [](const MarkerReport& a, const MarkerReport& b) {
            return a.outcome == b.outcome && a.search == b.search && a.new_faces == b.new_faces;
        });
    const Comparison comparison(scan, splice);
    const auto reached = [&](std::uint32_t v) {
        for (std::size_t i = 0; i < markers.size(); ++i) {
            const KVN::Marker& m = markers[i];
            const double reach = (m.radius + result.report.marker_size) * (1.0 + rounding);
            const Eigen::Vector3d centre(m.x, m.y, m.z);
            if (is_repaired(result.report.markers[i].outcome) &&
                (comparison.point(v) - centre).norm() <= reach) {
                return true;
            }
        }
        return false;
    };
    std::vector<std::string> faults{
        same(splice, whole) && outcomes ? "" : "windows differ from the whole mesh",
        comparison.changed(result.after), comparison.crowded_or_turned(),
        comparison.wild(result.report), unsound_in_place(scan, markers, options)};
    if (!options.leave_open) {
        faults.push_back(comparison.opened());
        faults.push_back(options.flat_only ? comparison.taken_elsewhere(reached) : "");
    }
    for (const std::string& fault : faults) {
        result.broken = result.broken.empty() ? fault : result.broken;
    }
    return result;
}

} // namespace test
