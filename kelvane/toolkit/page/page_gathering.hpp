// From a finished run to what its page shows.
#pragma once

#include "kelvane/toolkit/page/repair_page.hpp"
#include "kelvane/toolkit/scan/splice.hpp"
#include "kelvane/toolkit/windows/window.hpp"

#include <vector>

namespace KVN::toolkit {

/// The places show what the splice makes of the window, no more and no less. All in one unit.
struct RepairedWindow {
    const Window& window;
    const Splice& splice; ///< made for the scan that the window is of
    const std::vector<Marker>& markers;
    const std::vector<MarkerReport>& reports; ///< one per marker
    double margin;                            ///< that was added to every radius for the cut
};

/// Measures every place and keeps the views of `page.most_views` of them. Works with the calling
/// thread's team; the result is the same for every size of it. The window should hold what lies
/// within three radii of a marker: the views show no more than it does.
void gather_page(const RepairedWindow& repaired, RepairPage& page);

} // namespace KVN::toolkit
