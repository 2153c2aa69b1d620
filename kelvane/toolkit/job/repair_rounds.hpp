// One job in rounds over growing windows.
#pragma once

#include "kelvane/toolkit/job/body_capsules.hpp"
#include "kelvane/toolkit/job/coarse_coordinates.hpp"
#include "kelvane/toolkit/job/mesh_run.hpp"
#include "kelvane/toolkit/job/repair_plan.hpp"
#include "kelvane/toolkit/windows/splice_joining.hpp"
#include "kelvane/toolkit/windows/window_guard.hpp"

#include <optional>
#include <vector>

namespace KVN::toolkit {

/// Rounds over growing windows until one of them is finished. Of a round every part is run, also
/// when one of them has lacked surface already: the next round is to have what all of them lack.
class RepairRounds {
  public:
    /// All arguments must outlive the object.
    RepairRounds(const Surface& surface, const std::vector<Marker>& markers,
                 const RepairOptions& options, RepairReport& report, StageClock& clock);

    Splice finish(double margin, const WindowTuning& tuning);
    const WindowNotes& notes() const { return notes_; }

  private:
    std::optional<Splice> once(Window window, double margin, const WindowTuning& tuning);
    void run_part(const WindowPart& part, double margin, bool guarded);
    void take_results(const WindowPart& part, const Mesh_M::Mesh& mesh,
                      const std::vector<std::int32_t>& face_of, const MeshRun& run);
    void take_aims(const std::vector<MarkerReach>& aims);
    void grow(const Window& window, const WindowTooSmall& lack);
    std::vector<MarkerReach> reaches() const;

    const Surface& surface_;
    const std::vector<Marker>& markers_;
    const RepairOptions& options_;
    RepairReport& report_;
    StageClock& clock_;
    std::vector<Capsule> cylinders_; ///< one per marker
    VertexBits complete_;
    std::vector<MarkerReach> aimed_; ///< further cylinders that the window holds
    bool whole_ = false;
    WindowNotes notes_;
    // Of the round under way.
    bool lacking_ = false;
    std::vector<PartSplice> splices_;
    CoordinateSteps steps_;
};

} // namespace KVN::toolkit
