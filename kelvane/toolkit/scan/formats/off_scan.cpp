// OFF: a header word, three counts, one vertex per line, one face per line.
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"
#include "kelvane/toolkit/scan/formats/vertex_columns.hpp"
#include "kelvane/toolkit/scan/formats/vertex_extras.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"

#include <unordered_map>

namespace KVN::toolkit {

namespace {

/// A count, for each of which at least `least` bytes must follow somewhere.
std::uint64_t read_count(TextLines& lines, const char* what, std::size_t least) {
    const std::int64_t count = lines.integer(what);
    if (count < 0 || static_cast<std::uint64_t>(count) > lines.bytes_left() / least + 1) {
        lines.fail(std::string(what) + ", " + std::to_string(count) +
                   ", does not fit the length of the file");
    }
    return static_cast<std::uint64_t>(count);
}

void next_record(TextLines& lines, const SourceFile& source, const char* kind, std::uint64_t i) {
    if (!lines.next()) {
        source.fail(std::string("ends before ") + kind + " " + std::to_string(i));
    }
}

/// Steps over the header word, which it returns, and stands before the counts, which may be on the
/// same line.
std::string_view pass_header_word(TextLines& lines, const SourceFile& source) {
    const std::string_view word = lines.next() ? lines.word() : std::string_view{};
    if (word.size() < 3 || word.substr(word.size() - 3) != "OFF") {
        source.fail("is no OFF file: it does not begin with 'OFF'");
    }
    // 4OFF and nOFF have coordinates that are not three plain ones.
    if (word.find('4') != std::string_view::npos || word.find('n') != std::string_view::npos) {
        lines.fail(quoted(word) + " is a kind of OFF that cannot be read");
    }
    TextLines ahead = lines;
    const std::string_view next = ahead.word();
    if (next == "BINARY") {
        lines.fail("binary OFF cannot be read");
    }
    if (next.empty() && !lines.next()) {
        source.fail("ends before the counts");
    }
    return word;
}

class OffScan final : public DecodedScan {
  public:
    explicit OffScan(const std::filesystem::path& file) : path_(file), text_(load_source(file)) {
        TextLines lines(text_, '#');
        word_ = std::string(pass_header_word(lines, text_));
        vertices_ = read_count(lines, "the number of vertices", 6);
        const std::uint64_t faces = read_count(lines, "the number of faces", 2);
        decoded_.positions.reserve(3 * vertices_);
        for (std::uint64_t v = 0; v < vertices_; ++v) {
            next_record(lines, text_, "vertex", v);
            for (int axis = 0; axis < 3; ++axis) {
                decoded_.positions.push_back(lines.real("a coordinate"));
            }
        }
        std::vector<std::int32_t> corners;
        for (std::uint64_t f = 0; f < faces; ++f) {
            next_record(lines, text_, "face", f);
            read_corners(lines, f, corners);
            decoded_.add_face(corners);
            of_faces_ = of_faces_ || !lines.word().empty();
        }
        if (const char* fault = decoded_.fault()) {
            text_.fail(fault);
        }
    }

    bool has_normals() const override { return word_.find('N') != std::string::npos; }

    /// The header's word tells what stands behind the coordinates: normals, then colours.
    Scan to_scan() const override {
        Scan scan = DecodedScan::to_scan();
        const VertexColumns columns = columns_of_vertices();
        const std::size_t colour_at = has_normals() ? 3 : 0;
        if (has_normals() && columns.width() >= colour_at) {
            scan.vertex_properties = columns.named(0, {"nx", "ny", "nz"});
        }
        if (word_.find('C') != std::string::npos && columns.width() >= colour_at + 3) {
            std::vector<std::string> names = {"red", "green", "blue"};
            if (columns.width() > colour_at + 3) {
                names.push_back("alpha");
            }
            const std::vector<Property> colours = columns.named(colour_at, names);
            scan.vertex_properties.insert(scan.vertex_properties.end(), colours.begin(),
                                          colours.end());
        }
        return scan;
    }

  private:
    void read_corners(TextLines& lines, std::uint64_t face,
                      std::vector<std::int32_t>& corners) const {
        const std::int64_t length = lines.integer("the number of corners");
        corners.clear();
        for (std::int64_t i = 0; i < length; ++i) {
            const std::int64_t vertex = lines.integer("a vertex index");
            if (vertex < 0 || static_cast<std::uint64_t>(vertex) >= vertices_) {
                lines.fail("face " + std::to_string(face) + " " +
                           no_such_vertex(vertex, vertices_));
            }
            corners.push_back(static_cast<std::int32_t>(vertex));
        }
    }

    VertexColumns columns_of_vertices() const {
        TextLines lines(text_, '#');
        pass_header_word(lines, text_);
        VertexColumns columns;
        std::vector<std::string_view> words;
        for (std::uint64_t v = 0; v < vertices_; ++v) {
            next_record(lines, text_, "vertex", v);
            words.clear();
            for (auto word = lines.word(); !word.empty(); word = lines.word()) {
                words.push_back(word);
            }
            columns.add(words.data() + 3, words.data() + words.size());
        }
        return columns;
    }

    void splice_into(OutputFile& out, const Splice& splice) const override;
    std::vector<std::string> beyond_arrays() const override {
        std::vector<std::string> held;
        if (to_scan().vertex_properties.size() < columns_of_vertices().width()) {
            held.push_back("numbers behind coordinates that the header does not tell of");
        }
        if (of_faces_) {
            held.push_back("colours and other numbers behind the corners of faces");
        }
        return held;
    }
    const std::filesystem::path& path() const override { return path_; }

