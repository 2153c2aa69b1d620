// An input file that is read in pieces, or whole if it cannot be.
#pragma once

#include "kelvane/toolkit/scan/formats/source_file.hpp"

#include <cstdint>
#include <filesystem>
#include <string>

namespace KVN::toolkit {

/// Bytes by their place in the file. A regular file is read where and when it is asked for; a pipe
/// is taken into memory at once. Several threads may read.
class FileReader {
  public:
    /// Throws InputError if the file is missing, a directory or empty, SystemError if the system
    /// refuses.
    explicit FileReader(const std::filesystem::path& file);
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;
    ~FileReader();

    const std::filesystem::path& path() const { return path_; }
    std::uint64_t size() const { return size_; }
    /// Reads bytes that size() covers; throws InputError if the file has become shorter.
    void read(std::uint64_t offset, std::size_t count, char* into) const;
    std::string read(std::uint64_t offset, std::size_t count) const;
    /// The whole file, for formats that are read as text.
    SourceFile load() const;

    /// Throws InputError with "name: what".
    [[noreturn]] void fail(const std::string& what) const;

  private:
    std::filesystem::path path_;
    int descriptor_ = -1;
    std::uint64_t size_ = 0;
    std::string bytes_; // of what is no regular file
};

} // namespace KVN::toolkit
