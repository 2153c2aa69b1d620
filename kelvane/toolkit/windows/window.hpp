// The neighbourhoods of all markers as one mesh, in the order of the scan.
#pragma once

#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/toolkit/windows/reach.hpp"
#include "kelvane/toolkit/windows/surface.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// A set of vertices of a scan, a bit each.
class VertexBits {
  public:
    explicit VertexBits(std::uint64_t count) : count_(count), words_((count + 63) / 64, 0) {}
    void add(std::uint64_t vertex) { words_[vertex / 64] |= std::uint64_t{1} << (vertex % 64); }
    void add_all();
    bool holds(std::uint64_t vertex) const {
        return (words_[vertex / 64] >> (vertex % 64) & 1) != 0;
    }

    /// The vertices of the set, ascending.
    std::vector<std::uint32_t> list() const;
    /// Per 64 vertices, how many of the set come before them: see rank().
    std::vector<std::uint32_t> counts_before() const;
    /// The place of `vertex`, which is in the set, in list().
    std::uint32_t rank(std::uint64_t vertex, const std::vector<std::uint32_t>& before) const {
        const std::uint64_t below = words_[vertex / 64] & ((std::uint64_t{1} << (vertex % 64)) - 1);
        return before[vertex / 64] + static_cast<std::uint32_t>(__builtin_popcountll(below));
    }

  private:
    std::uint64_t count_;
    std::vector<std::uint64_t> words_;
};

/// Some faces of a scan with their corners. A vertex is *complete* if the window holds all its
/// faces: in a mesh built from the window, its lists, their order and its normal are then those
/// that it has in a mesh built from the whole scan.
struct Window {
    std::vector<std::uint32_t>
        vertices;                 ///< vertex of the scan, ascending; of loose corners the first
    std::vector<char> complete;   ///< per vertex
    std::vector<float> positions; ///< x, y, z per vertex
    std::vector<std::int32_t> triangles; ///< places in `vertices`
    std::vector<std::uint64_t> records;  ///< face record of each triangle, ascending
    std::uint64_t vertices_of_scan = 0;
    std::uint64_t records_of_scan = 0;
    bool has_properties = false; ///< new records of the scan have something to take from old ones
    /// A vertex has so many faces that a mesh of the whole scan may refuse some of them.
    bool overfull = false;

    std::size_t triangle_count() const { return triangles.size() / 3; }
};

/// Adds to `complete` the vertices that lie in the reach.
void add_in_reach(const Surface& surface, const Reach& reach, VertexBits& complete);

/// Adds to `complete` vertices of `window`, by their places in it; where corners are loose, all
/// that stand there.
void add_vertices(const Surface& surface, const Window& window,
                  const std::vector<std::int32_t>& vertices, VertexBits& complete);

/// The window in which the vertices of `complete` are complete: all their faces, and the vertices
/// themselves also where they have none. Loose corners are welded; they must be in `complete` with
/// all that stand at the same place.
Window collect_window(const Surface& surface, const VertexBits& complete);

/// Builds the empty `mesh` from the window; vertex i of the mesh is vertex i of the window. Returns
/// per triangle its face in the store, or -1 where the mesh refused it.
std::vector<std::int32_t> build_from(const Window& window, Mesh_M::Mesh& mesh,
                                     Mesh_M::BuildReport& report);

} // namespace KVN::toolkit