    std::filesystem::path path_;
    SourceFile text_;
    std::string word_; // of the header
    std::uint64_t vertices_ = 0;
    bool of_faces_ = false; // there is more than corners in lines of faces
};

/// Writes an OFF file again as a splice changes it. The records are collected first: only then are
/// the counts known that stand before them.
class OffSplicer {
  public:
    OffSplicer(const SourceFile& text, const OffScan& scan, const Splice& splice)
        : all_(text.bytes), scan_(scan), splice_(splice), lines_(text, '#'),
          line_end_(all_.find("\r\n") != std::string_view::npos ? "\r\n" : "\n"),
          renumbering_(scan.vertex_count(), splice.vertices_gone),
          extras_(splice, true, scan.has_normals() ? 0 : -1) {
        for (const std::uint64_t face : splice.face_origin) {
            behind_corners_[face];
        }
        pass_header_word(lines_, text);
    }

    void write(OutputFile& out) {
        const std::size_t vertex_word = offset_of(lines_.word());
        const std::size_t face_word = offset_of(lines_.word());
        const std::size_t records = lines_.offset();
        take_vertices();
        const std::uint64_t faces = take_faces();
        out.write(all_.substr(0, vertex_word));
        out.write(std::to_string(renumbering_.kept() + splice_.new_vertex_count()));
        out.write(all_.substr(number_end(vertex_word), face_word - number_end(vertex_word)));
        out.write(std::to_string(faces));
        out.write(all_.substr(number_end(face_word), records - number_end(face_word)));
        out.write(body_);
        out.write(all_.substr(lines_.offset()));
    }

  private:
    std::size_t offset_of(std::string_view word) const {
        return static_cast<std::size_t>(word.data() - all_.data());
    }
    std::size_t number_end(std::size_t offset) const {
        return all_.find_first_not_of("+0123456789", offset);
    }

    void add_line(std::string_view changed, std::string_view rest) {
        if (!body_.empty() && body_.back() != '\n') {
            body_ += line_end_; // the old file's last line may lack its end
        }
        body_ += changed;
        body_ += rest;
    }

    void take_vertices() {
        std::vector<std::string_view> words;
        for (std::uint64_t v = 0; v < scan_.vertex_count(); ++v) {
            const std::size_t begin = lines_.offset();
            lines_.next();
            words.clear();
            for (auto word = lines_.word(); !word.empty(); word = lines_.word()) {
                words.push_back(word);
            }
            extras_.pass(v, words.data() + 3, words.data() + words.size());
            if (!renumbering_.is_gone(v)) {
                add_line({}, all_.substr(begin, lines_.offset() - begin));
            }
        }
        for (std::size_t k = 0; k < splice_.new_vertex_count(); ++k) {
            add_line(extras_.position_and_extras(k).substr(1), line_end_);
        }
    }

    /// Returns how many faces there are then.
    std::uint64_t take_faces() {
        std::uint64_t count = splice_.faces.size();
        auto gone = splice_.faces_gone.begin();
        for (std::uint64_t f = 0; f < scan_.face_count(); ++f) {
            const bool listed = gone != splice_.faces_gone.end() && *gone == f;
            gone += listed ? 1 : 0;
            count += take_face(f, listed) ? 1 : 0;
        }
        for (std::size_t k = 0; k < splice_.faces.size(); ++k) {
            std::string line = "3";
            for (const std::uint32_t corner : splice_.faces[k]) {
                line += " " + std::to_string(renumbering_(corner));
            }
            line += splice_.face_origin.empty() ? "" : behind_corners_[splice_.face_origin[k]];
            add_line(line, line_end_);
        }
        return count;
    }

    /// Adds the next face with its corners renumbered, unless it goes.
    bool take_face(std::uint64_t face, bool goes) {
        std::size_t done = lines_.offset();
        std::string changed;
        lines_.next();
        const std::int64_t length = lines_.integer("the number of corners");
        for (std::int64_t i = 0; i < length; ++i) {
            const std::string_view word = lines_.word();
            std::int64_t vertex = 0;
            parse_number(word, vertex); // which the scan has seen to be one
            const auto old = static_cast<std::uint64_t>(vertex);
            goes = goes || renumbering_.is_gone(old);
            if (!goes && renumbering_(old) != old) {
                changed += all_.substr(done, offset_of(word) - done);
                changed += std::to_string(renumbering_(old));
                done = offset_of(word) + word.size();
            }
        }
        const auto wanted = behind_corners_.find(face);
        for (auto word = lines_.word(); wanted != behind_corners_.end() && !word.empty();
             word = lines_.word()) {
            wanted->second += " " + std::string(word);
        }
        if (!goes) {
            add_line(changed, all_.substr(done, lines_.offset() - done));
        }
        return !goes;
    }

    std::string_view all_;
    const OffScan& scan_;
    const Splice& splice_;
    TextLines lines_;
    std::string line_end_;
    Renumbering renumbering_;
    VertexExtras extras_;
    std::unordered_map<std::uint64_t, std::string> behind_corners_; // of faces that are origins
    std::string body_;
};

void OffScan::splice_into(OutputFile& out, const Splice& splice) const {
    OffSplicer(text_, *this, splice).write(out);
}

} // namespace

std::unique_ptr<OpenScan> open_off(const std::filesystem::path& file) {
    return std::make_unique<OffScan>(file);
}

} // namespace KVN::toolkit
