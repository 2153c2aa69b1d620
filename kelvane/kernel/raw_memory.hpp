// Internal: large pieces of memory for records and lists.
#pragma once

#include <cstddef>

namespace Mesh_R {

/// Uninitialised memory on a cache line boundary. Nothing of it is touched, so that a piece larger
/// than what ends up in use costs address space only. Throws std::bad_alloc.
void* take_memory(std::size_t bytes);

/// Gives back what take_memory() returned; null is fine.
void give_back_memory(void* memory) noexcept;

} // namespace Mesh_R
