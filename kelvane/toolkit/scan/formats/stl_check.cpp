// The check of an STL file, ascii or binary.
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <string>

namespace KVN::toolkit {

namespace {

constexpr std::size_t binary_header = 84; // 80 bytes of text and the number of triangles
constexpr std::size_t binary_record = 50; // normal, three corners, two spare bytes

using Corner = std::array<float, 3>;

bool is_finite(const Corner& corner) {
    return std::isfinite(corner[0]) && std::isfinite(corner[1]) && std::isfinite(corner[2]);
}

/// Counts a triangle, unless the welding of its corners leaves it fewer than three.
void count_triangle(const std::array<Corner, 3>& t, FileCounts& counts) {
    if (t[0] != t[1] && t[1] != t[2] && t[2] != t[0]) {
        ++counts.faces;
        counts.corners += 3;
    } else {
        ++counts.collapsed;
    }
}

std::uint32_t little_endian(const char* bytes) {
    std::uint32_t word = 0;
    for (int i = 3; i >= 0; --i) {
        word = (word << 8) | static_cast<unsigned char>(bytes[i]);
    }
    return word;
}

Corner corner_at(const char* bytes) {
    Corner corner{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::uint32_t word = little_endian(bytes + 4 * axis);
        std::memcpy(&corner[axis], &word, sizeof word);
    }
    return corner;
}

FileCounts check_binary(const SourceFile& source, std::uint64_t count) {
    FileCounts counts;
    for (std::uint64_t t = 0; t < count; ++t) {
        const char* record = source.bytes.data() + binary_header + t * binary_record;
        std::array<Corner, 3> triangle{};
        for (std::size_t c = 0; c < 3; ++c) {
            triangle[c] = corner_at(record + 12 * (c + 1));
            if (!is_finite(triangle[c])) {
                source.fail("triangle " + std::to_string(t) +
                            " has a coordinate that is not finite, which cannot be welded");
            }
        }
        count_triangle(triangle, counts);
    }
    return counts;
}

std::string lower(std::string_view word) {
    std::string result(word);
    for (char& c : result) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return result;
}

/// Walks the lines of an ascii file from facet to facet.
class TextWalk {
  public:
    explicit TextWalk(const SourceFile& source) : source_(source), lines_(source, 0) {}

    FileCounts run() {
        while (lines_.next()) {
            line(lower(lines_.word()));
        }
        if (in_facet_ || in_solid_) {
            source_.fail("is cut short: the line 'endsolid' is missing");
        }
        return counts_;
    }

  private:
    void line(const std::string& keyword) {
        if (in_facet_) {
            facet_line(keyword);
        } else if (keyword == "facet") {
            in_facet_ = true;
            corner_count_ = 0;
        } else if (keyword == "solid" || keyword == "endsolid") {
            in_solid_ = keyword == "solid";
        } else {
            misplaced(keyword);
        }
    }

    void facet_line(const std::string& keyword) {
        if (keyword == "vertex" && corner_count_ < 3) {
            Corner& corner = triangle_[corner_count_++];
            for (float& value : corner) {
                value = lines_.real("a coordinate");
            }
            if (!is_finite(corner)) {
                lines_.fail("a coordinate is not finite, which cannot be welded");
            }
            lines_.expect_end();
        } else if (keyword == "endfacet") {
            if (corner_count_ != 3) {
                lines_.fail("the facet has fewer than three vertices");
            }
            count_triangle(triangle_, counts_);
            in_facet_ = false;
        } else if (keyword != "outer" && keyword != "endloop") {
            misplaced(keyword);
        }
    }

    [[noreturn]] void misplaced(const std::string& keyword) const {
        lines_.fail(toolkit::quoted(keyword) + " does not belong there in an STL file");
    }

    const SourceFile& source_;
    TextLines lines_;
    FileCounts counts_;
    std::array<Corner, 3> triangle_{};
    std::size_t corner_count_ = 0;
    bool in_solid_ = false;
    bool in_facet_ = false;
};

bool begins_with_solid(const std::string& bytes) {
    const std::size_t start = bytes.find_first_not_of(" \t\r\n");
    return start != std::string::npos && lower(bytes.substr(start, 5)) == "solid";
}

} // namespace

FileCounts check_stl(const SourceFile& source) {
    const std::size_t size = source.bytes.size();
    const std::uint64_t count = size >= binary_header ? little_endian(&source.bytes[80]) : 0;
    // Binary files may begin with "solid" too, so their exact length is the first thing to ask.
    const bool binary_length =
        size >= binary_header && size == binary_header + count * binary_record;
    if (!binary_length && begins_with_solid(source.bytes)) {
        return TextWalk(source).run();
    }
    if (size < binary_header) {
        source.fail("is no STL file: it is too short for the header of a binary one");
    }
    if (size < binary_header + count * binary_record) {
        source.fail("promises " + std::to_string(count) + " triangles, but holds only " +
                    std::to_string((size - binary_header) / binary_record));
    }
    return check_binary(source, count);
}

} // namespace KVN::toolkit
