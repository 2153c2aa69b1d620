// Whether a scan lies too far from its origin for what it shows.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/run_notes.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// How far coordinates step where a job's runs have cut.
class KELVANE_EXPORT CoordinateSteps {
  public:
    /// Takes in the faces that one run has cut out.
    void add(const RunNotes& notes);

    /// One line if the coordinates of these faces step by more than a sixteenth of their mean edge,
    /// else none. The step is that of a float at the largest coordinate, also where the file holds
    /// doubles: a repair narrows them.
    std::vector<std::string> warnings() const;

  private:
    float largest_ = 0.0F; ///< coordinate
    double sum_ = 0.0;     ///< of the lengths of the edges
    std::size_t edges_ = 0;
};

} // namespace KVN::toolkit
