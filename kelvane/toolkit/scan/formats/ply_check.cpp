// The check of a PLY file: one pass over all records, in which every value must be there, every
// value of use must be a number and every index must name a vertex. The two record sources, binary
// and text, give the same values to the same walk.
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/ply_header.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace KVN::toolkit {

namespace {

/// Where in the file the walk is, for messages.
struct Place {
    const std::string* element = nullptr;
    std::uint64_t record = 0;

    std::string text() const { return *element + " " + std::to_string(record); }
};

/// Values out of a binary body.
class BinaryRecords {
  public:
    BinaryRecords(const SourceFile& source, const PlyHeader& header)
        : source_(source), at_(source.bytes.data() + header.body),
          end_(source.bytes.data() + source.bytes.size()), swap_(foreign(header.format)) {}

    void begin(const Place& place) { place_ = place; }
    void end() {}

    float coordinate(PlyType type) {
        if (type == PlyType::float32) {
            return take<float>();
        }
        const double wide =
            type == PlyType::float64 ? take<double>() : static_cast<double>(integer(type));
        if (std::isfinite(wide) && std::abs(wide) > std::numeric_limits<float>::max()) {
            fail("has a coordinate that is too large for single precision");
        }
        return static_cast<float>(wide);
    }

    std::int64_t integer(PlyType type) {
        switch (type) {
        case PlyType::int8:
            return take<std::int8_t>();
        case PlyType::uint8:
            return take<std::uint8_t>();
        case PlyType::int16:
            return take<std::int16_t>();
        case PlyType::uint16:
            return take<std::uint16_t>();
        case PlyType::int32:
            return take<std::int32_t>();
        default:
            return take<std::uint32_t>();
        }
    }

    void skip(PlyType type, std::int64_t count) {
        const std::size_t room = static_cast<std::size_t>(end_ - at_);
        if (static_cast<std::uint64_t>(count) > room / size_of(type)) {
            fail("is cut short: the file ends there");
        }
        at_ += static_cast<std::size_t>(count) * size_of(type);
    }

    /// The largest list that the rest of the file can hold.
    std::int64_t most_entries(PlyType type) const {
        return (end_ - at_) / static_cast<std::ptrdiff_t>(size_of(type));
    }

    [[noreturn]] void fail(const std::string& what) const {
        source_.fail(place_.text() + " " + what);
    }

  private:
    static bool foreign(PlyFormat format) {
        const std::uint16_t probe = 1;
        unsigned char low = 0;
        std::memcpy(&low, &probe, 1);
        return (low == 1) != (format == PlyFormat::little_endian);
    }

    template <class T>
    T take() {
        if (end_ - at_ < static_cast<std::ptrdiff_t>(sizeof(T))) {
            fail("is cut short: the file ends there");
        }
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, at_, sizeof(T));
        if (swap_) {
            std::reverse(bytes, bytes + sizeof(T));
        }
        at_ += sizeof(T);
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    const SourceFile& source_;
    const char* at_;
    const char* end_;
    bool swap_;
    Place place_;
};

/// Values out of a text body, one record per line.
class TextRecords {
  public:
    TextRecords(const SourceFile& source, const PlyHeader& header)
        : source_(source), lines_(source, 0, header.body, header.body_line) {}

    void begin(const Place& place) {
        place_ = place;
        if (!lines_.next()) {
            source_.fail("ends before " + place.text());
        }
    }
    void end() { lines_.expect_end(); }

    float coordinate(PlyType) { return lines_.real("a coordinate"); }
    std::int64_t integer(PlyType) { return lines_.integer("an index or a count"); }

    void skip(PlyType, std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) {
            if (lines_.word().empty()) {
                fail("has fewer values than the header declares");
            }
        }
    }

    std::int64_t most_entries(PlyType) const {
        return static_cast<std::int64_t>(lines_.text().size() / 2); // a digit and a blank each
    }

    [[noreturn]] void fail(const std::string& what) const {
        lines_.fail(place_.text() + " " + what);
    }

  private:
    const SourceFile& source_;
    TextLines lines_;
    Place place_;
};

/// The length of a list, checked against what can follow.
template <class Records>
std::int64_t list_length(Records& records, const PlyProperty& property) {
    const std::int64_t length = records.integer(property.count_type);
    if (length < 0) {
        records.fail("has a list of negative length");
    }
    if (length > records.most_entries(property.type)) {
        records.fail("has a list of " + std::to_string(length) +
                     " entries, more than can follow there");
    }
    return length;
}

template <class Records>
void skip_property(Records& records, const PlyProperty& property) {
    records.skip(property.type, property.is_list ? list_length(records, property) : 1);
}

template <class Records>
void check_vertex(Records& records, const PlyElement& element, FileCounts& counts) {
    float position[3] = {};
    for (const PlyProperty& property : element.properties) {
        if (property.name == "x" || property.name == "y" || property.name == "z") {
            position[property.name[0] - 'x'] = records.coordinate(property.type);
        } else {
            skip_property(records, property);
        }
    }
    for (const float value : position) {
        counts.digest = coordinate_digest(counts.digest, value);
    }
}

template <class Records>
void check_corners(Records& records, const PlyProperty& property, FileCounts& counts) {
    const std::int64_t length = list_length(records, property);
    for (std::int64_t i = 0; i < length; ++i) {
        const std::int64_t index = records.integer(property.type);
        if (index < 0 || static_cast<std::uint64_t>(index) >= counts.vertices) {
            records.fail(no_such_vertex(index, counts.vertices));
        }
    }
    counts.corners += static_cast<std::uint64_t>(length);
}

template <class Records>
void check_face(Records& records, const PlyElement& element, FileCounts& counts) {
    for (const PlyProperty& property : element.properties) {
        if (property.name == "vertex_indices" || property.name == "vertex_index") {
            check_corners(records, property, counts);
        } else {
            skip_property(records, property);
        }
    }
}

template <class Records>
FileCounts check_body(Records records, const PlyHeader& header) {
    FileCounts counts;
    counts.vertices = header.find("vertex")->count;
    counts.faces = header.find("face")->count;
    for (const PlyElement& element : header.elements) {
        const std::uint64_t count = element.properties.empty() ? 0 : element.count;
        for (std::uint64_t i = 0; i < count; ++i) {
            records.begin({&element.name, i});
            if (element.name == "vertex") {
                check_vertex(records, element, counts);
            } else if (element.name == "face") {
                check_face(records, element, counts);
            } else {
                for (const PlyProperty& property : element.properties) {
                    skip_property(records, property);
                }
            }
            records.end();
        }
    }
    return counts;
}

} // namespace

FileCounts check_ply(const SourceFile& source) {
    const PlyHeader header = read_ply_header(source);
    if (header.format == PlyFormat::ascii) {
        return check_body(TextRecords(source, header), header);
    }
    return check_body(BinaryRecords(source, header), header);
}

} // namespace KVN::toolkit
