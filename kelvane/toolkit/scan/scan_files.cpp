#include "kelvane/toolkit/scan/scan_files.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/pcl_bridge.hpp"

#include <string>

namespace KVN::toolkit {

namespace {

/// A mesh format, by the extension of its files.
struct Format {
    const char* extension;
    FileCounts (*check)(const SourceFile&); // null for the format that PCL does not have
    PclFormat pcl;
};

constexpr Format formats[] = {
    {".ply", check_ply, PclFormat::ply},
    {".stl", check_stl, PclFormat::stl},
    {".obj", check_obj, PclFormat::obj},
    {".off", nullptr, {}},
};

const Format& format_of(const std::filesystem::path& file) {
    const std::string extension = lower_extension(file);
    for (const Format& format : formats) {
        if (extension == format.extension) {
            return format;
        }
    }
    throw InputError(file.string() + ": not a known kind of mesh file; the name must end in .ply, "
                                     ".stl, .obj or .off");
}

void require(const SourceFile& source, std::uint64_t vertices, std::uint64_t faces) {
    if (vertices == 0) {
        source.fail("has no vertices");
    }
    if (faces == 0) {
        source.fail("has no faces");
    }
    if (vertices > max_vertices) {
        source.fail("has more vertices than can be told apart by 32-bit indices");
    }
}

/// Whether PCL found the coordinates that the check found. It mixes up the places of a vertex's
/// values where a file has one colour channel without the others, for example.
bool same_coordinates(const Scan& scan, std::uint64_t expected) {
    std::uint64_t digest = 0;
    for (const float value : scan.positions) {
        digest = coordinate_digest(digest, value);
    }
    return digest == expected;
}

/// Reads by PCL what has passed its check.
Scan read_checked(const std::filesystem::path& file, const Format& format, SourceFile source) {
    const FileCounts counts = format.check(source);
    const bool welded = format.pcl == PclFormat::stl;
    require(source, welded ? counts.faces : counts.vertices, counts.faces);
    source.bytes = {}; // PCL reads the file for itself
    PclScan read = pcl_read(format.pcl, file);
    // Types of lists that PCL does not know come back as empty polygons, and it says nothing.
    if (read.polygons != counts.faces || read.corners != counts.corners ||
        (!welded && read.scan.vertex_count() != counts.vertices)) {
        source.fail("holds " + std::to_string(counts.faces) + " faces, of which only " +
                    std::to_string(read.scan.face_count()) +
                    " could be read; their number types may be unusual ones");
    }
    if (!welded && !same_coordinates(read.scan, counts.digest)) {
        source.fail("has an arrangement of vertex properties that cannot be read");
    }
    require(source, read.scan.vertex_count(), read.scan.face_count()); // all may be too short
    read.scan.short_faces += static_cast<std::int64_t>(counts.collapsed);
    return std::move(read.scan);
}

} // namespace

Scan read_scan(const std::filesystem::path& file) {
    const Format& format = format_of(file);
    SourceFile source = load_source(file);
    if (format.check != nullptr) {
        return read_checked(file, format, std::move(source));
    }
    Scan scan = read_off(source);
    require(source, scan.vertex_count(), scan.face_count());
    return scan;
}

void write_scan(const std::filesystem::path& file, const Scan& scan) {
    const Format& format = format_of(file);
    if (scan.face_count() == 0) {
        throw InputError(file.string() + ": is not written, since no face of the scan is left");
    }
    OutputFile out(file);
    if (format.check == nullptr) {
        write_off(out, scan);
    } else if (!pcl_write(format.pcl, out.path(), scan)) {
        throw SystemError(file.string() + ": cannot be written: no space, or the device failed");
    }
    out.commit();
}

void check_scan_output(const std::filesystem::path& file) {
    format_of(file);
    const OutputFile probe(file); // leaves nothing behind without a commit
}

} // namespace KVN::toolkit
