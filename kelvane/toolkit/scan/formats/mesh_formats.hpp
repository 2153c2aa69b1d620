// The mesh formats behind open_scan() and write_scan(), and what they share.
#pragma once

#include "kelvane/toolkit/scan/formats/output_file.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// One format: its name in messages, the extension of its files, its reader and its writer of
/// arrays. The reader checks all and throws InputError with the first fault.
struct ScanFormat {
    const char* name;
    const char* extension;
    std::unique_ptr<OpenScan> (*open)(const std::filesystem::path& file);
    void (*write)(OutputFile& out, const Scan& scan);
    bool keeps_properties; ///< of arrays
};

/// The format of a file by its name; throws InputError if it is none of ours.
const ScanFormat& scan_format(const std::filesystem::path& file);

/// Throws InputError if a scan of so many faces is none: `file` is not written then.
void require_faces(const std::filesystem::path& file, std::uint64_t faces);

std::unique_ptr<OpenScan> open_ply(const std::filesystem::path& file);
std::unique_ptr<OpenScan> open_stl(const std::filesystem::path& file);
std::unique_ptr<OpenScan> open_obj(const std::filesystem::path& file);
std::unique_ptr<OpenScan> open_off(const std::filesystem::path& file);
void write_ply(OutputFile& out, const Scan& scan);
void write_stl(OutputFile& out, const Scan& scan);
void write_obj(OutputFile& out, const Scan& scan);
void write_off(OutputFile& out, const Scan& scan);

/// The most vertices that the 32-bit indices of a scan can name.
constexpr std::uint64_t max_vertices = 0x7FFFFFFF;

/// "names vertex 9, but there are only 8 (from 0)"
std::string no_such_vertex(std::int64_t vertex, std::uint64_t vertex_count);

/// The decoded records of a file that is not read from the disk piece by piece.
struct DecodedRecords {
    std::vector<float> positions;
    std::vector<std::int32_t> corners;  ///< of triangles
    std::vector<std::uint64_t> records; ///< per triangle, unless all are triangles
    bool all_triangles = true;          ///< record i is triangle i
    std::uint64_t face_count = 0;
    std::uint64_t short_faces = 0;

    std::uint64_t vertex_count() const { return positions.size() / 3; }
    /// Adds a face record as a fan from its first corner; one with fewer than 3 corners is counted.
    void add_face(const std::vector<std::int32_t>& polygon);
    void positions_into(std::uint64_t first, std::uint64_t count, float* to) const;
    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& to,
                      std::vector<std::uint64_t>& to_records) const;
    Scan to_scan() const;
    /// What is wrong with these records as a scan, or null.
    const char* fault() const;
};

/// An open scan over decoded records.
class DecodedScan : public OpenScan {
  public:
    std::uint64_t vertex_count() const override { return decoded_.vertex_count(); }
    std::uint64_t face_count() const override { return decoded_.face_count; }
    std::uint64_t short_faces() const override { return decoded_.short_faces; }
    bool all_triangles() const override { return decoded_.all_triangles; }
    void positions_into(std::uint64_t first, std::uint64_t count, float* to) const override {
        decoded_.positions_into(first, count, to);
    }
    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& corners,
                      std::vector<std::uint64_t>& records) const override {
        decoded_.corners_into(first, count, corners, records);
    }
    Scan to_scan() const override { return decoded_.to_scan(); }

  protected:
    DecodedRecords decoded_;
};

} // namespace KVN::toolkit
