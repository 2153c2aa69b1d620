// A PLY file written again as a splice changes it.
#include "kelvane/toolkit/scan/formats/ply_new_records.hpp"
#include "kelvane/toolkit/scan/formats/ply_scan.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

namespace KVN::toolkit {

namespace {

/// Properties that name vertices: the corners of faces, and integers called vertex1, vertex2, ...
/// of edges and other elements.
std::vector<std::size_t> reference_places(const PlyElement& element, const PlyHeader& header) {
    std::vector<std::size_t> places;
    if (element.name == "face") {
        places.push_back(header.index_list());
    } else if (element.name != "vertex") {
        for (std::size_t i = 0; i < element.properties.size(); ++i) {
            const PlyProperty& property = element.properties[i];
            if (property.name.rfind("vertex", 0) == 0 && is_integer(property.type)) {
                places.push_back(i);
            }
        }
    }
    return places;
}

class PlySplicer {
  public:
    PlySplicer(const PlyParts& parts, const Splice& splice, OutputFile& out)
        : parts_(parts), header_(parts.header), splice_(splice), out_(out),
          text_(header_.format == PlyFormat::ascii),
          renumbering_(header_.find("vertex")->count, splice.vertices_gone),
          new_records_(parts.file, header_, splice, renumbering_) {}

    void run() {
        counting_ = true;
        write_body();
        counting_ = false;
        write_header();
        const std::vector<std::uint64_t> promised = counts_;
        write_body();
        if (counts_ != promised) {
            parts_.file.fail("has changed while it was read");
        }
    }

  private:
    void write(std::string_view bytes) {
        if (counting_ || bytes.empty()) {
            return;
        }
        if (text_ && last_byte_ != '\n') {
            out_.write("\n"); // the old file's last line may lack its end
        }
        out_.write(bytes);
        last_byte_ = bytes.back();
    }

    /// The old header with the new counts.
    void write_header() {
        const SourceFile head{{}, parts_.file.read(0, header_.body)};
        line_end_ = head.bytes.find("\r\n") < head.bytes.find('\n') ? "\r\n" : "\n";
        TextLines lines(head, 0);
        std::size_t done = 0;
        std::size_t element = 0;
        while (lines.next()) {
            if (lines.word() == "element") {
                lines.word();
                const std::string_view count = lines.word();
                const auto at = static_cast<std::size_t>(count.data() - head.bytes.data());
                write(std::string_view(head.bytes).substr(done, at - done));
                last_byte_ = '\n'; // the number goes on in the same line
                write(std::to_string(counts_[element++]));
                last_byte_ = '\n';
                done = at + count.size();
            }
        }
        write(std::string_view(head.bytes).substr(done));
    }

    void write_body() {
        counts_.clear();
        std::uint64_t offset = header_.body;
        std::unique_ptr<PlyRecords> walk; // of all that follows an element without fixed size
        for (const PlyElement& element : header_.elements) {
            kept_ = 0;
            next_gone_ = 0;
            if (const PlySection* section = parts_.section(element)) {
                write_fixed(*section);
                offset = section->begin + element.count * section->stride;
            } else if (!element.properties.empty()) {
                walk = walk ? std::move(walk) : parts_.records(offset);
                write_walked(element, *walk);
                offset = walk->offset();
            } else {
                kept_ = element.count;
            }
            write_new(element);
            counts_.push_back(kept_);
        }
        copy_rest(offset);
    }

    /// Whatever follows the last record.
    void copy_rest(std::uint64_t offset) {
        constexpr std::uint64_t chunk = std::uint64_t{1} << 20;
        for (const std::uint64_t size = parts_.file.size(); offset < size && !counting_;) {
            const auto count = static_cast<std::size_t>(std::min(chunk, size - offset));
            write(parts_.file.read(offset, count));
            offset += count;
        }
    }

    /// The next record of `element` that the splice lists as gone, from `next_gone_` on.
    std::uint64_t next_listed(const PlyElement& element) const {
        constexpr std::uint64_t none = std::numeric_limits<std::uint64_t>::max();
        if (element.name == "vertex") {
            return next_gone_ < splice_.vertices_gone.size() ? splice_.vertices_gone[next_gone_]
                                                             : none;
        }
        return element.name == "face" && next_gone_ < splice_.faces_gone.size()
                   ? splice_.faces_gone[next_gone_]
                   : none;
    }

    // --- records of fixed size, block by block ---

    void write_fixed(const PlySection& section) {
        const PlyElement& element = *section.element;
        for (auto& [number, origin] : new_records_.origins(element)) {
            const auto walk =
                binary_records(parts_.file, header_, section.begin + number * section.stride, 1);
            PlyRecord record;
            walk->next(element, number, record);
            new_records_.note(element, *walk, record, origin);
        }
        const std::vector<std::size_t> references = reference_places(element, header_);
        const bool listed = references.empty() || renumbering_.none_gone() ||
                            (element.name == "face" && splice_.lists_all_faces);
        if (counting_ && listed) {
            kept_ = element.count - (element.name == "vertex" ? splice_.vertices_gone.size()
                                     : element.name == "face" ? splice_.faces_gone.size()
                                                              : 0);
            return;
        }
        const auto write_block = [&](std::uint64_t first, std::uint64_t count, char* bytes) {
            goes_.assign(count, 0);
            for (std::uint64_t i = next_listed(element); i < first + count;
                 i = next_listed(element)) {
                goes_[i - first] = 1;
                ++next_gone_;
            }
            for (const std::size_t place : references) {
                renumber_column(element, place, section.stride, bytes);
            }
            write({bytes, close_up(section.stride, bytes)});
        };
        for_blocks(parts_.file, section, 0, element.count, write_block);
    }

