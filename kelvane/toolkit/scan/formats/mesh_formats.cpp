#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/source_file.hpp"
#include "kelvane/toolkit/standard_stream.hpp"

#include <algorithm>
#include <numeric>

namespace KVN::toolkit {

namespace {

constexpr ScanFormat formats[] = {
    {"PLY", ".ply", open_ply, write_ply, true},
    {"STL", ".stl", open_stl, write_stl, false},
    {"OBJ", ".obj", open_obj, write_obj, false},
    {"OFF", ".off", open_off, write_off, false},
};

} // namespace

void require_faces(const std::filesystem::path& file, std::uint64_t faces) {
    if (faces == 0) {
        throw InputError(file.string() + ": is not written, since no face of the scan is left");
    }
}

const ScanFormat& scan_format(const std::filesystem::path& file) {
    const std::string extension = is_standard_stream(file) ? ".ply" : lower_extension(file);
    for (const ScanFormat& format : formats) {
        if (extension == format.extension) {
            return format;
        }
    }
    throw InputError(file.string() + ": not a known kind of mesh file; the name must end in .ply, "
                                     ".stl, .obj or .off");
}

std::string no_such_vertex(std::int64_t vertex, std::uint64_t vertex_count) {
    return "names vertex " + std::to_string(vertex) + ", but there are only " +
           std::to_string(vertex_count) + " (from 0)";
}

void DecodedRecords::add_face(const std::vector<std::int32_t>& polygon) {
    if (polygon.size() != 3 && all_triangles) {
        all_triangles = false; // from here on the numbers differ
        records.resize(corners.size() / 3);
        std::iota(records.begin(), records.end(), std::uint64_t{0});
    }
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        corners.insert(corners.end(), {polygon[0], polygon[i - 1], polygon[i]});
        if (!all_triangles) {
            records.push_back(face_count);
        }
    }
    short_faces += polygon.size() < 3 ? 1 : 0;
    ++face_count;
}

void DecodedRecords::positions_into(std::uint64_t first, std::uint64_t count, float* to) const {
    std::copy_n(positions.data() + 3 * first, 3 * count, to);
}

void DecodedRecords::corners_into(std::uint64_t first, std::uint64_t count,
                                  std::vector<std::int32_t>& to,
                                  std::vector<std::uint64_t>& to_records) const {
    std::uint64_t begin = first;
    std::uint64_t end = first + count;
    to_records.clear();
    if (!all_triangles) {
        const auto from = std::lower_bound(records.begin(), records.end(), first);
        const auto until = std::lower_bound(from, records.end(), first + count);
        begin = static_cast<std::uint64_t>(from - records.begin());
        end = static_cast<std::uint64_t>(until - records.begin());
        to_records.assign(from, until);
    }
    to.assign(corners.data() + 3 * begin, corners.data() + 3 * end);
}

Scan DecodedRecords::to_scan() const {
    Scan scan;
    scan.positions = positions;
    scan.triangles = corners;
    scan.short_faces = static_cast<std::int64_t>(short_faces);
    return scan;
}

const char* DecodedRecords::fault() const {
    if (positions.empty()) {
        return "has no vertices";
    }
    if (corners.empty()) {
        return "has no faces";
    }
    return vertex_count() > max_vertices
               ? "has more vertices than can be told apart by 32-bit indices"
               : nullptr;
}

} // namespace KVN::toolkit
