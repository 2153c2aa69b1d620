// Keeps the library's diagnostic lines off the standard output stream.
#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// Takes what is written to std::cout until the end of the scope.
class OutputCapture {
  public:
    OutputCapture() : before_(std::cout.rdbuf(taken_.rdbuf())) {}
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;
    ~OutputCapture() { std::cout.rdbuf(before_); }

    /// The lines so far, without their ends.
    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        std::istringstream all(taken_.str());
        for (std::string line; std::getline(all, line);) {
            lines.push_back(line);
        }
        return lines;
    }

  private:
    std::ostringstream taken_;
    std::streambuf* before_;
};

} // namespace KVN::toolkit
