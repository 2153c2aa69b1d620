#include "kelvane/toolkit/job/output_capture.hpp"

#include <algorithm>
#include <iostream>
#include <mutex>
#include <sstream>
#include <streambuf>

namespace KVN::toolkit {

/// Stands in std::cout while there are captures. A buffer per capture would not do: runs in several
/// threads end in any order, and each would put back the buffer that it found.
class SharedOutput : public std::streambuf {
  public:
    void add(OutputCapture& capture) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (captures_.empty()) {
            before_ = std::cout.rdbuf(this);
        }
        captures_.push_back(&capture);
    }

    void remove(OutputCapture& capture) {
        const std::lock_guard<std::mutex> lock(mutex_);
        captures_.erase(std::find(captures_.begin(), captures_.end(), &capture));
        if (captures_.empty()) {
            std::cout.rdbuf(before_);
        }
    }

    std::string taken(const OutputCapture& capture) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return capture.taken_;
    }

  protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (OutputCapture* capture : captures_) {
            capture->taken_.append(text, static_cast<std::size_t>(count));
        }
        return count;
    }

    int_type overflow(int_type c) override {
        const char letter = traits_type::to_char_type(c);
        xsputn(&letter, 1);
        return c;
    }

  private:
    std::mutex mutex_;
    std::vector<OutputCapture*> captures_;
    std::streambuf* before_ = nullptr;
};

namespace {

SharedOutput& shared_output() {
    static SharedOutput shared;
    return shared;
}

} // namespace

OutputCapture::OutputCapture() {
    shared_output().add(*this);
}

OutputCapture::~OutputCapture() {
    shared_output().remove(*this);
}

std::vector<std::string> OutputCapture::lines() const {
    std::vector<std::string> lines;
    std::istringstream all(shared_output().taken(*this));
    for (std::string line; std::getline(all, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace KVN::toolkit
