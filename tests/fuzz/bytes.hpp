// Bytes of a fuzzer as choices.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

/// Choices from bytes, in their order; 0 when they have run out.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), end_(data + size) {}

    bool empty() const { return data_ == end_; }
    int byte() { return empty() ? 0 : *data_++; }
    int below(int n) { return (256 * byte() + byte()) % n; }
    bool coin() { return byte() % 2 != 0; }
    /// 0 to 1 in 256 steps.
    float real() { return static_cast<float>(byte()) / 255.0F; }
    /// A whole number that every type of a file can hold.
    float whole() { return static_cast<float>(byte() % 128); }
    /// All that is left.
    std::string rest() {
        std::string text(data_, end_);
        data_ = end_;
        return text;
    }

  private:
    const std::uint8_t* data_;
    const std::uint8_t* end_;
};

/// Ends the program with `fault`, unless it is empty.
inline void expect_none(const std::string& fault) {
    if (!fault.empty()) {
        std::fprintf(stderr, "%s\n", fault.c_str());
        std::abort();
    }
}

} // namespace fuzz
