// Whether a scan lies too far from its origin for what it shows.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/run_notes.hpp"

#include <string>
#include <vector>

namespace KVN::toolkit {

/// One line if the coordinates of the faces that were cut out step by more than a sixteenth of
/// their mean edge, else none. The step is that of a float at the largest coordinate, also where
/// the file holds doubles: a repair narrows them.
KELVANE_EXPORT std::vector<std::string> warnings(const RunNotes& notes);

} // namespace KVN::toolkit
