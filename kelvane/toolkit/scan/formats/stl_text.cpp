#include "kelvane/toolkit/scan/formats/stl_text.hpp"

#include <cctype>

namespace KVN::toolkit {

StlText::Item StlText::next() {
    begin_ = started_ ? lines_.offset() : 0;
    started_ = true;
    while (lines_.next()) {
        const std::string keyword = lower_case(lines_.word());
        if (keyword == "facet") {
            read_facet();
            return Item::facet;
        }
        if (keyword != "solid" && keyword != "endsolid") {
            misplaced(keyword);
        }
        in_solid_ = keyword == "solid";
        return in_solid_ ? Item::solid : Item::end_solid;
    }
    if (in_solid_) {
        cut_short();
    }
    return Item::end;
}

void StlText::read_facet() {
    std::size_t corners = 0;
    while (lines_.next()) {
        const std::string keyword = lower_case(lines_.word());
        if (keyword == "vertex" && corners < 3) {
            read_corner(facet_[corners++]);
        } else if (keyword == "endfacet") {
            if (corners != 3) {
                lines_.fail("the facet has fewer than three vertices");
            }
            return;
        } else if (keyword != "outer" && keyword != "endloop") {
            misplaced(keyword);
        }
    }
    cut_short();
}

void StlText::read_corner(StlPoint& corner) {
    for (float& value : corner) {
        value = lines_.real("a coordinate");
    }
    if (!is_finite(corner)) {
        lines_.fail("a coordinate is not finite, which cannot be welded");
    }
    lines_.expect_end();
}

void StlText::misplaced(const std::string& keyword) const {
    lines_.fail(toolkit::quoted(keyword) + " does not belong there in an STL file");
}

void StlText::cut_short() const {
    source_.fail("is cut short: the line 'endsolid' is missing");
}

std::string stl_facet_text(const StlFacet& facet) {
    const auto point = [](const StlPoint& p) {
        return " " + shortest(p[0]) + " " + shortest(p[1]) + " " + shortest(p[2]) + "\n";
    };
    std::string text = "facet normal" + point(stl_normal(facet)) + "outer loop\n";
    for (const StlPoint& corner : facet) {
        text += "vertex" + point(corner);
    }
    return text + "endloop\nendfacet\n";
}

std::string lower_case(std::string_view word) {
    std::string result(word);
    for (char& c : result) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return result;
}

} // namespace KVN::toolkit
