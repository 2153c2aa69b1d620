// One scan repaired by every method and by the peer, each result measured.
#pragma once

#include "marked_scan.hpp"
#include "patch_metrics.hpp"
#include "peer_fill.hpp"

#include "kelvane/toolkit/job/marker_repair.hpp"

#include <string>
#include <vector>

namespace KVN::bench {

/// How a marker is accounted for: on a closed hole, on the scan's rim, or not closed at all.
enum class Place { interior, rim, open };

struct MethodRun {
    std::string name;
    bool present = true;       ///< false: the peer, where it is not installed
    std::vector<Place> places; ///< one per marker
    std::vector<bool> shared;  ///< its hole ran together with that of another marker
    RepairMetrics metrics;
    double fill_seconds = 0; ///< from the search of the holes to the last fairing
    double run_seconds = 0;  ///< from arrays to arrays; 0 for the peer
    std::vector<std::string> notes;
};

/// What all runs on one scan have in common.
struct ScanRuns {
    std::string name;
    int faces = 0;
    double edge = 0;                ///< mean edge length of the scan
    double margin = 0;              ///< as used
    std::vector<MethodRun> methods; ///< the library's, in the order of toolkit::methods()
    MethodRun peer;

    const MethodRun& of(toolkit::Method method) const {
        return methods.at(static_cast<std::size_t>(method));
    }
    /// The library's and the peer, in the order in which they are shown.
    std::vector<const MethodRun*> all() const;
};

/// The scan without the regions of its markers, cut by the library itself.
RepairedMesh cut_scan(const TriangleMesh& scan, const std::vector<Marker>& markers, double margin);

/// What the cut has opened, in pieces that hang together, each as its edges by their lower and
/// higher vertex in `cut`: loops around holes inside the scan, and chains where it took some of the
/// scan's rim away.
struct CutBorders {
    std::vector<HoleBorder> loops;
    std::vector<HoleBorder> chains;
};
CutBorders cut_borders(const TriangleMesh& scan, const RepairedMesh& cut);

ScanRuns run_methods(const MarkedScan& scan, int threads);

} // namespace KVN::bench
