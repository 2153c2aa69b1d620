// Scans with raised markers of known shape, and what a repair must have made of them.
#pragma once

#include "marked_scan.hpp"

#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/synthesis/raised_bodies.hpp"

#include <cstdint>
#include <vector>

namespace KVN::bench {

/// A scan with raised markers.
struct BodyTrial {
    MarkedScan scan;          ///< its markers as a careful user lists them
    std::vector<Marker> feet; ///< the same on the undisturbed surface
};

/// What is wrong with a list of markers.
enum class ListFault {
    none,
    tilted,  ///< normals off by 20 degrees
    shifted, ///< centres off by 0.6 mm along the surface
    at_foot, ///< centres where the bodies stand on the surface
    wide,    ///< radii 20 % too large
    narrow,  ///< radii 15 % too small
};
constexpr ListFault list_faults[] = {ListFault::none,    ListFault::tilted, ListFault::shifted,
                                     ListFault::at_foot, ListFault::wide,   ListFault::narrow};
const char* to_string(ListFault fault);

/// `bare` with bodies of one kind at random places that stand clear of its rim and of each other.
BodyTrial body_trial(const MarkedScan& bare, toolkit::BodyKind kind, double edge,
                     std::uint64_t seed);

/// A scan with stickers as a trial: those that stand clear of its rim.
BodyTrial sticker_trial(const MarkedScan& scan);

/// The trial's markers, listed wrongly.
std::vector<Marker> listed(const BodyTrial& trial, ListFault fault, std::uint64_t seed);

/// What became of the markers of one trial.
struct BodyScore {
    int markers = 0;
    int repaired = 0;        ///< reported so
    int good = 0;            ///< reported and found so
    int wrong = 0;           ///< reported repaired, and not
    int refused = 0;         ///< told that the foot was not found
    std::vector<double> rms; ///< of the good ones, at their new vertices, mm

    void add(const BodyScore& other);
};

/// Judges a repair. A place is good when no edge within R + 2 edges of the foot's axis is open
/// (R: radius and margin) and no vertex there is farther from the truth than 0.6 edges.
BodyScore judge(const BodyTrial& trial, double edge, const toolkit::Scan& repaired,
                const toolkit::RepairReport& report);

} // namespace KVN::bench
