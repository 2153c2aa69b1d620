// One repair of a mesh in memory, step by step: what all roads of a job have in common.
#pragma once

#include "kelvane/toolkit/bodies/body_removal.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"

#include <functional>
#include <vector>

namespace KVN::toolkit {

/// The marker size that a run uses: `margin` after `options.resolution`.
double effective_marker_size(double margin, const RepairOptions& options);

class MeshRun {
  public:
    /// Over `mesh`, whose vertex normals must be up to date; it must outlive the object.
    /// `marker_size` is used as it is, without `options.marker_size`.
    MeshRun(Mesh_M::Mesh& mesh, const std::vector<Marker>& markers, double marker_size,
            const RepairOptions& options);

    /// Added to every marker's radius, after `options.resolution`.
    double marker_size() const;

    /// Keeps the vertices of every walk of the search in its trace.
    void keep_walks();

    /// Cuts the surface out under every marker.
    void cut() { run_.DeleteMarkRegion(); }

    /// Has functions called in close(): before the bodies are taken off, and before the search.
    void look_first(std::function<void(const CutPlace&)> before_bodies,
                    std::function<void(const CutPlace&)> before_search);

    /// Takes off the bodies on the markers' places, unless the options say that there are none.
    /// Finds, closes and joins all holes and computes all normals, with so many threads. Tells the
    /// stages as they begin. A patch that does not fit its hole is not taken, nor is a fairing that
    /// leaves the PatchBound.
    void close(int threads, const std::function<void(RunStage)>& stage_begins);

    const RunNotes& notes() const;
    /// What became of the markers' bodies, one per marker; none if they were not looked for.
    const std::vector<BodyRemoval>& removals() const { return removals_; }
    /// Per hole, its border in walking order, new vertices on the rim last.
    const std::vector<std::vector<_vert*>>& borders() const;
    /// One report per marker.
    std::vector<MarkerReport> reports() const;

  private:
    VerticesNear near() const;
    bool is_near_border(int hole) const;
    std::string placement_of(const RegionNote& region) const;
    std::vector<PlaceFault> look() const;

    Mesh_M::Mesh& mesh_;
    RepairMarkers run_;
    const RepairOptions& options_;
    std::vector<std::optional<RimClosing>> rims_; ///< one per hole
    std::vector<BodyRemoval> removals_;           ///< one per marker, unless flat only
    std::function<void(const CutPlace&)> before_bodies_;
    std::function<void(const CutPlace&)> before_search_;
    std::vector<PlaceFault> faults_; ///< one per marker, after close()
};

} // namespace KVN::toolkit
