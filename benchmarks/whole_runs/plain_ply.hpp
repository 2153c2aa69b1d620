// The least that a program with a scan's file can do: all bytes in, arrays, all bytes out.
#pragma once

#include "kelvane/toolkit/scan/scan.hpp"

#include <string>

namespace KVN::bench {

/// Reads binary little-endian PLY of float positions and triangles with int indices and nothing
/// else, in one go. Nothing is checked but the length. Throws std::runtime_error.
toolkit::Scan read_plain_ply(const std::string& file);

/// Writes such a file, in one go. Throws std::runtime_error.
void write_plain_ply(const std::string& file, const toolkit::Scan& scan);

} // namespace KVN::bench
