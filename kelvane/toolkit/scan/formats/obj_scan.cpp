// OBJ: `v` and `f` statements; all others are only copied.
#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/obj_statements.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"
#include "kelvane/toolkit/scan/formats/vertex_columns.hpp"
#include "kelvane/toolkit/scan/formats/vertex_extras.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"

#include <algorithm>
#include <array>
#include <set>

namespace KVN::toolkit {

namespace {

/// Statements that hold until the next of their kind, and the faces after them are in.
constexpr std::string_view states[] = {"o", "g", "usemtl", "s"};
using ObjState = std::array<std::string, std::size(states)>; // as they stand in the file

/// Statements whose words are corners.
bool has_corners(std::string_view keyword) {
    return keyword == "f" || keyword == "l" || keyword == "p" || keyword == "fo";
}

bool is_face(std::string_view keyword) {
    return keyword == "f" || keyword == "fo"; // its name in the first version of the format
}

class ObjScan final : public DecodedScan {
  public:
    explicit ObjScan(const std::filesystem::path& file) : path_(file), text_(load_source(file)) {
        ObjStatements walk(text_);
        std::vector<std::int32_t> polygon;
        // A face may stand before its vertices, so the highest index is judged at the end.
        std::int64_t highest = -1;
        std::size_t highest_line = 0;
        while (walk.next()) {
            if (walk.keyword() == "v") {
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    decoded_.positions.push_back(walk.coordinate(axis + 1));
                }
            } else if (is_face(walk.keyword())) {
                polygon.clear();
                for (std::size_t i = 1; i < walk.words().size(); ++i) {
                    const std::int64_t vertex = walk.vertex(walk.words()[i], vertex_count());
                    if (vertex > highest) {
                        highest = vertex;
                        highest_line = walk.line_number();
                    }
                    polygon.push_back(static_cast<std::int32_t>(vertex));
                }
                decoded_.add_face(polygon);
            } else {
                other_ = other_ || !walk.words().empty();
            }
        }
        if (highest >= static_cast<std::int64_t>(vertex_count())) {
            text_.fail("line " + std::to_string(highest_line) + ": the face names vertex " +
                       std::to_string(highest + 1) + ", but there are only " +
                       std::to_string(vertex_count()));
        }
        if (const char* fault = decoded_.fault()) {
            text_.fail(fault);
        }
    }

    /// Three numbers behind all coordinates are colours.
    Scan to_scan() const override {
        Scan scan = DecodedScan::to_scan();
        VertexColumns columns;
        ObjStatements walk(text_);
        while (walk.next()) {
            if (walk.keyword() == "v") {
                const std::vector<std::string_view>& words = walk.words();
                columns.add(words.data() + 4, words.data() + words.size());
            }
        }
        if (columns.width() == 3) {
            scan.vertex_properties = columns.named(0, {"red", "green", "blue"});
        }
        return scan;
    }

  private:
    void splice_into(OutputFile& out, const Splice& splice) const override;
    std::vector<std::string> beyond_arrays() const override {
        if (!other_) {
            return {};
        }
        return {"texture, normals, groups, materials and other statements"};
    }
    const std::filesystem::path& path() const override { return path_; }

    std::filesystem::path path_;
    SourceFile text_;
    bool other_ = false; // there are statements beside v and f
};

class ObjSplicer {
  public:
    ObjSplicer(const SourceFile& text, std::uint64_t vertex_count, const Splice& splice,
               OutputFile& out)
        : text_(text), splice_(splice), out_(out), renumbering_(vertex_count, splice.vertices_gone),
          extras_(splice, false, -1),
          wanted_(splice.face_origin.begin(), splice.face_origin.end()) {}

    void run() {
        line_end_ = text_.bytes.find("\r\n") != std::string::npos ? "\r\n" : "\n";
        out_.write(std::string_view(text_.bytes)
                       .substr(0, text_.bytes.rfind("\xEF\xBB\xBF", 0) == 0 ? 3 : 0));
        ObjStatements walk(text_);
        while (walk.next()) {
            statement(walk);
        }
        if (walk.unfinished()) {
            write(line_end_); // or the first new line would be joined to it
        }
        for (std::size_t k = 0; k < splice_.new_vertex_count(); ++k) {
            write("v" + extras_.position_and_extras(k) + line_end_);
        }
        write_faces();
    }

