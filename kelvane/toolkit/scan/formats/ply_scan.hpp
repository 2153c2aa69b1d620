// A PLY file that is open.
#pragma once

#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/ply_records.hpp"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace KVN::toolkit {

/// Where the records of an element stand in a binary file.
struct PlySection {
    const PlyElement* element = nullptr;
    std::uint64_t begin = 0;
    std::uint64_t stride = 0; ///< bytes per record
};

/// What the writer of a spliced file needs of the one that is open. Elements without a section are
/// walked record by record.
struct PlyParts {
    const FileReader& file;
    const PlyHeader& header;
    const SourceFile& text; ///< the whole file, if it is text
    const std::vector<PlySection>& sections;

    const PlySection* section(const PlyElement& element) const;
    /// A walk that begins with the first record, or at byte `offset` of a binary file.
    std::unique_ptr<PlyRecords> records(std::uint64_t offset) const;
};

/// Writes the file of `parts` as `splice` changes it.
void splice_ply(const PlyParts& parts, const Splice& splice, OutputFile& out);

/// Byte of property `place` within a binary record whose lists, if any, have three entries.
std::size_t place_in_record(const PlyElement& element, std::size_t place);

/// Calls `use` with the first number, the count and the bytes of records, block by block; the bytes
/// may be changed.
template <class Use>
void for_blocks(const FileReader& file, const PlySection& section, std::uint64_t first,
                std::uint64_t count, const Use& use) {
    constexpr std::size_t block_bytes = std::size_t{1} << 18; // stays in the second-level cache
    const std::uint64_t step = std::max<std::uint64_t>(1, block_bytes / section.stride);
    std::vector<char> bytes(static_cast<std::size_t>(std::min(step, count) * section.stride));
    for (std::uint64_t done = 0; done < count; done += step) {
        const std::uint64_t now = std::min(step, count - done);
        file.read(section.begin + (first + done) * section.stride,
                  static_cast<std::size_t>(now * section.stride), bytes.data());
        use(first + done, now, bytes.data());
    }
}

class PlyScan final : public OpenScan {
  public:
    explicit PlyScan(const std::filesystem::path& file);

    std::uint64_t vertex_count() const override { return vertex_->count; }
    std::uint64_t face_count() const override { return face_->count; }
    std::uint64_t short_faces() const override { return decoded_ ? decoded_->short_faces : 0; }
    bool all_triangles() const override { return !decoded_ || decoded_->all_triangles; }
    bool has_normals() const override;
    bool has_properties() const override {
        return vertex_->properties.size() > 3 || face_->properties.size() > 1;
    }
    void positions_into(std::uint64_t first, std::uint64_t count, float* positions) const override;
    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& corners,
                      std::vector<std::uint64_t>& records) const override;
    Scan to_scan() const override;

  private:
    void splice_into(OutputFile& out, const Splice& splice) const override;
    std::vector<std::string> beyond_arrays() const override;
    const std::filesystem::path& path() const override { return file_.path(); }

    PlyParts parts() const { return {file_, header_, text_, sections_}; }
    void find_sections();
    bool is_triangles(std::uint64_t begin) const;
    void decode();
    [[noreturn]] void refuse_corner(std::uint64_t record, std::int64_t vertex) const;

    FileReader file_;
    PlyHeader header_;
    const PlyElement* vertex_;
    const PlyElement* face_;
    SourceFile text_;                      // the whole file, if it is text
    std::vector<PlySection> sections_;     // of a binary file, up to where sizes are not fixed
    const PlySection* vertices_ = nullptr; // set, as is faces_, if records are read on demand
    const PlySection* faces_ = nullptr;
    std::optional<DecodedRecords> decoded_; // otherwise
};

} // namespace KVN::toolkit
