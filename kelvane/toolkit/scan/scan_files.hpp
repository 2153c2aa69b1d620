// Scans in and out of mesh files: PLY, STL, OBJ and OFF, told apart by the extension of the name.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <filesystem>

namespace KVN::toolkit {

/// The name "-" stands for standard input, or standard output, as PLY.
///
/// Reads a scan. open_scan() reads the same files piece by piece and carries through what arrays
/// cannot hold.
///
///   .ply  ascii or binary, either byte order, coordinates of any number type; doubles are narrowed
///   .stl  ascii or binary; corners at exactly equal coordinates become one vertex
///   .obj  `v` and `f` statements; negative indices count from the end
///   .off  with or without further values per vertex and colours per face
///
/// float coordinates keep their bits. Polygons become fans from their first corner; faces with
/// fewer than 3 corners are left out and counted. Vertices keep the order of the file, also those
/// that no face uses, and coordinates that are not finite are allowed, but in STL. Numbers per
/// vertex and per face of a PLY file become properties; the triangles of a polygon share its own.
/// So do the colours behind the coordinates of an OBJ file, three numbers at every vertex, and the
/// normals and colours that the first word of an OFF file (N, C) tells of.
/// Anything else that a file may hold (lists, texture, groups) is left out. Text may have line ends
/// of either kind, blank lines, tabs, a mark of byte order, comments behind data, and a last line
/// without end; OBJ also lines that a backslash continues.
///
/// Throws InputError for a file that is missing, empty, a directory, of another kind, damaged or
/// cut short, without vertices or without faces, or in which a face names a vertex that does not
/// exist: one line with the file, the line or record, and the fault. A count that promises more
/// than the file can hold is found before memory is asked for. Throws SystemError if the system
/// refuses to read.
KELVANE_EXPORT Scan read_scan(const std::filesystem::path& file);

/// Writes a scan: PLY binary in the byte order of the machine, with all properties; STL binary, OBJ
/// and OFF as text with as many digits as bring the same float back, without properties. PLY, OBJ
/// and OFF keep every vertex in its order, bit for bit; STL knows no vertices, so unused ones and
/// the order are lost there.
///
/// The data go to a new file beside `file`, which is renamed when all is on disk: after a failure
/// the old file is as it was and nothing else is left. A link is followed; a device or pipe is
/// written to directly. Throws InputError for an unknown extension, a name that is a directory, or
/// a scan without faces, SystemError if the system refuses.
KELVANE_EXPORT void write_scan(const std::filesystem::path& file, const Scan& scan);

/// Throws what write_scan() would throw for `file` before it writes the first byte: an early look
/// whether the place can be written to. Nothing is left behind.
KELVANE_EXPORT void check_scan_output(const std::filesystem::path& file);

} // namespace KVN::toolkit
