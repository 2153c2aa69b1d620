// OFF: a header word, three counts, one vertex per line, one face per line.
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"
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
            more_ = more_ || !lines.word().empty();
        }
        std::vector<std::uint32_t> corners;
        for (std::uint64_t f = 0; f < faces; ++f) {
            next_record(lines, text_, "face", f);
            read_corners(lines, f, corners);
            decoded_.add_face(corners);
            more_ = more_ || !lines.word().empty();
        }
        if (const char* fault = decoded_.fault()) {
            text_.fail(fault);
        }
    }

    bool has_normals() const override { return word_.find('N') != std::string::npos; }

  private:
    void read_corners(TextLines& lines, std::uint64_t face,
                      std::vector<std::uint32_t>& corners) const {
        const std::int64_t length = lines.integer("the number of corners");
        corners.clear();
        for (std::int64_t i = 0; i < length; ++i) {
            const std::int64_t vertex = lines.integer("a vertex index");
            if (vertex < 0 || static_cast<std::uint64_t>(vertex) >= vertices_) {
                lines.fail("face " + std::to_string(face) + " " +
                           no_such_vertex(vertex, vertices_));
            }
            corners.push_back(static_cast<std::uint32_t>(vertex));
        }
    }

    void splice_into(OutputFile& out, const Splice& splice) const override;
    std::vector<std::string> beyond_arrays() const override {
        if (!more_) {
            return {};
        }
        return {"colours, normals and other numbers behind coordinates and corners"};
    }
    const std::filesystem::path& path() const override { return path_; }

    std::filesystem::path path_;
    SourceFile text_;
    std::string word_; // of the header
    std::uint64_t vertices_ = 0;
    bool more_ = false; // there is more than coordinates and corners
};

/// All lines twice: the records that stay are known before the counts can be written.
void OffScan::splice_into(OutputFile& out, const Splice& splice) const {
    const std::string_view all = text_.bytes;
    const Renumbering renumbering(vertices_, splice.vertices_gone);
    VertexExtras extras(splice, true, has_normals() ? 0 : -1);
    std::unordered_map<std::uint64_t, std::string> origins; // what follows their corners
    for (const std::uint64_t face : splice.face_origin) {
        origins[face];
    }
    TextLines lines(text_, '#');
    pass_header_word(lines, text_);
    const auto offset_of = [&](std::string_view word) {
        return static_cast<std::size_t>(word.data() - all.data());
    };
    const std::string_view vertex_word = lines.word();
    const std::string_view face_word = lines.word();
    const std::size_t counts_end = lines.offset();

    std::string body;
    const std::string line_end = all.find("\r\n") != std::string_view::npos ? "\r\n" : "\n";
    const auto end_line = [&] {
        if (!body.empty() && body.back() != '\n') {
            body += line_end; // the old file's last line may lack its end
        }
    };
    std::vector<std::string_view> words;
    for (std::uint64_t v = 0; v < vertices_; ++v) {
        const std::size_t begin = lines.offset();
        lines.next();
        words.clear();
        for (auto word = lines.word(); !word.empty(); word = lines.word()) {
            words.push_back(word);
        }
        extras.pass(v, words.data() + 3, words.data() + words.size());
        if (!renumbering.is_gone(v)) {
            body += all.substr(begin, lines.offset() - begin);
        }
    }
    for (std::size_t k = 0; k < splice.new_vertex_count(); ++k) {
        end_line();
        body += extras.position_and_extras(k).substr(1) + line_end;
    }
    std::uint64_t faces = 0;
    std::size_t next_gone = 0;
    for (std::uint64_t f = 0; f < face_count(); ++f) {
        const std::size_t begin = lines.offset();
        lines.next();
        std::string changed;
        std::size_t done = begin;
        bool stays = next_gone >= splice.faces_gone.size() || splice.faces_gone[next_gone] != f;
        next_gone += stays ? 0 : 1;
        const std::int64_t length = lines.integer("the number of corners");
        for (std::int64_t i = 0; i < length; ++i) {
            const std::string_view word = lines.word();
            std::int64_t vertex = 0;
            parse_number(word, vertex);
            const auto old = static_cast<std::uint64_t>(vertex);
            stays = stays && !renumbering.is_gone(old);
            if (stays && renumbering(old) != old) {
                changed += all.substr(done, offset_of(word) - done);
                changed += std::to_string(renumbering(old));
                done = offset_of(word) + word.size();
            }
        }
        if (const auto origin = origins.find(f); origin != origins.end()) {
            for (auto word = lines.word(); !word.empty(); word = lines.word()) {
                origin->second += " " + std::string(word);
            }
        }
        if (stays) {
            end_line();
            body += changed;
            body += all.substr(done, lines.offset() - done);
            ++faces;
        }
    }
    for (std::size_t k = 0; k < splice.faces.size(); ++k) {
        end_line();
        body += "3";
        for (const std::uint32_t corner : splice.faces[k]) {
            body += " " + std::to_string(renumbering(corner));
        }
        body += splice.face_origin.empty() ? "" : origins[splice.face_origin[k]];
        body += line_end;
    }

    out.write(all.substr(0, offset_of(vertex_word)));
    out.write(std::to_string(renumbering.kept() + splice.new_vertex_count()));
    const std::size_t between = offset_of(vertex_word) + vertex_word.size();
    out.write(all.substr(between, offset_of(face_word) - between));
    out.write(std::to_string(faces + splice.faces.size()));
    const std::size_t behind = offset_of(face_word) + face_word.size();
    out.write(all.substr(behind, counts_end - behind));
    out.write(body);
    out.write(all.substr(lines.offset()));
}

} // namespace

std::unique_ptr<OpenScan> open_off(const std::filesystem::path& file) {
    return std::make_unique<OffScan>(file);
}

} // namespace KVN::toolkit
