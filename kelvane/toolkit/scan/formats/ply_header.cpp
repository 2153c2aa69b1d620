#include "kelvane/toolkit/scan/formats/ply_header.hpp"

#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace KVN::toolkit {

namespace {

constexpr std::size_t header_room = std::size_t{1} << 16; // bytes; longer headers are rare

constexpr std::array<std::pair<std::string_view, PlyType>, 16> type_names{
    {{"char", PlyType::int8},
     {"int8", PlyType::int8},
     {"uchar", PlyType::uint8},
     {"uint8", PlyType::uint8},
     {"short", PlyType::int16},
     {"int16", PlyType::int16},
     {"ushort", PlyType::uint16},
     {"uint16", PlyType::uint16},
     {"int", PlyType::int32},
     {"int32", PlyType::int32},
     {"uint", PlyType::uint32},
     {"uint32", PlyType::uint32},
     {"float", PlyType::float32},
     {"float32", PlyType::float32},
     {"double", PlyType::float64},
     {"float64", PlyType::float64}}};

PlyType parse_type(TextLines& lines) {
    const std::string_view word = lines.word();
    const auto* const found = std::find_if(type_names.begin(), type_names.end(),
                                           [&](const auto& entry) { return entry.first == word; });
    if (found == type_names.end()) {
        lines.fail(quoted(word) + " is no type of a PLY property");
    }
    return found->second;
}

void parse_format(TextLines& lines, PlyHeader& header) {
    const std::string_view format = lines.word();
    if (format == "ascii") {
        header.format = PlyFormat::ascii;
    } else if (format == "binary_little_endian") {
        header.format = PlyFormat::little_endian;
    } else if (format == "binary_big_endian") {
        header.format = PlyFormat::big_endian;
    } else {
        lines.fail(quoted(format) + " is no format of a PLY file");
    }
}

void parse_element(TextLines& lines, PlyHeader& header) {
    PlyElement element;
    element.name = std::string(lines.word());
    const std::int64_t count = lines.integer("the number of records");
    if (count < 0) {
        lines.fail("the number of records is negative");
    }
    if (header.find(element.name) != nullptr) {
        lines.fail("the element " + toolkit::quoted(element.name) + " is declared twice");
    }
    element.count = static_cast<std::uint64_t>(count);
    header.elements.push_back(std::move(element));
}

void parse_property(TextLines& lines, PlyHeader& header) {
    if (header.elements.empty()) {
        lines.fail("a property stands before the first element");
    }
    PlyProperty property{};
    TextLines ahead = lines;
    if (ahead.word() == "list") {
        property.is_list = true;
        lines.word();
        property.count_type = parse_type(lines);
        if (!is_integer(property.count_type)) {
            lines.fail("the count of a list must be of an integer type");
        }
    }
    property.type = parse_type(lines);
    property.name = std::string(lines.word());
    if (property.name.empty()) {
        lines.fail("a property has no name");
    }
    if (header.elements.back().find(property.name) >= 0) {
        lines.fail("the property " + toolkit::quoted(property.name) + " is declared twice");
    }
    header.elements.back().properties.push_back(std::move(property));
}

void parse_lines(TextLines& lines, PlyHeader& header) {
    bool has_format = false;
    while (lines.next()) {
        const std::string_view keyword = lines.word();
        if (keyword == "format") {
            parse_format(lines, header);
            has_format = true;
        } else if (keyword == "element") {
            parse_element(lines, header);
        } else if (keyword == "property") {
            parse_property(lines, header);
        } else if (keyword == "end_header") {
            if (!has_format) {
                lines.fail("the header names no format");
            }
            return;
        } else if (keyword != "comment" && keyword != "obj_info") {
            lines.fail(quoted(keyword) + " does not belong in a PLY header");
        }
    }
    lines.fail("the file ends within the header");
}

void check_shape(const FileReader& source, const PlyHeader& header) {
    const PlyElement* vertex = header.find("vertex");
    const PlyElement* face = header.find("face");
    if (vertex == nullptr || vertex->count == 0) {
        source.fail("has no vertices");
    }
    if (vertex->count > max_vertices) {
        source.fail("promises " + std::to_string(vertex->count) +
                    " vertices, more than can be told apart by 32-bit indices");
    }
    for (const char* axis : {"x", "y", "z"}) {
        const int place = vertex->find(axis);
        if (place < 0 || vertex->properties[static_cast<std::size_t>(place)].is_list) {
            source.fail(std::string("the vertices have no coordinate ") + axis);
        }
    }
    if (face == nullptr || face->count == 0) {
        source.fail("has no faces");
    }
    const int list = std::max(face->find("vertex_indices"), face->find("vertex_index"));
    if (list < 0 || (face->find("vertex_indices") >= 0 && face->find("vertex_index") >= 0) ||
        !face->properties[static_cast<std::size_t>(list)].is_list ||
        !is_integer(face->properties[static_cast<std::size_t>(list)].type)) {
        source.fail("the faces have no list of vertex indices");
    }
}

void check_counts(const FileReader& source, const PlyHeader& header) {
    std::uint64_t room = source.size() - header.body + 1; // the last line may lack its end
    for (const PlyElement& element : header.elements) {
        const std::uint64_t least = element.least_size(header.format);
        if (least == 0) {
            continue;
        }
        if (element.count > room / least) {
            source.fail("promises " + std::to_string(element.count) + " records '" + element.name +
                        "', but the file ends before that many can follow");
        }
        room -= element.count * least;
    }
}

/// The beginning of the file up to the end of its header, and some more.
std::string header_bytes(const FileReader& file) {
    std::size_t size = header_room;
    std::string bytes;
    do {
        bytes = file.read(0, static_cast<std::size_t>(std::min<std::uint64_t>(size, file.size())));
        size *= 4;
    } while (bytes.rfind("ply", 0) == 0 && bytes.find("\nend_header") == std::string::npos &&
             bytes.size() < file.size());
    return bytes;
}

} // namespace

