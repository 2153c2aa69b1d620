// A set of vertices that is asked and never walked: its order is that of addresses.
#pragma once

#include "kelvane/names.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace KVN::toolkit {

/// Open addressing with linear steps, at most half full (Knuth, The Art of Computer Programming,
/// 6.4). The sets of a place hold some hundreds of vertices and live for a moment: nodes on the
/// heap would cost more than all the asking.
class VertexSet {
  public:
    VertexSet() = default;
    template <class Iterator>
    VertexSet(Iterator begin, Iterator end) {
        insert(begin, end);
    }

    /// False if `v`, which is not null, was there already.
    bool insert(const _vert* v) {
        if (2 * count_ >= slots_.size()) {
            grow();
        }
        const _vert*& slot = slots_[place_of(v)];
        if (slot == v) {
            return false;
        }
        slot = v;
        ++count_;
        return true;
    }

    template <class Iterator>
    void insert(Iterator begin, Iterator end) {
        for (; begin != end; ++begin) {
            insert(*begin);
        }
    }

    bool holds(const _vert* v) const { return !slots_.empty() && slots_[place_of(v)] == v; }

  private:
    /// Where `v` stands, or would stand.
    std::size_t place_of(const _vert* v) const {
        // Fibonacci hashing: the upper bits of the product are the well mixed ones.
        const std::uint64_t hash =
            static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(v)) * 0x9E3779B97F4A7C15U;
        std::size_t place = static_cast<std::size_t>(hash >> 32U) & (slots_.size() - 1);
        while (slots_[place] != nullptr && slots_[place] != v) {
            place = (place + 1) & (slots_.size() - 1);
        }
        return place;
    }

    void grow() {
        constexpr std::size_t first_size = 256;
        const std::vector<const _vert*> old = std::move(slots_);
        slots_.assign(old.empty() ? first_size : 2 * old.size(), nullptr);
        for (const _vert* v : old) {
            if (v != nullptr) {
                slots_[place_of(v)] = v;
            }
        }
    }

    std::vector<const _vert*> slots_; // a power of two
    std::size_t count_ = 0;
};

} // namespace KVN::toolkit
