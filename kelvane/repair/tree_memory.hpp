// Memory for the kd-tree, asked for before the tree does: it takes its nodes from malloc() without
// a look, and it searches in a parallel region, which no exception may leave.
#pragma once

#include "kelvane/kernel/memory_ahead.hpp"

namespace KVN {

/// Nodes of 48 bytes over leaves of at most 15 points; one per point is far above what is met.
constexpr std::size_t tree_bytes_per_point = 48;
/// A hit has 16 bytes in an array that doubles as it grows, and 8 in the results.
constexpr std::size_t search_bytes_per_point = 64;

inline void require_tree_memory(std::size_t points, std::size_t bytes_per_point) {
    constexpr std::size_t blocks = 1 << 16; // which the tree's pool takes whole
    Mesh_M::require_memory(points * bytes_per_point + blocks);
}

} // namespace KVN
