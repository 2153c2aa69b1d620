// The records of a PLY body one by one, text or binary alike.
#pragma once

#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/formats/ply_header.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace KVN::toolkit {

/// Where a value stands within its record.
struct Slice {
    std::size_t begin = 0;
    std::size_t size = 0;
};

/// A record as it stands in the file, with its values found. Values of property p are
/// first[p] up to first[p + 1]; a list's length stands before them.
struct PlyRecord {
    std::string raw; ///< a line with its end, or the bytes
    std::vector<Slice> values;
    std::vector<std::size_t> first;

    std::string_view value(std::size_t i) const {
        return std::string_view(raw).substr(values[i].begin, values[i].size);
    }
};

/// Walks records in the order of the file.
class PlyRecords {
  public:
    virtual ~PlyRecords() = default;
    /// Reads record `number` of `element` from where the last one ended. Throws InputError with
    /// the place if it is not complete.
    virtual void next(const PlyElement& element, std::uint64_t number, PlyRecord& record) = 0;
    /// Byte behind the last record.
    virtual std::uint64_t offset() const = 0;

    /// What a value of the current record says; throws InputError if it says nothing of the kind.
    virtual double number(std::string_view value, PlyType type) const = 0;
    virtual float coordinate(std::string_view value, PlyType type) const = 0;
    virtual std::int64_t integer(std::string_view value, PlyType type) const = 0;
    /// Throws InputError with the current record's place.
    [[noreturn]] virtual void fail(const std::string& what) const = 0;
};

/// Records from byte `offset` of `file` on, for a binary body, read `ahead` bytes or more at a
/// time. `file` and `header` must stay.
std::unique_ptr<PlyRecords> binary_records(const FileReader& file, const PlyHeader& header,
                                           std::uint64_t offset, std::size_t ahead);
/// Records of a text body.
std::unique_ptr<PlyRecords> text_records(const SourceFile& file, const PlyHeader& header);

/// A double as a coordinate; false if it is finite and too large for a float.
bool narrow(double wide, float& value);

} // namespace KVN::toolkit
