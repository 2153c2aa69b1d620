// Consecutive numbers for the vertices that one patch has to do with.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KVN {

/// A hash table from vertices to 0, 1, 2... in the order in which they are met, open addressing
/// with linear probes. The place of an entry depends on addresses, the numbers do not.
class VertexNumbers {
  public:
    /// `expected`: vertices for which no table has to be grown.
    explicit VertexNumbers(std::size_t expected) {
        std::size_t size = 64;
        while (size < 2 * expected) {
            size *= 2;
        }
        slots_.assign(size, -1);
        vertices_.reserve(expected);
    }

    int size() const { return static_cast<int>(vertices_.size()); }
    Mesh_R::_vert* operator[](int number) const {
        return vertices_[static_cast<std::size_t>(number)];
    }

    /// The number of `v`, which gets the next one when it is met for the first time.
    int number_of(Mesh_R::_vert* v) {
        std::size_t slot = slot_of(v);
        if (slots_[slot] >= 0) {
            return slots_[slot];
        }
        if (2 * (vertices_.size() + 1) > slots_.size()) {
            grow();
            slot = slot_of(v);
        }
        slots_[slot] = size();
        vertices_.push_back(v);
        return slots_[slot];
    }

  private:
    /// Where `v` stands, or the free slot where it belongs.
    std::size_t slot_of(const Mesh_R::_vert* v) const {
        // Multiplicative hashing (Knuth): the low bits of addresses are all alike.
        const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(v));
        std::size_t slot = (address * 0x9E3779B97F4A7C15u >> 32) & (slots_.size() - 1);
        while (slots_[slot] >= 0 && (*this)[slots_[slot]] != v) {
            slot = (slot + 1) & (slots_.size() - 1);
        }
        return slot;
    }

    void grow() {
        slots_.assign(2 * slots_.size(), -1);
        for (int i = 0; i < size(); ++i) {
            slots_[slot_of((*this)[i])] = i;
        }
    }

    std::vector<int> slots_; ///< a power of two of them, at most half in use; -1: free
    std::vector<Mesh_R::_vert*> vertices_;
};

} // namespace KVN
