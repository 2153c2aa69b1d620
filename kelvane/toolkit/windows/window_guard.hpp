// Whether a window holds all that a run is about to read.
#pragma once

#include "kelvane/repair/run_places.hpp"
#include "kelvane/toolkit/windows/reach.hpp"
#include "kelvane/toolkit/windows/window.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// Thrown at a place of a run over a window that is too small.
struct WindowTooSmall {
    std::vector<std::int32_t> vertices; ///< of the window, to be complete in the next one
    double edge = 0.0;                  ///< mean length of the edges around them
};

/// Looks at a run over a window before it reads the surface: adjacency lists, their order, counts
/// and normals are those of the whole scan at complete vertices only. The whole window is looked at
/// for reads that go by space, the boundary for those that follow it.
class WindowGuard {
  public:
    /// `rings` is how far around a border the surface is copied. Keeps references to all arguments.
    WindowGuard(const Window& window, const std::vector<Capsule>& cylinders, int rings);

    /// Before bodies are looked for: complete must be every vertex in a marker's cylinder widened
    /// by some edges, and the neighbours of these.
    void before_bodies(const CutPlace& place) const;

    /// Before the search: complete must be every vertex that lies within so many boundary edges of
    /// a region as a walk goes before it gives up, and so many rings around them.
    void before_search(const CutPlace& place) const;

  private:
    void require(const Mesh& mesh, std::vector<std::int32_t> incomplete) const;

    const Window& window_;
    const std::vector<Capsule>& cylinders_; ///< per marker, of its radius and margin
    int rings_;
};

} // namespace KVN::toolkit
