// Memory that is asked for before somebody takes it who cannot do without.
#pragma once

#include <cstddef>
#include <new>

namespace Mesh_M {

/// Throws std::bad_alloc where so much memory is not there. It is given back at once and not
/// touched, so that it costs no pages. For the libraries below that write to what malloc() gives
/// them without a look, or that allocate where no exception may leave.
inline void require_memory(std::size_t bytes) {
    ::operator delete(::operator new(bytes));
}

} // namespace Mesh_M
