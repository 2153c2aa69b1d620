// Internal: the memory of the adjacency lists of one record store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Mesh_R {

/// Arrays of 2^k pointers, cut from large chunks. An array that is given back serves the next
/// request of its size; nothing is returned to the system before release(). Lists of deleted
/// records are never given back, since their entries must stay readable.
class ListPool {
  public:
    ListPool() = default;
    ~ListPool() { release(); }
    ListPool(const ListPool&) = delete;
    ListPool& operator=(const ListPool&) = delete;

    /// An uninitialised array of 2^log2 pointers, log2 <= 15. Throws std::bad_alloc.
    void* take(unsigned log2) {
        const std::size_t size = std::size_t{1} << log2;
        if (recycled[log2] == nullptr && static_cast<std::size_t>(end - next) >= size) {
            void* array = next;
            next += size;
            return array;
        }
        return take_slowly(log2);
    }

    /// Recycles an array of 2^log2 pointers. Overwrites its first entry.
    void give_back(void* array, unsigned log2) noexcept;

    /// Makes sure that arrays of `pointers` pointers in all can be cut from one chunk.
    void reserve(std::size_t pointers);

    /// Gives all chunks back to the system; every array is gone.
    void release() noexcept;

    /// Bytes taken from the system.
    std::size_t bytes() const { return chunk_bytes; }

  private:
    static constexpr unsigned size_classes = 16;

    void* take_slowly(unsigned log2);
    void start_chunk(std::size_t pointers);
    void recycle_rest() noexcept;

    void** next = nullptr; ///< the first pointer of the current chunk that is not cut yet
    void** end = nullptr;
    void* recycled[size_classes] = {}; ///< linked through the arrays' first entries
    std::size_t chunk_bytes = 0;
    std::vector<void*> chunks;
};

} // namespace Mesh_R
