// What every repair promises, whatever the scan: for tests and for the fuzz programs.
#pragma once

#include "kelvane/toolkit/job/marker_repair.hpp"

#include <string>
#include <vector>

namespace test {

/// A repair and the first promise that it broke; an empty text if it kept them all.
struct CheckedRepair {
    KVN::toolkit::Scan after;
    KVN::toolkit::RepairReport report;
    std::string broken;
};

/// Repairs `scan` by windows, as a whole mesh and in place, by one thread, and looks whether
///
///   - windows and whole mesh give the same to the bit, and the mesh repaired in place is sound;
///   - vertices and faces that stay keep their bits and their order;
///   - with `flat_only` and without `leave_open`, only faces that the cut of a repaired marker
///     reaches are gone, or such as a mesh refuses, where a patch takes their place: places that
///     were not repaired are as they were;
///   - no edge has more than two faces that had not as many before, and no new face is turned
///     against a neighbour;
///   - without `leave_open`, no edge between old vertices is left open;
///   - new vertices are finite and stay near the border of their patch.
///
/// All indices of `scan` must be in range. InputError passes through.
CheckedRepair checked_repair(const KVN::toolkit::Scan& scan,
                             const std::vector<KVN::Marker>& markers,
                             KVN::toolkit::RepairOptions options);

} // namespace test
