// The facets of an ascii STL file one by one.
#pragma once

#include "kelvane/toolkit/scan/formats/source_file.hpp"
#include "kelvane/toolkit/scan/formats/stl_facet.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace KVN::toolkit {

/// Walks facets and the lines of solids around them. Throws InputError with the line of a fault.
class StlText {
  public:
    explicit StlText(const SourceFile& source) : source_(source), lines_(source, 0) {}

    /// What next() has found.
    enum class Item { facet, solid, end_solid, end };
    Item next();

    const StlFacet& facet() const { return facet_; }
    /// The bytes of the item, with its lines' ends and whatever stands before it.
    std::string_view raw() const {
        return std::string_view(source_.bytes).substr(begin_, lines_.offset() - begin_);
    }

  private:
    void read_facet();
    void read_corner(StlPoint& corner);
    [[noreturn]] void misplaced(const std::string& keyword) const;
    [[noreturn]] void cut_short() const;

    const SourceFile& source_;
    TextLines lines_;
    StlFacet facet_{};
    std::size_t begin_ = 0; // of the item
    bool started_ = false;
    bool in_solid_ = false;
};

/// A facet as text, with its computed normal.
std::string stl_facet_text(const StlFacet& facet);

std::string lower_case(std::string_view word);

} // namespace KVN::toolkit
