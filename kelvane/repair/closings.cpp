#include "kelvane/repair/closings.hpp"

#include "kelvane/repair/repair_markers.hpp"

namespace KVN {

const std::vector<Closing>& RepairMarkers::closings() {
    static const std::vector<Closing> table{
        {Method::fast, "fast", "fills by the border alone and fairs in the mesh",
         &RepairMarkers::fill_hole, &RepairMarkers::join_patch, &RepairMarkers::fair_patches,
         false},
        {Method::high, "high", "continues the surface around the hole, its curvature included",
         &RepairMarkers::close_high, &RepairMarkers::join_by_coordinates, nullptr, true},
        {Method::low, "low", "clips ears, remeshes and smooths; larger faces",
         &RepairMarkers::close_low, &RepairMarkers::join_by_coordinates, nullptr, true},
    };
    return table;
}

} // namespace KVN
