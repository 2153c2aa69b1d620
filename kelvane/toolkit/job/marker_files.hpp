// Lists of markers and of blocks, as CSV or JSON.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <filesystem>
#include <vector>

namespace KVN::toolkit {

/// A sphere to be cut out of a scan.
struct Block {
    float x;      ///< centre
    float y;      ///< centre
    float z;      ///< centre
    float radius; ///< in the mesh's unit
};

/// Reads markers: centre, normal, radius.
///
/// A name that ends in .json holds an array of objects with the members x, y, z, nx, ny, nz and
/// radius, or an object whose member "markers" is that array. Anything else is CSV: a header with
/// these seven names in any order, then one marker per line. Spaces, blank lines, lines that begin
/// with '#', a byte order mark and carriage returns are let through. A decimal point is a point in
/// every locale.
///
/// Throws InputError with file and line (JSON: number of the record) for a missing, unknown or
/// repeated column, a wrong number of fields, a value that is no finite number, a radius that is
/// not above 0, a normal of length 0, an empty file. A list without markers is allowed where the
/// header or the array stands. Throws SystemError if the system refuses to read.
KELVANE_EXPORT std::vector<Marker> read_markers(const std::filesystem::path& file);

/// Reads blocks in the same way: x, y, z, radius; the JSON member is "blocks".
KELVANE_EXPORT std::vector<Block> read_blocks(const std::filesystem::path& file);

/// Writes markers as CSV that read_markers brings back bit for bit. Written beside its place and
/// renamed. Throws SystemError if the system refuses.
KELVANE_EXPORT void write_markers(const std::filesystem::path& file,
                                  const std::vector<Marker>& markers);

} // namespace KVN::toolkit
