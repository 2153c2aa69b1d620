// What accuracy_benchmark prints: a table per scan, and the methods against each other.
#pragma once

#include "method_runs.hpp"

#include <iosfwd>
#include <string>
#include <vector>

namespace KVN::bench {

/// One table with a column per method; interior and rim markers apart, notes below.
void print_scan(std::ostream& out, const ScanRuns& runs, bool per_marker);

/// A geometric mean of per-marker ratios and the most that it may be.
struct PeerRatio {
    std::string measure;
    double required;
    double mean = 0; ///< 0 when there was nothing to compare
    int markers = 0;

    bool met() const { return markers == 0 || mean <= required; }
};

/// A method's rms, seam angle (rms) and aspect against the peer's, over the markers of all scans at
/// such a place, interior or rim, that both have closed alone. On the rim the peer has the straight
/// edge between the ends of the cut.
std::vector<PeerRatio> peer_ratios(const std::vector<ScanRuns>& scans, toolkit::Method method,
                                   Place place);

/// Per scan and over all: peer ratios of each method, interior and rim markers apart; medians of
/// the others against fast.
void print_comparisons(std::ostream& out, const std::vector<ScanRuns>& scans);

/// The faults of the library's methods that no repair should have: a marker not closed, a new
/// non-manifold edge, a degenerate or flipped face, an intersection, an edge left open, an
/// untouched vertex changed. One line each.
std::vector<std::string> faults(const std::vector<ScanRuns>& scans);

/// Everything as one JSON object.
std::string accuracy_json(const std::vector<ScanRuns>& scans);

} // namespace KVN::bench
