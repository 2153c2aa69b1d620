// The picture of a measured place.
#pragma once

#include "kelvane/toolkit/page/place_measuring.hpp"

namespace KVN::toolkit {

/// The picture. A place of more faces than a page can hold is drawn coarser: its points are put
/// together by the cells of a grid, of which each shows the largest distance and bend.
MarkerView draw_place(const MeasuredPlace& place, const ViewCrop& crop, double radius);

} // namespace KVN::toolkit
