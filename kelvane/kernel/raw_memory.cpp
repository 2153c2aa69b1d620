#include "kelvane/kernel/raw_memory.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace Mesh_R {

namespace {

constexpr std::size_t cache_line = 64;

/// Pieces of this size on ask the system for pages of 2 MiB. Taken in small pages, the records of a
/// mesh cost about half of its build in page faults; below, what a last page holds too much would
/// show.
constexpr std::size_t large_piece = std::size_t{4} << 20;
constexpr std::size_t large_page = std::size_t{2} << 20;

} // namespace

void* take_memory(std::size_t bytes) {
    if (bytes > SIZE_MAX - cache_line) {
        throw std::bad_alloc();
    }
    const std::size_t rounded =
        std::max((bytes + cache_line - 1) / cache_line, std::size_t{1}) * cache_line;
    const bool large = rounded >= large_piece;
    void* memory = nullptr;
    if (posix_memalign(&memory, large ? large_page : cache_line, rounded) != 0) {
        throw std::bad_alloc();
    }
    if (large) {
        (void)madvise(memory, rounded, MADV_HUGEPAGE); // a wish: without it, small pages do
    }
    return memory;
}

void give_back_memory(void* memory) noexcept {
    std::free(memory);
}

} // namespace Mesh_R
