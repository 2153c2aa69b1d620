#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <charconv>
#include <cmath>
#include <system_error>

namespace KVN::toolkit {

namespace {

constexpr std::string_view blanks = " \t\r\v\f";
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF"; // some editors begin files with it

std::string_view without_plus(std::string_view text) {
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    return plus ? text.substr(1) : text;
}

template <class T>
std::errc parse_whole(std::string_view text, T& value) {
    text = without_plus(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc{} && end != text.data() + text.size()) {
        return std::errc::invalid_argument;
    }
    return error;
}

/// True if a decimal number that from_chars found out of range is near to 0 and not far from it.
bool is_tiny(std::string_view text) {
    const std::size_t exponent = text.find_first_of("eE");
    if (exponent != std::string_view::npos) {
        return exponent + 1 < text.size() && text[exponent + 1] == '-';
    }
    return without_plus(text).substr(0, 3).find('.') != std::string_view::npos;
}

template <class T>
std::string digits_of(T value) {
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    return std::string(digits, result.ptr);
}

} // namespace

bool parse_number(std::string_view text, double& value) {
    const std::errc error = parse_whole(text, value);
    if (error == std::errc::result_out_of_range && is_tiny(text)) {
        value = text[0] == '-' ? -0.0 : 0.0;
        return true;
    }
    return error == std::errc{};
}

bool parse_number(std::string_view text, float& value) {
    // Straight to float where it fits: the way through double would round twice.
    const std::errc error = parse_whole(text, value);
    if (error != std::errc::result_out_of_range) {
        return error == std::errc{};
    }
    double wide = 0.0;
    if (!parse_number(text, wide)) {
        return false;
    }
    value = static_cast<float>(wide);
    return std::isfinite(value) || !std::isfinite(wide);
}

bool parse_number(std::string_view text, std::int64_t& value) {
    return parse_whole(text, value) == std::errc{};
}

std::string shortest(float value) {
    return digits_of(value);
}

std::string shortest(double value) {
    return digits_of(value);
}

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 40;
    std::string shown = "'";
    for (const char c : text.substr(0, longest)) {
        const auto code = static_cast<unsigned char>(c);
        shown += code < 0x20 || code == 0x7F ? '?' : c;
    }
    return shown + (text.size() > longest ? "...'" : "'");
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

TextLines::TextLines(const SourceFile& source, char comment, std::size_t offset,
                     std::size_t line_number)
    : source_(source), comment_(comment), offset_(offset), number_(line_number) {
    if (offset == 0 && source.bytes.rfind(byte_order_mark, 0) == 0) {
        offset_ = byte_order_mark.size();
    }
}

bool TextLines::next() {
    const std::string_view all = source_.bytes;
    while (offset_ < all.size()) {
        const std::size_t end = std::min(all.find('\n', offset_), all.size());
        std::string_view line = all.substr(offset_, end - offset_);
        offset_ = std::min(end + 1, all.size());
        ++number_;
        if (comment_ != 0) {
            line = line.substr(0, line.find(comment_));
        }
        line_ = rest_ = trimmed(line);
        if (!line_.empty()) {
            return true;
        }
    }
    line_ = rest_ = {};
    return false;
}

std::string_view TextLines::word() {
    const std::size_t end = std::min(rest_.find_first_of(blanks), rest_.size());
    const std::string_view found = rest_.substr(0, end);
    const std::size_t after = rest_.find_first_not_of(blanks, end);
    rest_ = after == std::string_view::npos ? std::string_view{} : rest_.substr(after);
    return found;
}

std::string_view TextLines::required(const char* what) {
    const std::string_view found = word();
    if (found.empty()) {
        fail(std::string("the line ends where ") + what + " should be");
    }
    return found;
}

float TextLines::real(const char* what) {
    const std::string_view text = required(what);
    float value = 0.0F;
    if (!parse_number(text, value)) {
        fail(quoted(text) + " is no number that " + what + " can have");
    }
    return value;
}

std::int64_t TextLines::integer(const char* what) {
    const std::string_view text = required(what);
    std::int64_t value = 0;
    if (!parse_number(text, value)) {
        fail(quoted(text) + " is no whole number, but " + what + " should be one");
    }
    return value;
}

void TextLines::expect_end() {
    if (!rest_.empty()) {
        fail(quoted(rest_) + " is more than the line should hold");
    }
}

void TextLines::fail(const std::string& what) const {
    source_.fail("line " + std::to_string(line_number()) + ": " + what);
}

} // namespace KVN::toolkit
