#include "kelvane/toolkit/page/page_gathering.hpp"

#include "kelvane/repair/parallel_holes.hpp"
#include "kelvane/toolkit/page/place_drawing.hpp"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace KVN::toolkit {

namespace {

struct Place {
    std::optional<PlaceFigures> figures;
    MarkerView view;
};

Place look_at(const FaceSearch& search, const Marker& marker, const MarkerReport& report,
              double margin) {
    const ViewCrop crop(marker, margin, report.body.base_height);
    if (!crop.is_valid()) {
        return {};
    }
    const auto [lower, upper] = crop.x_range();
    const MeasuredPlace place = measure_place(search.cropped(
        lower, upper, [&crop](const std::array<float, 3>& point) { return crop.holds(point); }));
    return {figures_of(place, report.first_new_face, report.new_faces),
            draw_place(place, crop, marker.radius)};
}

/// Markers left unrepaired first, then the others by the bend across their seam.
std::vector<std::size_t> worst_first(const std::vector<MarkerReport>& reports,
                                     const std::vector<std::optional<PlaceFigures>>& figures) {
    std::vector<std::size_t> order(reports.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto rank = [&](std::size_t i) {
        return std::tuple(is_repaired(reports[i].outcome),
                          figures[i] ? -figures[i]->seam_bend : 0.0, i);
    };
    std::sort(order.begin(), order.end(),
              [&rank](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
    return order;
}

} // namespace

void gather_page(const RepairedWindow& repaired, RepairPage& page) {
    const FaceList list = list_faces(repaired.window, repaired.splice);
    const FaceSearch search(list);
    std::vector<Place> places(repaired.markers.size());
    std::vector<int> in_order(places.size());
    std::iota(in_order.begin(), in_order.end(), 0);
    for_each_hole(in_order, 0, [&](int marker) {
        const auto m = static_cast<std::size_t>(marker);
        places[m] = look_at(search, repaired.markers[m], repaired.reports[m], repaired.margin);
    });
    page.figures.clear();
    for (const Place& place : places) {
        page.figures.push_back(place.figures);
    }
    page.worst_first = worst_first(repaired.reports, page.figures);
    page.views.clear();
    for (const std::size_t m : page.worst_first) {
        if (page.views.size() < page.most_views && !places[m].view.positions.empty()) {
            page.views.push_back({m, std::move(places[m].view)});
        }
    }
}

} // namespace KVN::toolkit
