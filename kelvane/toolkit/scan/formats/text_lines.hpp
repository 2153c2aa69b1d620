// Text formats line by line, with errors that name the line.
#pragma once

#include "kelvane/toolkit/scan/formats/source_file.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KVN::toolkit {

/// Parses all of `text` as a number, whatever the locale: decimal or scientific, "nan", "inf", with
/// an optional plus. False if it is no number. A value too small for its type becomes 0 or the
/// nearest one; a finite one too large is no number.
bool parse_number(std::string_view text, float& value);
bool parse_number(std::string_view text, double& value);
bool parse_number(std::string_view text, std::int64_t& value);

/// The digits that bring `value` back bit for bit, and no more.
std::string shortest(float value);
std::string shortest(double value);

/// `text` in quotes, cut short and without control characters, to be shown in a message.
std::string quoted(std::string_view text);

/// `text` without blanks at both ends.
std::string_view trimmed(std::string_view text);

/// Walks the lines of a source. Lines end with LF, CR LF or the end of the file; a mark of byte
/// order at the beginning is passed over.
class TextLines {
  public:
    /// Starts at byte `offset`, which is the beginning of line `line_number`. Text from the
    /// character `comment` to the end of a line is passed over; 0 for none.
    TextLines(const SourceFile& source, char comment, std::size_t offset = 0,
              std::size_t line_number = 1);

    /// Goes to the next line that is not blank; false at the end of the source.
    bool next();
    /// The current line without its end, comment and outer blanks.
    std::string_view text() const { return line_; }
    /// The next word of the current line, or an empty view at its end.
    std::string_view word();
    /// The next word as a number; `what` names it in the message that a missing or wrong word
    /// gives.
    float real(const char* what);
    std::int64_t integer(const char* what);
    /// Fails if the line has a further word.
    void expect_end();

    /// Byte behind the current line's end.
    std::size_t offset() const { return offset_; }
    std::size_t line_number() const { return number_ - 1; }
    /// Bytes behind the current line.
    std::size_t bytes_left() const { return source_.bytes.size() - offset_; }
    /// Throws InputError with "name: line N: what".
    [[noreturn]] void fail(const std::string& what) const;

  private:
    std::string_view required(const char* what);

    const SourceFile& source_;
    char comment_;
    std::size_t offset_;
    std::size_t number_; // of the line after the current one
    std::string_view line_;
    std::string_view rest_;
};

} // namespace KVN::toolkit
