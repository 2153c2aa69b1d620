// The places where bodies on markers are looked for, as shapes to read around.
#pragma once

#include "kelvane/toolkit/bodies/body_removal.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/windows/window_parts.hpp"

#include <vector>

namespace KVN::toolkit {

/// Per marker, its cylinder as far as bodies are looked for: of radius and `margin` around the
/// axis.
std::vector<Capsule> body_capsules(const std::vector<Marker>& markers, double margin,
                                   const RepairOptions& options);

/// The cylinders beyond the listed ones in which a run has looked for bodies, and some edges around
/// them. `markers` are the places of the run's markers in the job's list.
std::vector<MarkerReach> further_capsules(const std::vector<BodyRemoval>& removals,
                                          const std::vector<std::size_t>& markers,
                                          const RepairOptions& options);

} // namespace KVN::toolkit