  private:
    void write(std::string_view bytes) {
        if (last_byte_ != '\n') {
            out_.write(line_end_); // the old file's last line may lack its end
        }
        out_.write(bytes);
        last_byte_ = bytes.back();
    }

    void statement(const ObjStatements& walk) {
        const std::string_view keyword = walk.keyword();
        bool stays = true;
        if (keyword == "v") {
            const std::vector<std::string_view>& words = walk.words();
            extras_.pass(vertices_, words.data() + 4, words.data() + words.size());
            stays = !renumbering_.is_gone(vertices_);
            kept_ += stays ? 1 : 0;
            ++vertices_;
        } else if (is_face(keyword)) {
            note_state();
            stays =
                next_gone_ >= splice_.faces_gone.size() || splice_.faces_gone[next_gone_] != faces_;
            next_gone_ += stays ? 0 : 1;
            ++faces_;
        } else {
            const auto* const state = std::find(std::begin(states), std::end(states), keyword);
            if (state != std::end(states)) {
                state_[static_cast<std::size_t>(state - states)] = with_line_end(walk.raw());
            }
        }
        if (stays && has_corners(keyword) && !renumbering_.none_gone()) {
            write_renumbered(walk);
        } else if (stays) {
            write(walk.raw());
        }
    }

    void note_state() {
        if (wanted_.count(faces_) != 0) {
            if (noted_.empty() || noted_.back().second != state_) {
                noted_.emplace_back(faces_, state_);
            }
        }
    }

    std::string with_line_end(std::string_view raw) const {
        return std::string(raw) + (raw.back() == '\n' ? "" : line_end_);
    }

    /// Writes a statement with its vertices renumbered, unless one of them is gone.
    void write_renumbered(const ObjStatements& walk) {
        std::string changed;
        std::size_t done = 0;
        for (std::size_t i = 1; i < walk.words().size(); ++i) {
            const std::string_view word = walk.words()[i];
            const std::string_view index = word.substr(0, word.find('/'));
            const auto old = static_cast<std::uint64_t>(walk.vertex(word, vertices_));
            if (renumbering_.is_gone(old)) {
                return;
            }
            const auto now = static_cast<std::int64_t>(renumbering_(old));
            const bool backwards = index[0] == '-';
            const std::string number =
                std::to_string(backwards ? now - static_cast<std::int64_t>(kept_) : now + 1);
            const std::size_t at = walk.place(word);
            changed.append(walk.raw(), done, at - done);
            const bool same = vertices_ == kept_ && old == static_cast<std::uint64_t>(now);
            changed += same ? std::string(index) : number;
            done = at + index.size();
        }
        changed.append(walk.raw(), done);
        write(changed);
    }

    void write_faces() {
        for (std::size_t k = 0; k < splice_.faces.size(); ++k) {
            if (!splice_.face_origin.empty()) {
                take_state(splice_.face_origin[k]);
            }
            std::string line = "f";
            for (const std::uint32_t corner : splice_.faces[k]) {
                line += " " + std::to_string(renumbering_(corner) + 1);
            }
            write(line + line_end_);
        }
    }

    /// Brings the state of face record `origin` about.
    void take_state(std::uint64_t origin) {
        const auto after =
            std::upper_bound(noted_.begin(), noted_.end(), origin,
                             [](std::uint64_t face, const auto& n) { return face < n.first; });
        const ObjState& wanted = (after - 1)->second;
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            if (wanted[i] != state_[i] && !wanted[i].empty()) {
                write(wanted[i]);
            }
        }
        state_ = wanted;
    }

    const SourceFile& text_;
    const Splice& splice_;
    OutputFile& out_;
    Renumbering renumbering_;
    VertexExtras extras_;
    std::set<std::uint64_t> wanted_; // face records whose state new faces take
    std::vector<std::pair<std::uint64_t, ObjState>> noted_; // from which wanted face on
    ObjState state_;
    std::uint64_t vertices_ = 0; // passed so far
    std::uint64_t kept_ = 0;     // and of these written
    std::uint64_t faces_ = 0;
    std::size_t next_gone_ = 0;
    char last_byte_ = '\n';
    std::string line_end_;
};

void ObjScan::splice_into(OutputFile& out, const Splice& splice) const {
    ObjSplicer(text_, vertex_count(), splice, out).run();
}

} // namespace

std::unique_ptr<OpenScan> open_obj(const std::filesystem::path& file) {
    return std::make_unique<ObjScan>(file);
}

} // namespace KVN::toolkit
