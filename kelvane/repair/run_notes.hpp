// What a run notes about itself while it works. Written where things happen, for reports; nothing
// of the repair reads it back.
#pragma once

#include "kelvane/holes/border_trace.hpp"
#include "kelvane/names.hpp"

#include <vector>

namespace KVN {

/// What the removal of one marker's region met.
enum class RegionFinding {
    no_vertex_in_reach, ///< no live vertex within the marker's radius and margin
    none_accepted,      ///< vertices, but all too far from the marker's plane or facing away
    cut,                ///< a region was cut out
};

/// One marker's cut, as the removal left it.
struct RegionNote {
    RegionFinding finding = RegionFinding::no_vertex_in_reach; ///< what the cut met
    _vert* nearest = nullptr;  ///< of the vertices on the marker, the one nearest to its centre
    std::vector<_vert*> ring;  ///< the vertices just outside of the cut
    std::vector<_face*> faces; ///< cut out for this marker and not for one before it
    int hole = -1;             ///< of its own, or -1
    BorderTrace trace;         ///< how the search went
    /// Another marker's hole, with which this cut has run together or in which it lies, or -1.
    int joined_hole = -1;
};

/// One hole and what came of it.
struct HoleNote {
    int marker = 0;          ///< region that the hole came from
    bool is_chain = false;   ///< found as an open chain along the scan's rim, not as a loop
    int border_vertices = 0; ///< of the hole
    int rim_vertices = 0;    ///< made for the hole, the last ones of its border; not counted above
    /// What the closing operation returned: negative where it gave up, otherwise by its contract
    /// in hole_filling.hpp.
    int closing_result = 0;
    bool refused = false;  ///< closed, but its patch was not let into the mesh
    bool unfaired = false; ///< in the mesh as it was filled: what the fairing found was not taken
    int first_vertex = 0;  ///< store index of the first vertex that the patch brought
    int new_vertices = 0;  ///< that the patch brought
    int first_face = 0;    ///< store index of the first face that the patch brought
    int new_faces = 0;     ///< that the patch brought; 0 where it was not joined
};

/// Everything that one run notes.
struct RunNotes {
    std::vector<RegionNote> regions; ///< one per entry of the list of regions
    std::vector<HoleNote> holes;     ///< one per hole, in the order of the per-hole lists
    // Of the search under way.
    BorderTrace trace;            ///< of the region under search
    bool border_is_chain = false; ///< how the last border was found
    int walk_away = 0; ///< edges away from any marker that made the last walk give up, or 0
};

} // namespace KVN
