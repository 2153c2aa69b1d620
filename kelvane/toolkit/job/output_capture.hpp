// Keeps the library's diagnostic lines off the standard output stream.
#pragma once

#include <string>
#include <vector>

namespace KVN::toolkit {

/// Takes what is written to std::cout, by any thread, until the end of the scope. Several may be
/// alive at once, in different threads: each takes all that is written meanwhile, and the stream is
/// itself again when the last one is gone.
class OutputCapture {
  public:
    OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;
    ~OutputCapture();

    /// The lines so far, without their ends.
    std::vector<std::string> lines() const;

  private:
    friend class SharedOutput;
    std::string taken_; // guarded by the shared buffer
};

} // namespace KVN::toolkit
