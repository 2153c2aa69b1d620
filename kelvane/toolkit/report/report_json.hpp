// Reports as JSON. Numbers have the digits that they need and no more; a number that is not finite
// is written as the text "nan", "inf" or "-inf", since JSON has no such numbers.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/job/block_cut.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/measure/marker_deviation.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"

#include <string>
#include <vector>

namespace KVN::toolkit {

/// Each returns one indented JSON object, ended by a line break. `markers` are those of the run and
/// give each entry its centre and radius.
KELVANE_EXPORT std::string to_json(const RepairReport& report, const std::vector<Marker>& markers,
                                   const RepairOptions& options);
KELVANE_EXPORT std::string to_json(const CutReport& report);
KELVANE_EXPORT std::string to_json(const ScanInfo& info);
KELVANE_EXPORT std::string to_json(const std::vector<MarkerDeviation>& deviations);

} // namespace KVN::toolkit
