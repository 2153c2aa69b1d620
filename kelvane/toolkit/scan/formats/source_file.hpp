// A whole input file in memory, with the name that messages about it begin with.
#pragma once

#include <filesystem>
#include <string>

namespace KVN::toolkit {

struct SourceFile {
    std::string name;
    std::string bytes;

    /// Throws InputError with "name: what".
    [[noreturn]] void fail(const std::string& what) const;
};

/// Reads a file, pipe or device to its end, or standard input by its name. Throws InputError if it
/// is missing, a directory or empty, SystemError if the system refuses.
SourceFile load_source(const std::filesystem::path& file);

/// The extension of a file name in lower case, with its dot.
std::string lower_extension(const std::filesystem::path& file);

} // namespace KVN::toolkit
