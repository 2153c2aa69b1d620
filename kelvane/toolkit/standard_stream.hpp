// The name of the standard streams.
#pragma once

#include <filesystem>

namespace KVN::toolkit {

/// As a file to read it is standard input, as one to write standard output; a mesh there is PLY. A
/// file of that name is `./-`.
inline bool is_standard_stream(const std::filesystem::path& file) {
    return file == "-";
}

} // namespace KVN::toolkit
