// The unit in which a run works.
//
// The library holds some lengths that suit scans in millimetres: it takes points for the same
// within 0.001 mesh units, and lets cuts take in what faces away from a marker within 0.5 and 1.5
// of its plane. In metres that is an edge and more. Such scans are repaired multiplied by a power
// of two, which is exact, and what comes out is divided by it again. Ordinary ones are left as they
// are.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/page/repair_page.hpp"
#include "kelvane/toolkit/scan/splice.hpp"
#include "kelvane/toolkit/windows/surface.hpp"

#include <vector>

namespace KVN::toolkit {

/// The power of two that takes the median radius of `markers` to between 2 and 4; 1 if that radius
/// lies between 1/8 and 65536, or if there is no marker. It is kept so small that no marker's
/// coordinate leaves the range whose squares a float holds.
KELVANE_EXPORT double working_scale(const std::vector<Marker>& markers);

/// Markers and lengths of `options` times `scale`.
std::vector<Marker> scaled(std::vector<Marker> markers, double scale);
RepairOptions scaled(RepairOptions options, double scale);

/// Lengths of a report and a page and new positions of a splice, from the working unit back to the
/// scan's.
void scale_back(RepairReport& report, double scale);
void scale_back(RepairPage& page, double scale);
void scale_back(Splice& splice, double scale);

/// A surface times `scale`; it must outlive the object.
class ScaledSurface : public Surface {
  public:
    ScaledSurface(const Surface& surface, double scale) : surface_(surface), scale_(scale) {}
    std::uint64_t vertex_count() const override { return surface_.vertex_count(); }
    std::uint64_t face_count() const override { return surface_.face_count(); }
    std::uint64_t short_faces() const override { return surface_.short_faces(); }
    bool loose_corners() const override { return surface_.loose_corners(); }
    bool has_properties() const override { return surface_.has_properties(); }
    void positions_into(std::uint64_t first, std::uint64_t count, float* positions) const override;
    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& corners,
                      std::vector<std::uint64_t>& records) const override {
        surface_.corners_into(first, count, corners, records);
    }

  private:
    const Surface& surface_;
    double scale_;
};

/// Multiplies the positions of `mesh` by `scale` until the end of the scope or restore(). Vertices
/// that were there before get their bits back, new ones are divided.
class ScaledMesh {
  public:
    ScaledMesh(Mesh_M::Mesh& mesh, double scale);
    ScaledMesh(const ScaledMesh&) = delete;
    ScaledMesh& operator=(const ScaledMesh&) = delete;
    ~ScaledMesh() { restore(); }

    void restore();

  private:
    Mesh_M::Mesh& mesh_;
    double scale_;
    std::vector<MemS::Point3v<float>> before_; ///< empty where the scale is 1
};

} // namespace KVN::toolkit
