#include "kelvane/toolkit/job/coarse_coordinates.hpp"

#include <cmath>
#include <cstdio>
#include <limits>

namespace KVN::toolkit {

namespace {

// Of an edge: rounding turns an edge by a step's share of it, here 3 degrees, and about 5 the
// normals by which a cut is bounded.
constexpr double largest_share = 1.0 / 16.0;

} // namespace

void CoordinateSteps::add(const RunNotes& notes) {
    for (const RegionNote& region : notes.regions) {
        for (const _face* face : region.faces) {
            for (int k = 0; k < 3; ++k) {
                const auto& a = face->verts[k]->pos;
                const auto& b = face->verts[(k + 1) % 3]->pos;
                largest_ = std::fmax(largest_, std::fmax(std::fabs(a.x), std::fabs(a.y)));
                largest_ = std::fmax(largest_, std::fabs(a.z));
                const double x = double(a.x) - b.x, y = double(a.y) - b.y, z = double(a.z) - b.z;
                const double length = std::sqrt(x * x + y * y + z * z); // no float overflows it
                if (std::isfinite(length)) {
                    sum_ += length;
                    ++edges_;
                }
            }
        }
    }
}

std::vector<std::string> CoordinateSteps::warnings() const {
    const double step =
        std::nextafter(largest_, std::numeric_limits<float>::infinity()) - double(largest_);
    const double mean = edges_ == 0 ? 0.0 : sum_ / static_cast<double>(edges_);
    if (!(step > largest_share * mean) || edges_ == 0) {
        return {};
    }
    char text[256];
    std::snprintf(
        text, sizeof text,
        "the coordinates are too coarse for the edge length: around the markers they step "
        "by %.2g of an edge; move the scan nearer to its origin",
        step / mean);
    return {text};
}

} // namespace KVN::toolkit
