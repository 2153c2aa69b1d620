// The numbers behind x, y, z in the vertex lines of text formats, as properties of arrays.
#pragma once

#include "kelvane/toolkit/scan/scan.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace KVN::toolkit {

/// Collects them line by line. They are columns if all vertices have the same number of them.
class VertexColumns {
  public:
    /// The words behind the coordinates of the next vertex; counted up to the first that is no
    /// number.
    void add(const std::string_view* begin, const std::string_view* end);

    /// How many columns there are; 0 if the vertices do not agree.
    std::size_t width() const { return even_ ? width_ : 0; }
    /// The columns from `first` on under these names, all of one kind: bytes if they are whole
    /// numbers up to 255 and some above 1, else floats.
    std::vector<Property> named(std::size_t first, const std::vector<std::string>& names) const;

  private:
    std::vector<float> values_; ///< row by row
    std::size_t width_ = 0;
    bool even_ = true;   // all rows have the same width
    bool begun_ = false; // there is a row
};

} // namespace KVN::toolkit
