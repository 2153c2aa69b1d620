// Text written so that it is either complete or not there.
#pragma once

#include "kelvane/export.hpp"

#include <filesystem>
#include <string_view>

namespace KVN::toolkit {

/// Writes `text` to a new file beside `file` and renames it: after a failure the old file is as it
/// was. Throws InputError if `file` is a directory, SystemError if the system refuses.
KELVANE_EXPORT void write_text(const std::filesystem::path& file, std::string_view text);

/// Throws what write_text() would throw before it writes the first byte. Leaves nothing behind.
KELVANE_EXPORT void check_output(const std::filesystem::path& file);

} // namespace KVN::toolkit
