// Memory for the kd-tree, asked for before the tree does.
#pragma once

#include <cstddef>
#include <new>

namespace KVN {

// The tree cannot do without: it writes to what malloc() gives it without a look, and it searches
// in a parallel region, which no exception may leave. So what it may need is taken and given back
// before each step, and where that fails, the caller learns of it. Bytes per point of the tree;
// nothing of it is touched, and so it costs no pages.

/// Nodes of 48 bytes over leaves of 15 points, two points at the least on the average.
constexpr std::size_t tree_bytes_per_point = 48;
/// A hit has 16 bytes in an array that doubles as it grows, and 8 in the results.
constexpr std::size_t search_bytes_per_point = 64;

/// Throws std::bad_alloc where memory for so many points is not there.
inline void require_tree_memory(std::size_t points, std::size_t bytes_per_point) {
    constexpr std::size_t blocks = 1 << 16; // which the tree's pool takes whole
    ::operator delete(::operator new(points* bytes_per_point + blocks));
}

} // namespace KVN
