// A mesh file that is open: its records, read in pieces, and the way back into a file.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/scan/scan.hpp"
#include "kelvane/toolkit/scan/splice.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// One file and its records.
///
/// A binary PLY file whose faces are all triangles, and a binary STL file, stay on the disk: memory
/// is a buffer, whatever their size, and records of PLY are checked when they are read, each time.
/// Other files are decoded into
/// arrays, and checked, when they are opened. Nothing is mapped: a file that somebody shortens
/// meanwhile gives an InputError, not a signal. All members that are const may be called by several
/// threads at once.
class KELVANE_EXPORT OpenScan {
  public:
    OpenScan(const OpenScan&) = delete;
    OpenScan& operator=(const OpenScan&) = delete;
    virtual ~OpenScan();

    /// At most 2^31 - 1. See loose_corners().
    virtual std::uint64_t vertex_count() const = 0;
    virtual std::uint64_t face_count() const = 0; ///< face records, also those without triangle
    /// Face records without a triangle: fewer than 3 corners, or in STL fewer than 3 different
    /// ones.
    virtual std::uint64_t short_faces() const = 0;
    /// Whether every face record is exactly one triangle, so that both have the same numbers.
    virtual bool all_triangles() const = 0;
    /// Whether, as in binary STL, the vertices are the corners of face records: 3 f, 3 f + 1 and
    /// 3 f + 2 those of record f. Those of equal coordinates are one vertex of the surface, for
    /// which any of them stands in a splice. to_scan() welds them.
    virtual bool loose_corners() const { return false; }
    /// Whether vertices carry normals: a splice for this file should then bring normals along.
    virtual bool has_normals() const { return false; }

    /// Whether records may hold more than coordinates and corners: a splice for this file should
    /// then tell where new ones grow from.
    virtual bool has_properties() const { return true; }

    /// Writes x, y, z of `count` vertices from `first` on to `positions`. float coordinates keep
    /// their bits, doubles are narrowed.
    virtual void positions_into(std::uint64_t first, std::uint64_t count,
                                float* positions) const = 0;
    /// Replaces `corners` by the triangles, three vertices each, of `count` face records from
    /// `first` on: fans from the first corners, in their order. `records` becomes the face record
    /// of each triangle, or empty if all_triangles(), where it would only count.
    virtual void corners_into(std::uint64_t first, std::uint64_t count,
                              std::vector<std::int32_t>& corners,
                              std::vector<std::uint64_t>& records) const = 0;

    /// All of it as arrays, with what properties per vertex and per face the arrays can hold.
    virtual Scan to_scan() const = 0;

  protected:
    OpenScan() = default;

  private:
    friend std::vector<std::string> write_spliced(const OpenScan&, const Splice&,
                                                  const std::filesystem::path&);
    /// Writes the spliced file in the format that it was read in, into `out`.
    virtual void splice_into(class OutputFile& out, const Splice& splice) const = 0;
    /// Brings the vertices that `splice` names to their numbers in `arrays`, which to_scan() made.
    virtual void renumber_for_arrays(const Scan&, Splice&) const {}
    /// What of the file arrays do not hold, in words, for messages.
    virtual std::vector<std::string> beyond_arrays() const { return {}; }
    virtual const std::filesystem::path& path() const = 0;
};

/// Opens and checks a file; read_scan() tells the formats, what is forgiven and what is thrown.
KELVANE_EXPORT std::unique_ptr<OpenScan> open_scan(const std::filesystem::path& file);

/// Writes `scan` as `splice` changes it.
///
/// If `output` has the extension of the input, the new file is of the same kind down to byte order,
/// property types and comments: records that stay are copied byte for byte in their order, with the
/// indices of vertices renumbered where vertices went, and everything else that the file holds is
/// copied too. New vertices stand behind the old ones, new faces behind the old ones.
///
///   .ply  New vertices get their properties by weight, integers rounded; a list from the nearest
///   origin. New faces copy those of their origin. Records of other elements are renumbered where
///   they have integers called `vertex...` (edges), and left out if they name a vertex that is
///   gone. .stl  The header, the attribute bytes and the facet normals stay; new facets get their
///   own normal and the attribute bytes of their origin. .obj  Texture coordinates, normals,
///   groups, materials and all other statements stay. New vertices have the further numbers of a
///   `v` line (colours) mixed; new faces stand at the end, in the group and material of their
///   origin, and refer to no `vt` or `vn`: those of another corner would be wrong there. .off
///   Further numbers per vertex are mixed, those of faces copied from the origin.
///
/// With another extension the scan passes through arrays (write_scan()); the result then says in a
/// sentence each what could not be kept, and is empty otherwise.
///
/// Throws what write_scan() throws, std::invalid_argument for a splice that does not fit, and
/// InputError for an index that the file's own type cannot hold. `output` may be the file itself.
KELVANE_EXPORT std::vector<std::string> write_spliced(const OpenScan& scan, const Splice& splice,
                                                      const std::filesystem::path& output);

} // namespace KVN::toolkit
