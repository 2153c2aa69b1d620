// The statements of an OBJ file one by one.
#pragma once

#include "kelvane/toolkit/scan/formats/source_file.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KVN::toolkit {

/// Walks statements: lines without comments, joined where they end with a backslash.
class ObjStatements {
  public:
    explicit ObjStatements(const SourceFile& source);

    /// Goes to the next line; a blank one has no words. False at the end.
    bool next();
    const std::vector<std::string_view>& words() const { return words_; }
    std::string_view keyword() const { return words_.empty() ? std::string_view{} : words_[0]; }
    /// The statement as it stands in the file, with its line's end, if it has one.
    std::string_view raw() const;
    /// Whether the file ends within the statement, after a backslash.
    bool unfinished() const { return unfinished_; }
    /// Where a word begins within raw().
    std::size_t place(std::string_view word) const;

    /// The word `i` as a coordinate.
    float coordinate(std::size_t i) const;
    /// The vertex of a corner "7", "7/1", "7//3" or "-1/2/3", counted from 0, after `vertex_count`
    /// vertices. Throws InputError for no number, 0 and for one before the first vertex.
    std::int64_t vertex(std::string_view corner, std::uint64_t vertex_count) const;
    std::size_t line_number() const { return line_; }
    /// Throws InputError with "name: line N: what".
    [[noreturn]] void fail(const std::string& what) const;

  private:
    const SourceFile& source_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::size_t line_ = 0; // of the statement's beginning
    std::size_t next_line_ = 1;
    std::string joined_; // a statement of several lines, with blanks for what joins them
    bool unfinished_ = false;
    const char* base_ = nullptr; // what the words are parts of
    std::vector<std::string_view> words_;
};

} // namespace KVN::toolkit
