// Arrays as new files.
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/ply_numbers.hpp"
#include "kelvane/toolkit/scan/formats/stl_facet.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <array>
#include <string>

namespace KVN::toolkit {

namespace {

constexpr const char* type_names[] = {"char", "uchar", "short", "ushort",
                                      "int",  "uint",  "float", "double"};

void declare(std::string& header, const std::vector<Property>& properties) {
    for (const Property& property : properties) {
        header += std::string("property ") + type_names[property.values.index()] + " " +
                  property.name + "\n";
    }
}

void put_properties(OutputFile& out, const std::vector<Property>& properties, std::size_t i) {
    for (const Property& property : properties) {
        std::visit([&](const auto& values) { out.write(&values[i], sizeof values[i]); },
                   property.values);
    }
}

std::string position_text(const float* p) {
    return shortest(p[0]) + " " + shortest(p[1]) + " " + shortest(p[2]) + "\n";
}

/// "3 0 1 2" with `first` as the number of the first vertex.
std::string corner_text(const std::int32_t* corners, std::int32_t first) {
    return std::to_string(corners[0] + first) + " " + std::to_string(corners[1] + first) + " " +
           std::to_string(corners[2] + first) + "\n";
}

bool little_endian() {
    const std::uint16_t probe = 1;
    return *reinterpret_cast<const unsigned char*>(&probe) == 1;
}

} // namespace

void write_ply(OutputFile& out, const Scan& scan) {
    std::string header = std::string("ply\nformat binary_") + (little_endian() ? "little" : "big") +
                         "_endian 1.0\nelement vertex " + std::to_string(scan.vertex_count()) +
                         "\nproperty float x\nproperty float y\nproperty float z\n";
    declare(header, scan.vertex_properties);
    header += "element face " + std::to_string(scan.face_count()) +
              "\nproperty list uchar int vertex_indices\n";
    declare(header, scan.face_properties);
    out.write(header + "end_header\n");
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        out.write(&scan.positions[3 * v], 3 * sizeof(float));
        put_properties(out, scan.vertex_properties, v);
    }
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        char record[13] = {3};
        std::memcpy(record + 1, &scan.triangles[3 * f], 12);
        out.write(record, sizeof record);
        put_properties(out, scan.face_properties, f);
    }
}

void write_stl(OutputFile& out, const Scan& scan) {
    char header[84] = {};
    store(static_cast<std::uint32_t>(scan.face_count()), !little_endian(), header + 80);
    out.write(header, sizeof header);
    for (std::size_t i = 0; i < scan.triangles.size(); i += 3) {
        const auto corner = [&](std::size_t c) {
            const float* p = &scan.positions[3 * static_cast<std::size_t>(scan.triangles[i + c])];
            return StlPoint{p[0], p[1], p[2]};
        };
        out.write(stl_record({corner(0), corner(1), corner(2)}, 0));
    }
}

void write_obj(OutputFile& out, const Scan& scan) {
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        out.write("v " + position_text(&scan.positions[3 * v]));
    }
    for (std::size_t i = 0; i < scan.triangles.size(); i += 3) {
        out.write("f " + corner_text(&scan.triangles[i], 1));
    }
}

void write_off(OutputFile& out, const Scan& scan) {
    out.write("OFF\n" + std::to_string(scan.vertex_count()) + " " +
              std::to_string(scan.face_count()) + " 0\n");
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        out.write(position_text(&scan.positions[3 * v]));
    }
    for (std::size_t i = 0; i < scan.triangles.size(); i += 3) {
        out.write("3 " + corner_text(&scan.triangles[i], 0));
    }
}

} // namespace KVN::toolkit
