// Marked scans of surfaces with detail that nothing around a hole foretells: what machines make and
// what skin and carvings look like.
#pragma once

#include "analytic_scans.hpp"

#include <cstdint>
#include <vector>

namespace KVN::bench {

/// One gently curved panel of 66 mm per kind of detail, with 16 markers: folds and fillets (creases
/// of radius 0.2 to 3 mm), steps, ribs, embossed plateaus, bumps as of skin, and rough ground whose
/// height falls off as a power of the wavelength. The seed decides where and how large all of it
/// is; the same panels on every run. Seeds 1 to 3 served to tune the library, 201 to 203 to judge
/// it and nothing else.
std::vector<MarkedScan> relief_scans(const AnalyticOptions& options, std::uint64_t seed);

} // namespace KVN::bench
