#include "kelvane/kernel/list_pool.hpp"

#include "kelvane/kernel/raw_memory.hpp"

#include <algorithm>
#include <cstring>

namespace Mesh_R {

namespace {

// The first chunk suits a temporary mesh of a few hundred vertices, the last ones a scan.
constexpr std::size_t first_chunk = 2048;
constexpr std::size_t largest_chunk = std::size_t{1} << 18;

} // namespace

void* ListPool::take_slowly(unsigned log2) {
    if (void* array = recycled[log2]) {
        std::memcpy(&recycled[log2], array, sizeof(void*));
        return array;
    }
    // Chunks grow by a quarter of what there is, so that no more than that lies idle.
    const std::size_t quarter = chunk_bytes / sizeof(void*) / 4;
    const std::size_t wanted = std::min(std::max(quarter, first_chunk), largest_chunk);
    start_chunk(std::max(wanted, std::size_t{1} << log2));
    void* array = next;
    next += std::size_t{1} << log2;
    return array;
}

void ListPool::give_back(void* array, unsigned log2) noexcept {
    std::memcpy(array, &recycled[log2], sizeof(void*));
    recycled[log2] = array;
}

void ListPool::reserve(std::size_t pointers) {
    if (static_cast<std::size_t>(end - next) < pointers) {
        start_chunk(pointers);
    }
}

void ListPool::start_chunk(std::size_t pointers) {
    chunks.reserve(chunks.size() + 1);
    void* chunk = take_memory(pointers * sizeof(void*));
    recycle_rest();
    chunks.push_back(chunk);
    chunk_bytes += pointers * sizeof(void*);
    next = static_cast<void**>(chunk);
    end = next + pointers;
}

// What is left of the current chunk becomes arrays of the largest sizes that fit.
void ListPool::recycle_rest() noexcept {
    for (unsigned log2 = size_classes; log2-- > 0;) {
        const std::ptrdiff_t size = std::ptrdiff_t{1} << log2;
        while (end - next >= size) {
            give_back(next, log2);
            next += size;
        }
    }
}

void ListPool::release() noexcept {
    for (void* chunk : chunks) {
        give_back_memory(chunk);
    }
    std::vector<void*>().swap(chunks);
    std::fill(recycled, recycled + size_classes, nullptr);
    next = end = nullptr;
    chunk_bytes = 0;
}

} // namespace Mesh_R
