// The header of a PLY file, parsed and checked against what the file can hold.
#pragma once

#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/formats/ply_numbers.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace KVN::toolkit {

enum class PlyFormat { ascii, little_endian, big_endian };

struct PlyProperty {
    std::string name;
    PlyType type;
    bool is_list = false;
    PlyType count_type = PlyType::uint8; ///< of a list
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;

    /// Place of the property `name`, or -1.
    int find(const std::string& name) const;
    /// Places of three properties, none of them a list, or false.
    bool find_three(const char* const (&names)[3], std::size_t (&places)[3]) const;
    /// Bytes of a record in a binary file if it has no list, else 0.
    std::size_t fixed_size() const;
    /// The fewest bytes that a record can take.
    std::size_t least_size(PlyFormat format) const;
};

struct PlyHeader {
    PlyFormat format = PlyFormat::ascii;
    std::vector<PlyElement> elements; ///< in file order
    std::size_t body = 0;             ///< byte where the data begin
    std::size_t body_line = 0;        ///< and the line, for ascii files

    /// Whether the body is binary and of the other byte order than this machine.
    bool swap() const;
    /// Place of the list of vertex indices among the properties of a face.
    std::size_t index_list() const;
    /// The element `name`, or null.
    const PlyElement* find(const std::string& name) const;
};

/// Parses the header. Throws InputError for a file of another kind, a malformed header, vertices
/// without x, y and z, faces without a list of indices, and counts for which the file is too short.
PlyHeader read_ply_header(const FileReader& file);

} // namespace KVN::toolkit
