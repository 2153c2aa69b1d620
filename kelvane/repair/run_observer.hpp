// What a run tells about itself: the stages as they begin, and what each marker met.
#pragma once

#include <functional>

namespace KVN {

/// The stages of a run, in order.
enum class RunStage { discovery, fill, insertion, fairing, normals, done };

/// Is told on the calling thread when a stage begins.
struct RunObserver {
    std::function<void(RunStage)> stage_begins;
};

/// What the removal of one marker's region met.
enum class RegionFinding {
    no_vertex_in_reach, ///< no live vertex within the marker's radius and margin
    none_accepted,      ///< vertices, but all too far from the marker's plane or facing away
    cut,                ///< a region was cut out
};

} // namespace KVN
