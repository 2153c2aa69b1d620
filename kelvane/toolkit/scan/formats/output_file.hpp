// Output that appears under its name only when it is complete.
#pragma once

#include "kelvane/export.hpp"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace KVN::toolkit {

/// Collects what is written in a new file beside the target and renames it in commit(). Without a
/// commit nothing is left and the target is as it was. A target that is a link is followed, also to
/// a file that is not there yet; a new file has the owner and mode of the one that it replaces
/// where the system allows. A target that is a device or pipe is written to directly and never
/// removed. Every failure is a SystemError, a target that is a directory an InputError.
/// Standard output is written to by its name.
class KELVANE_EXPORT OutputFile {
  public:
    explicit OutputFile(const std::filesystem::path& target);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    void write(const void* data, std::size_t size);
    void write(std::string_view text) { write(text.data(), text.size()); }

    /// Brings everything to the disk and puts the file in its place.
    void commit();

  private:
    void flush();
    void send(const char* data, std::size_t size);
    [[noreturn]] void refuse(int error) const;

    std::string name_; // as the caller gave it, for messages
    std::filesystem::path target_;
    std::filesystem::path temporary_; // empty when the target is written to directly
    int descriptor_ = -1;
    std::string buffer_;
};

} // namespace KVN::toolkit
