// A check of everything that the records of a mesh must agree on, in one walk.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <cstdint>
#include <string>

namespace Mesh_M {

/// What check_mesh() counted and the first fault that it met.
struct MeshCheck {
    std::int64_t live_vertices = 0;      ///< not deleted
    std::int64_t live_edges = 0;         ///< not deleted
    std::int64_t live_faces = 0;         ///< not deleted
    std::int64_t boundary_edges = 0;     ///< one face
    std::int64_t non_manifold_edges = 0; ///< more than two faces
    std::int64_t pinch_vertices = 0;     ///< edgeCount - faceCount above 1
    std::string fault;                   ///< empty when the mesh is sound

    bool sound() const { return fault.empty(); } ///< everything agrees
};

/// Which status words are in order beside 8 and 3.
enum class Marks {
    none,    ///< none, as between runs
    of_a_run ///< also 1 and 2, as the hole search leaves them on edges until the run ends
};

/// Walks every record once: adjacency in both directions, counts against list contents, status
/// words, deleted records out of all live lists, `liveCount`, no face or edge twice.
KELVANE_EXPORT MeshCheck check_mesh(const Mesh& mesh, Marks marks = Marks::none);

} // namespace Mesh_M