    /// Renumbers the vertices that property `place` names in a block of records, and marks those
    /// records that name one that is gone.
    void renumber_column(const PlyElement& element, std::size_t place, std::uint64_t stride,
                         char* bytes) {
        if (renumbering_.none_gone()) {
            return;
        }
        const PlyProperty& property = element.properties[place];
        const std::size_t at =
            place_in_record(element, place) + (property.is_list ? size_of(property.count_type) : 0);
        const std::size_t entries = property.is_list ? 3 : 1;
        const bool swap = header_.swap();
        with_type(property.type, [&](auto zero) {
            using T = decltype(zero);
            for (std::size_t i = 0; i < goes_.size(); ++i) {
                bool goes = false;
                for (std::size_t c = 0; c < entries; ++c) {
                    char* value = bytes + i * stride + at + c * sizeof(T);
                    const auto vertex = static_cast<std::int64_t>(load<T>(value, swap));
                    if (vertex < 0) {
                        continue;
                    }
                    const auto old = static_cast<std::uint64_t>(vertex);
                    goes = goes || renumbering_.is_gone(old);
                    store(static_cast<T>(renumbering_(old)), swap, value);
                }
                goes_[i] |= goes ? 1 : 0;
            }
            return 0;
        });
    }

    /// Moves the records that stay together; returns the bytes that they take.
    std::size_t close_up(std::uint64_t stride, char* bytes) {
        char* to = bytes;
        for (std::size_t i = 0; i < goes_.size();) {
            std::size_t end = i;
            while (end < goes_.size() && goes_[end] == 0) {
                ++end;
            }
            const std::size_t size = (end - i) * stride;
            if (to != bytes + i * stride) {
                std::memmove(to, bytes + i * stride, size);
            }
            to += size;
            kept_ += end - i;
            i = end + 1;
        }
        return static_cast<std::size_t>(to - bytes);
    }

    // --- records one by one ---

    void write_walked(const PlyElement& element, PlyRecords& walk) {
        const std::vector<std::size_t> references = reference_places(element, header_);
        PlyRecord record;
        std::string changed;
        auto& origins = new_records_.origins(element);
        auto next_origin = origins.begin();
        for (std::uint64_t i = 0; i < element.count; ++i) {
            walk.next(element, i, record);
            if (next_origin != origins.end() && next_origin->first == i) {
                new_records_.note(element, walk, record, next_origin->second);
                ++next_origin;
            }
            const bool listed = next_listed(element) == i;
            next_gone_ += listed ? 1 : 0;
            if (listed || !renumbered(element, references, walk, record, changed)) {
                continue;
            }
            write(changed);
            ++kept_;
        }
    }

    /// The record with its vertices renumbered; false if one of them is gone.
    bool renumbered(const PlyElement& element, const std::vector<std::size_t>& references,
                    const PlyRecords& walk, const PlyRecord& record, std::string& changed) {
        changed.clear();
        std::size_t done = 0;
        for (const std::size_t place : references) {
            const PlyType type = element.properties[place].type;
            for (std::size_t v = record.first[place]; v < record.first[place + 1]; ++v) {
                const std::int64_t vertex = walk.integer(record.value(v), type);
                if (vertex < 0) {
                    continue;
                }
                const auto old = static_cast<std::uint64_t>(vertex);
                if (renumbering_.is_gone(old)) {
                    return false;
                }
                if (renumbering_(old) != old) {
                    const Slice& slice = record.values[v];
                    changed.append(record.raw, done, slice.begin - done);
                    append_value(changed, type, static_cast<double>(renumbering_(old)), header_);
                    done = slice.begin + slice.size;
                }
            }
        }
        changed.append(record.raw, done);
        return true;
    }

    void write_new(const PlyElement& element) {
        const std::size_t count = element.name == "vertex" ? splice_.new_vertex_count()
                                  : element.name == "face" ? splice_.faces.size()
                                                           : 0;
        for (std::size_t k = 0; k < count && !counting_; ++k) {
            write(element.name == "vertex" ? new_records_.vertex(k, line_end_)
                                           : new_records_.face(k, line_end_));
        }
        kept_ += count;
    }

    const PlyParts& parts_;
    const PlyHeader& header_;
    const Splice& splice_;
    OutputFile& out_;
    bool text_;
    Renumbering renumbering_;
    PlyNewRecords new_records_;
    bool counting_ = false;             // the first of two walks, which writes nothing
    std::vector<std::uint64_t> counts_; // per element
    std::uint64_t kept_ = 0;            // records of the current element
    std::size_t next_gone_ = 0;         // place in its list of those that go
    std::vector<char> goes_;            // per record of a block
    char last_byte_ = '\n';
    std::string line_end_ = "\n";
};

} // namespace

void splice_ply(const PlyParts& parts, const Splice& splice, OutputFile& out) {
    PlySplicer(parts, splice, out).run();
}

} // namespace KVN::toolkit
