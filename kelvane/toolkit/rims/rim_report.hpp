// What is told about the side of a marker's place that lies on the scan's rim.
#pragma once

#include "kelvane/export.hpp"

#include <string>

namespace KVN::toolkit {

/// How the rim was closed. All but the first take the straight edge between the ends of the cut.
enum class RimClosing {
    curved,          ///< along the curve on which both sides of the rim lie
    as_asked,        ///< the options want the straight edge
    joined_ends,     ///< the ends are neighbours already: nothing of the rim is missing
    short_gap,       ///< the gap is no longer than the rim's own edges
    few_edges,       ///< too little rim beside the cut to learn from
    no_common_curve, ///< the two sides do not lie on one smooth curve: a corner, say
    bends_back,      ///< the curve turns too far from the straight edge, or leaves an end backwards
    meets_cut,       ///< the curve comes too near to the cut's own border
};

/// "curved" or "straight".
KELVANE_EXPORT const char* to_string(RimClosing closing);
/// Why, in words.
KELVANE_EXPORT const char* describe(RimClosing closing);
/// Both for people to read, e.g. "rim straight: too little rim beside the cut".
KELVANE_EXPORT std::string phrase(RimClosing closing);

} // namespace KVN::toolkit
