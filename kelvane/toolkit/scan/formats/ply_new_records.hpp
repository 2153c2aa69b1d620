// The records that a splice adds to a PLY file.
#pragma once

#include "kelvane/toolkit/scan/formats/ply_records.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"
#include "kelvane/toolkit/scan/splice.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// Writes `value` behind `bytes` as a number of `type`: binary in the order of the file, or text.
void append_value(std::string& bytes, PlyType type, double value, const PlyHeader& header);

/// Makes vertices and faces out of those that they take their properties from, which have to be
/// noted before.
class PlyNewRecords {
  public:
    PlyNewRecords(const FileReader& file, const PlyHeader& header, const Splice& splice,
                  const Renumbering& renumbering);

    /// An old record that new ones take properties from.
    struct Origin {
        PlyRecord record;
        std::vector<double> values; ///< per property; 0 for a list
    };
    using Origins = std::map<std::uint64_t, Origin>;
    /// The records of `element` that are wanted, by number.
    Origins& origins(const PlyElement& element);
    /// Fills a wanted one from the record that `walk` has just read.
    void note(const PlyElement& element, const PlyRecords& walk, const PlyRecord& record,
              Origin& origin) const;

    /// New vertex or face `k`, in text with `line_end`. Throws InputError if the file's type of
    /// indices is too small for a corner.
    std::string vertex(std::size_t k, const std::string& line_end) const;
    std::string face(std::size_t k, const std::string& line_end) const;

  private:
    double mixed_value(std::size_t k, std::size_t place) const;
    void append(std::string& record, PlyType type, double value) const;
    void append_coordinate(std::string& record, PlyType type, float value) const;
    void append_list(std::string& record, const PlyProperty& property, std::size_t place,
                     const Origin* origin) const;
    void append_corners(std::string& record, const PlyProperty& property, std::size_t k) const;
    std::string finished(std::string record, const std::string& line_end) const;

    const FileReader& file_;
    const PlyHeader& header_;
    const Splice& splice_;
    const Renumbering& renumbering_;
    const PlyElement& vertex_;
    const PlyElement& face_;
    bool text_;
    Origins vertex_origins_;
    Origins face_origins_;
    Origins none_;
};

} // namespace KVN::toolkit