int PlyElement::find(const std::string& wanted) const {
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (properties[i].name == wanted) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

std::size_t PlyElement::least_size(PlyFormat format) const {
    std::size_t size = 0;
    for (const PlyProperty& property : properties) {
        // In text, a digit and what parts it from the next; an empty list is a single 0.
        const std::size_t binary = size_of(property.is_list ? property.count_type : property.type);
        size += format == PlyFormat::ascii ? 2 : binary;
    }
    return size;
}

bool PlyElement::find_three(const char* const (&names)[3], std::size_t (&places)[3]) const {
    for (int i = 0; i < 3; ++i) {
        const int place = find(names[i]);
        if (place < 0 || properties[static_cast<std::size_t>(place)].is_list) {
            return false;
        }
        places[i] = static_cast<std::size_t>(place);
    }
    return true;
}

std::size_t PlyElement::fixed_size() const {
    std::size_t size = 0;
    for (const PlyProperty& property : properties) {
        if (property.is_list) {
            return 0;
        }
        size += size_of(property.type);
    }
    return size;
}

bool PlyHeader::swap() const {
    const std::uint16_t probe = 1;
    unsigned char low = 0;
    std::memcpy(&low, &probe, 1);
    return format != PlyFormat::ascii && (low == 1) != (format == PlyFormat::little_endian);
}

std::size_t PlyHeader::index_list() const {
    const PlyElement* face = find("face");
    return static_cast<std::size_t>(
        std::max(face->find("vertex_indices"), face->find("vertex_index")));
}

const PlyElement* PlyHeader::find(const std::string& wanted) const {
    for (const PlyElement& element : elements) {
        if (element.name == wanted) {
            return &element;
        }
    }
    return nullptr;
}

PlyHeader read_ply_header(const FileReader& file) {
    const SourceFile head{file.path().string(), header_bytes(file)};
    TextLines lines(head, 0);
    if (!lines.next() || lines.text() != "ply") {
        file.fail("is no PLY file: it does not begin with the line 'ply'");
    }
    PlyHeader header;
    parse_lines(lines, header);
    header.body = lines.offset();
    header.body_line = lines.line_number() + 1;
    check_shape(file, header);
    check_counts(file, header);
    return header;
}

} // namespace KVN::toolkit
