#include "kelvane/toolkit/scan/formats/ply_records.hpp"

#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace KVN::toolkit {

namespace {

void check_length(const PlyRecords& records, std::int64_t length, std::uint64_t most) {
    if (length < 0) {
        records.fail("has a list of negative length");
    }
    if (static_cast<std::uint64_t>(length) > most) {
        records.fail("has a list of " + std::to_string(length) +
                     " entries, more than can follow there");
    }
}

class BinaryRecords final : public PlyRecords {
  public:
    BinaryRecords(const FileReader& file, const PlyHeader& header, std::uint64_t offset,
                  std::size_t ahead)
        : file_(file), swap_(header.swap()), ahead_(ahead), fetched_(offset) {}

    void next(const PlyElement& element, std::uint64_t number, PlyRecord& record) override {
        element_ = &element;
        number_ = number;
        begin_ = at_;
        record.values.clear();
        record.first.assign(1, 0);
        for (const PlyProperty& property : element.properties) {
            std::uint64_t count = 1;
            if (property.is_list) {
                const Slice length = take(size_of(property.count_type));
                const std::int64_t entries = integer(view(length), property.count_type);
                check_length(*this, entries, left() / size_of(property.type));
                count = static_cast<std::uint64_t>(entries);
            }
            const std::size_t size = size_of(property.type);
            const Slice all = take(static_cast<std::size_t>(count) * size);
            for (std::uint64_t i = 0; i < count; ++i) {
                record.values.push_back({all.begin + static_cast<std::size_t>(i) * size, size});
            }
            record.first.push_back(record.values.size());
        }
        record.raw.assign(buffer_, begin_, at_ - begin_);
    }

    std::uint64_t offset() const override { return fetched_ - (buffer_.size() - at_); }

    double number(std::string_view value, PlyType type) const override {
        return load_number(value.data(), type, swap_);
    }
    float coordinate(std::string_view value, PlyType type) const override {
        float narrowed = 0.0F;
        if (type == PlyType::float32) {
            narrowed = load<float>(value.data(), swap_);
        } else if (!narrow(number(value, type), narrowed)) {
            fail("has a coordinate that is too large for single precision");
        }
        return narrowed;
    }
    std::int64_t integer(std::string_view value, PlyType type) const override {
        return static_cast<std::int64_t>(number(value, type));
    }

    [[noreturn]] void fail(const std::string& what) const override {
        file_.fail(element_->name + " " + std::to_string(number_) + " " + what);
    }

  private:
    std::uint64_t left() const { return file_.size() - offset(); }

    std::string_view view(const Slice& slice) const {
        return std::string_view(buffer_).substr(begin_ + slice.begin, slice.size);
    }

    /// The next bytes of the record, relative to its beginning.
    Slice take(std::size_t size) {
        if (size > left()) {
            fail("is cut short: the file ends there");
        }
        if (size > buffer_.size() - at_) {
            fetch(size - (buffer_.size() - at_));
        }
        const Slice slice{at_ - begin_, size};
        at_ += size;
        return slice;
    }

    /// Moves the current record to the front of the buffer and reads at least `missing` bytes more.
    void fetch(std::size_t missing) {
        buffer_.erase(0, begin_);
        at_ -= begin_;
        begin_ = 0;
        const auto count = static_cast<std::size_t>(
            std::min<std::uint64_t>(std::max(missing, ahead_), file_.size() - fetched_));
        const std::size_t old = buffer_.size();
        buffer_.resize(old + count);
        file_.read(fetched_, count, buffer_.data() + old);
        fetched_ += count;
    }

    const FileReader& file_;
    bool swap_;
    std::size_t ahead_;
    std::string buffer_;    // the bytes before fetched_
    std::uint64_t fetched_; // byte of the file behind the buffer
    std::size_t begin_ = 0; // of the current record in the buffer
    std::size_t at_ = 0;    // end of what is taken of it
    const PlyElement* element_ = nullptr;
    std::uint64_t number_ = 0;
};

class TextRecords final : public PlyRecords {
  public:
    TextRecords(const SourceFile& file, const PlyHeader& header)
        : file_(file), lines_(file, 0, header.body, header.body_line) {}

    void next(const PlyElement& element, std::uint64_t number, PlyRecord& record) override {
        element_ = &element;
        number_ = number;
        begin_ = lines_.offset();
        if (!lines_.next()) {
            file_.fail("ends before " + element.name + " " + std::to_string(number));
        }
        record.values.clear();
        record.first.assign(1, 0);
        for (const PlyProperty& property : element.properties) {
            std::int64_t count = 1;
            if (property.is_list) {
                count = lines_.integer("a count");
                check_length(*this, count, lines_.text().size() / 2); // a digit and a blank each
            }
            for (std::int64_t i = 0; i < count; ++i) {
                take(record);
            }
            record.first.push_back(record.values.size());
        }
        lines_.expect_end();
        record.raw.assign(file_.bytes, begin_, lines_.offset() - begin_);
    }

    std::uint64_t offset() const override { return lines_.offset(); }

    double number(std::string_view value, PlyType type) const override {
        // Straight to float where it is one: the way through double would round twice.
        float single = 0.0F;
        if (type == PlyType::float32 && parse_number(value, single)) {
            return single;
        }
        double result = 0.0;
        if (!parse_number(value, result)) {
            lines_.fail(quoted(value) + " is no number");
        }
        return result;
    }
    float coordinate(std::string_view value, PlyType) const override {
        float result = 0.0F;
        if (!parse_number(value, result)) {
            lines_.fail(quoted(value) + " is no number that a coordinate can have");
        }
        return result;
    }
    std::int64_t integer(std::string_view value, PlyType) const override {
        std::int64_t result = 0;
        if (!parse_number(value, result)) {
            lines_.fail(quoted(value) + " is no whole number, but an index should be one");
        }
        return result;
    }

    [[noreturn]] void fail(const std::string& what) const override {
        lines_.fail(element_->name + " " + std::to_string(number_) + " " + what);
    }

  private:
    void take(PlyRecord& record) {
        const std::string_view word = lines_.word();
        if (word.empty()) {
            lines_.fail("the line ends where a value of " + element_->name + " " +
                        std::to_string(number_) + " should be");
        }
        record.values.push_back(
            {static_cast<std::size_t>(word.data() - file_.bytes.data()) - begin_, word.size()});
    }

    const SourceFile& file_;
    TextLines lines_;
    std::size_t begin_ = 0;
    const PlyElement* element_ = nullptr;
    std::uint64_t number_ = 0;
};

} // namespace

std::unique_ptr<PlyRecords> binary_records(const FileReader& file, const PlyHeader& header,
                                           std::uint64_t offset, std::size_t ahead) {
    return std::make_unique<BinaryRecords>(file, header, offset, ahead);
}

std::unique_ptr<PlyRecords> text_records(const SourceFile& file, const PlyHeader& header) {
    return std::make_unique<TextRecords>(file, header);
}

bool narrow(double wide, float& value) {
    value = static_cast<float>(wide);
    return std::isfinite(value) || !std::isfinite(wide);
}

} // namespace KVN::toolkit
