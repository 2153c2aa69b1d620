// Gives the holes on the scan's rim the stretch of rim that their marker has hidden.
#pragma once

#include "kelvane/repair/run_places.hpp"
#include "kelvane/toolkit/rims/rim_report.hpp"

#include <optional>
#include <vector>

namespace KVN::toolkit {

/// Adds, to every hole that is an open chain, new vertices along the curve of the rim on both sides
/// of it, so that the fill closes the place along them and the fairing holds them (they bear the
/// mark on_new_rim for it). They come last in the hole's border, and their number is noted. Where
/// no curve fits, and with `straight`, the hole stays as it is.
///
/// Reads the mesh along the rim only, up to rim_edges_learnt edges beyond the ends of a chain. The
/// outline of the scan stays open: only holes that the search has found are touched. Returns, per
/// hole, how its rim is closed; nothing for holes inside the scan.
std::vector<std::optional<RimClosing>> close_rims(SearchPlace& place, bool straight);

/// After the run: deletes the new rim vertices of holes that were not filled and takes the mark
/// on_new_rim off all of them.
void finish_rims(const std::vector<std::vector<_vert*>>& borders, const RunNotes& notes);

} // namespace KVN::toolkit
