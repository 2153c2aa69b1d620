// Indices of vertices after some of them have gone.
#pragma once

#include "kelvane/export.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// Tells for old vertices whether they are gone and which index they have now, in constant time and
/// 1.5 bits per vertex. Indices behind the old vertices, those of new ones, move up alike.
class KELVANE_EXPORT Renumbering {
  public:
    /// `gone` ascends and names vertices below `vertex_count`.
    Renumbering(std::uint64_t vertex_count, const std::vector<std::uint32_t>& gone);

    bool none_gone() const { return gone_count_ == 0; }
    /// Old vertices that stay.
    std::uint64_t kept() const { return vertex_count_ - gone_count_; }
    bool is_gone(std::uint64_t vertex) const {
        return gone_count_ != 0 && vertex < vertex_count_ &&
               (bits_[vertex / 64] >> (vertex % 64) & 1U) != 0;
    }
    /// The new index of `vertex`; one that is gone has that of the next one that stays.
    std::uint64_t operator()(std::uint64_t vertex) const {
        if (gone_count_ == 0 || vertex >= vertex_count_) {
            return vertex - gone_count_;
        }
        const std::uint64_t before = bits_[vertex / 64] & ((std::uint64_t{1} << (vertex % 64)) - 1);
        const std::uint64_t moved = vertex - gone_before_[vertex / 64];
        // Most words are empty, and counting bits is a call on the oldest machines of this kind.
        return before == 0 ? moved
                           : moved - static_cast<std::uint64_t>(__builtin_popcountll(before));
    }

  private:
    std::uint64_t vertex_count_;
    std::uint64_t gone_count_;
    std::vector<std::uint64_t> bits_;        // a bit per vertex, set if it is gone
    std::vector<std::uint32_t> gone_before_; // per word of bits_
};

} // namespace KVN::toolkit
