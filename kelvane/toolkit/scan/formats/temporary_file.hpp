// Files that stand beside an output until it is complete, and what becomes of them when it never
// is.
//
// A temporary file is called ".kelvane-PROCESS-NUMBER" and is locked as long as the process that
// writes it lives, on the disks of other machines too. One that can be locked is nobody's: what a
// killed process left behind. It goes when the next output is written to the same folder.
#pragma once

#include "kelvane/export.hpp"

#include <filesystem>

namespace KVN::toolkit {

/// Makes an empty, locked file in `folder`, after it has removed what others left there. Returns
/// its descriptor and its name, or -1 with errno set. The name is listed for
/// remove_temporary_files(); without room in that list (64 names) it is not.
int open_temporary_file(const std::filesystem::path& folder, std::filesystem::path& name);

/// Takes a name off the list: it has been renamed or is about to be removed.
void forget_temporary_file(const std::filesystem::path& name) noexcept;

/// Removes all temporary files of this process that are still under way. For signal handlers and
/// for the end of a process: their writers must not go on.
KELVANE_EXPORT void remove_temporary_files() noexcept;

} // namespace KVN::toolkit
