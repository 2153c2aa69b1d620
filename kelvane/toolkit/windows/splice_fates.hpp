// Which places of a run go into its splice.
#pragma once

#include "kelvane/toolkit/job/mesh_run.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// Per face in the store, the region that it was cut out for, or -1.
std::vector<std::int32_t> owners_of_faces(const Mesh_M::Mesh& mesh, const RunNotes& notes);

/// Per region, whether its place is left as it was: a cut that is not repaired, and all repaired
/// ones that cannot stand beside it. Their reports say so. See make_splice().
std::vector<char> places_left(const Mesh_M::Mesh& mesh, const MeshRun& run,
                              const std::vector<std::int32_t>& owners,
                              std::vector<MarkerReport>& reports);

} // namespace KVN::toolkit
