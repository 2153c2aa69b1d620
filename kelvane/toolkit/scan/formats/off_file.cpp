// OFF: a header word, three counts, one vertex per line, one face per line.
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <cmath>
#include <cstring>
#include <string>

namespace KVN::toolkit {

namespace {

/// A count, for each of which at least `least` bytes must follow somewhere.
std::uint64_t read_count(TextLines& lines, const char* what, std::size_t least) {
    const std::int64_t count = lines.integer(what);
    if (count < 0 || static_cast<std::uint64_t>(count) > lines.bytes_left() / least + 1) {
        lines.fail(std::string(what) + ", " + std::to_string(count) +
                   ", does not fit the length of the file");
    }
    return static_cast<std::uint64_t>(count);
}

void next_record(TextLines& lines, const SourceFile& source, const char* kind, std::uint64_t i) {
    if (!lines.next()) {
        source.fail(std::string("ends before ") + kind + " " + std::to_string(i));
    }
}

/// Steps over the header word and stands before the counts, which may be on the same line.
void pass_header_word(TextLines& lines, const SourceFile& source) {
    const std::string_view word = lines.next() ? lines.word() : std::string_view{};
    if (word.size() < 3 || word.substr(word.size() - 3) != "OFF") {
        source.fail("is no OFF file: it does not begin with 'OFF'");
    }
    // 4OFF and nOFF have coordinates that are not three plain ones.
    if (word.find('4') != std::string_view::npos || word.find('n') != std::string_view::npos) {
        lines.fail(quoted(word) + " is a kind of OFF that cannot be read");
    }
    TextLines ahead = lines;
    const std::string_view next = ahead.word();
    if (next == "BINARY") {
        lines.fail("binary OFF cannot be read");
    }
    if (next.empty() && !lines.next()) {
        source.fail("ends before the counts");
    }
}

std::string position_line(const float* p) {
    return shortest(p[0]) + " " + shortest(p[1]) + " " + shortest(p[2]) + "\n";
}

} // namespace

std::uint64_t coordinate_digest(std::uint64_t digest, float value) {
    std::uint32_t bits = 0xFFFFFFFFU;
    if (!std::isnan(value)) {
        std::memcpy(&bits, &value, sizeof bits);
    }
    return (digest ^ bits) * 0x100000001B3U + 0x9E3779B97F4A7C15U; // the FNV-1a step, kept off 0
}

void add_polygon(Scan& scan, const std::vector<std::int32_t>& corners) {
    if (corners.size() < 3) {
        ++scan.short_faces;
        return;
    }
    for (std::size_t i = 2; i < corners.size(); ++i) {
        scan.triangles.insert(scan.triangles.end(), {corners[0], corners[i - 1], corners[i]});
    }
}

std::string no_such_vertex(std::int64_t vertex, std::uint64_t vertex_count) {
    return "names vertex " + std::to_string(vertex) + ", but there are only " +
           std::to_string(vertex_count) + " (from 0)";
}

Scan read_off(const SourceFile& source) {
    TextLines lines(source, '#');
    pass_header_word(lines, source);
    const std::uint64_t vertex_count = read_count(lines, "the number of vertices", 6);
    const std::uint64_t face_count = read_count(lines, "the number of faces", 2);

    Scan scan;
    scan.positions.reserve(3 * vertex_count);
    for (std::uint64_t v = 0; v < vertex_count; ++v) {
        next_record(lines, source, "vertex", v);
        for (int axis = 0; axis < 3; ++axis) {
            scan.positions.push_back(lines.real("a coordinate"));
        }
    }
    std::vector<std::int32_t> corners;
    for (std::uint64_t f = 0; f < face_count; ++f) {
        next_record(lines, source, "face", f);
        const std::int64_t length = lines.integer("the number of corners");
        corners.clear();
        for (std::int64_t i = 0; i < length; ++i) {
            const std::int64_t vertex = lines.integer("a vertex index");
            if (vertex < 0 || static_cast<std::uint64_t>(vertex) >= vertex_count) {
                lines.fail("face " + std::to_string(f) + " " +
                           no_such_vertex(vertex, vertex_count));
            }
            corners.push_back(static_cast<std::int32_t>(vertex));
        }
        add_polygon(scan, corners);
    }
    return scan;
}

void write_off(OutputFile& out, const Scan& scan) {
    out.write("OFF\n" + std::to_string(scan.vertex_count()) + " " +
              std::to_string(scan.face_count()) + " 0\n");
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        out.write(position_line(scan.positions.data() + 3 * v));
    }
    for (std::size_t i = 0; i < scan.triangles.size(); i += 3) {
        out.write("3 " + std::to_string(scan.triangles[i]) + " " +
                  std::to_string(scan.triangles[i + 1]) + " " +
                  std::to_string(scan.triangles[i + 2]) + "\n");
    }
}

} // namespace KVN::toolkit
