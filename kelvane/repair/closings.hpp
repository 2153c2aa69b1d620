// The ways to close a hole, one row per method.
#pragma once

namespace KVN {

class RepairMarkers;
struct RunPlaces;

/// How a hole is closed once it is found.
enum class Method {
    fast, ///< triangulated disc from the border alone, then fairing in the mesh
    high, ///< one continuation of the surface around the hole
    low,  ///< greedy triangulation, made dense and smooth in its surroundings
};

/// One method: its names and its steps. `close` runs side by side over the holes and touches the
/// hole's own lists only; `join` runs hole by hole, in order.
struct Closing {
    Method method;                    ///< that it is
    const char* name;                 ///< as users write it
    const char* help;                 ///< a clause for users
    int (RepairMarkers::*close)(int); ///< result as noted in HoleNote::closing_result
    void (RepairMarkers::*join)(int); ///< makes records of the hole's patch
    /// All patches, with so many threads; null: not needed.
    void (RepairMarkers::*fair)(int, const RunPlaces&);
    bool border_by_coordinates; ///< the patch stands in the hole's lists, not in `patches`
};

} // namespace KVN
