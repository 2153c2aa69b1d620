#include "kelvane/kernel/raw_memory.hpp"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace Mesh_R {

namespace {

constexpr std::size_t cache_line = 64;

} // namespace

void* take_memory(std::size_t bytes) {
    if (bytes > SIZE_MAX - cache_line) {
        throw std::bad_alloc();
    }
    const std::size_t rounded = (bytes + cache_line - 1) / cache_line * cache_line;
    void* memory = std::aligned_alloc(cache_line, rounded > 0 ? rounded : cache_line);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void give_back_memory(void* memory) noexcept {
    std::free(memory);
}

} // namespace Mesh_R
