// The check of an OBJ file: its vertices and faces. Other lines are PCL's to pass over.
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <string>

namespace KVN::toolkit {

namespace {

/// The vertex of a corner "7", "7/1", "7//3" or "-1/2/3", counted from 0; it may be one that does
/// not exist (yet).
std::int64_t corner_vertex(const TextLines& lines, std::string_view corner,
                           std::int64_t vertex_count) {
    std::int64_t number = 0;
    if (!parse_number(corner.substr(0, corner.find('/')), number) || number == 0) {
        lines.fail(quoted(corner) + " is no corner of a face");
    }
    return number > 0 ? number - 1 : vertex_count + number;
}

} // namespace

FileCounts check_obj(const SourceFile& source) {
    FileCounts counts;
    TextLines lines(source, '#');
    // A face may stand before its vertices, so the highest index is judged at the end.
    std::int64_t highest = -1;
    std::size_t highest_line = 0;
    while (lines.next()) {
        const std::string_view keyword = lines.word();
        if (keyword == "v") {
            for (int axis = 0; axis < 3; ++axis) {
                counts.digest = coordinate_digest(counts.digest, lines.real("a coordinate"));
            }
            ++counts.vertices;
        } else if (keyword == "f") {
            ++counts.faces;
            for (auto corner = lines.word(); !corner.empty(); corner = lines.word()) {
                const std::int64_t vertex =
                    corner_vertex(lines, corner, static_cast<std::int64_t>(counts.vertices));
                if (vertex < 0) {
                    lines.fail("the face names a vertex that does not exist: " + quoted(corner));
                }
                if (vertex > highest) {
                    highest = vertex;
                    highest_line = lines.line_number();
                }
                ++counts.corners;
            }
        }
    }
    if (highest >= static_cast<std::int64_t>(counts.vertices)) {
        source.fail("line " + std::to_string(highest_line) + ": the face names vertex " +
                    std::to_string(highest + 1) + ", but there are only " +
                    std::to_string(counts.vertices));
    }
    return counts;
}

} // namespace KVN::toolkit
