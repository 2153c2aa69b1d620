#include "kelvane/toolkit/scan/formats/obj_statements.hpp"

#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <algorithm>

namespace KVN::toolkit {

namespace {

constexpr std::string_view blanks = " \t\r\v\f\n";

/// Whether a line without its end goes on in the next one.
bool goes_on(std::string_view line) {
    while (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    return !line.empty() && line.back() == '\\' && line.find('#') == std::string_view::npos;
}

} // namespace

ObjStatements::ObjStatements(const SourceFile& source) : source_(source) {
    if (source.bytes.rfind("\xEF\xBB\xBF", 0) == 0) {
        end_ = 3; // the mark of byte order that some editors write
    }
}

bool ObjStatements::next() {
    const std::string_view all = source_.bytes;
    if (end_ >= all.size()) {
        return false;
    }
    begin_ = end_;
    line_ = next_line_;
    std::string_view text;
    bool more = true;
    joined_.clear();
    while (more && end_ < all.size()) {
        const std::size_t line_end = std::min(all.find('\n', end_), all.size());
        const std::string_view line = all.substr(end_, line_end - end_);
        more = goes_on(line);
        end_ = std::min(line_end + 1, all.size());
        ++next_line_;
        text = all.substr(begin_, end_ - begin_);
        if (more || !joined_.empty()) {
            joined_.append(text.substr(joined_.size()));
            if (more) {
                joined_[line.data() - text.data() + line.rfind('\\')] = ' ';
            }
        }
    }
    unfinished_ = more;
    text = joined_.empty() ? text : std::string_view(joined_);
    base_ = text.data();
    text = text.substr(0, text.find('#'));
    words_.clear();
    for (std::size_t at = text.find_first_not_of(blanks); at != std::string_view::npos;) {
        const std::size_t word_end = std::min(text.find_first_of(blanks, at), text.size());
        words_.push_back(text.substr(at, word_end - at));
        at = text.find_first_not_of(blanks, word_end);
    }
    return true;
}

std::string_view ObjStatements::raw() const {
    return std::string_view(source_.bytes).substr(begin_, end_ - begin_);
}

std::size_t ObjStatements::place(std::string_view word) const {
    return static_cast<std::size_t>(word.data() - base_);
}

float ObjStatements::coordinate(std::size_t i) const {
    if (i >= words_.size()) {
        fail("the line ends where a coordinate should be");
    }
    float value = 0.0F;
    if (!parse_number(words_[i], value)) {
        fail(quoted(words_[i]) + " is no number that a coordinate can have");
    }
    return value;
}

std::int64_t ObjStatements::vertex(std::string_view corner, std::uint64_t vertex_count) const {
    std::int64_t number = 0;
    if (!parse_number(corner.substr(0, corner.find('/')), number) || number == 0) {
        fail(quoted(corner) + " is no corner of a face");
    }
    const std::int64_t vertex =
        number > 0 ? number - 1 : static_cast<std::int64_t>(vertex_count) + number;
    if (vertex < 0) {
        fail("the face names a vertex that does not exist: " + quoted(corner));
    }
    return vertex;
}

void ObjStatements::fail(const std::string& what) const {
    source_.fail("line " + std::to_string(line_) + ": " + what);
}

} // namespace KVN::toolkit
