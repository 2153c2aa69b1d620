// The numbers behind x, y, z in the vertex lines of text formats, carried on to new vertices.
#pragma once

#include "kelvane/toolkit/scan/splice.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace KVN::toolkit {

/// Collects them from the vertices that new ones grow from, and mixes them. A new vertex has as
/// many as its nearest origin.
class VertexExtras {
  public:
    /// With `keep_whole` a column in which all origins are whole numbers stays whole: in OFF that
    /// tells colours of 8 bits from those between 0 and 1. `normal_at` is the first of three
    /// columns that are a normal, -1 for none.
    VertexExtras(const Splice& splice, bool keep_whole, int normal_at);

    /// Has to be called for each old vertex with the words behind its coordinates.
    void pass(std::uint64_t vertex, const std::string_view* begin, const std::string_view* end);
    /// " x y z r g b" of new vertex `k`, when all old ones have passed.
    std::string position_and_extras(std::size_t k) const;

  private:
    struct Extras {
        std::vector<double> values;
        std::vector<bool> whole;
    };
    double value(std::uint32_t vertex, std::size_t column) const;
    bool is_whole(std::size_t k, std::size_t column) const;

    const Splice& splice_;
    bool keep_whole_;
    int normal_at_;
    std::unordered_map<std::uint32_t, Extras> extras_; // of the origins
};

} // namespace KVN::toolkit
