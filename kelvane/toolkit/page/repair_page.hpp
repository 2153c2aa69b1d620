// A repair to look at: one HTML file with the table of markers and views of their places.
//
//     RepairPage page;
//     RepairOptions options;
//     options.page = &page;
//     RepairReport report = repair_file(*scan, markers, options, "clean.ply");
//     write_page("repair.html", page, report, markers, "scan.ply");
//
// The file needs no other file and no network. Views need a browser with WebGL 2; the table does
// not.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/page/marker_view.hpp"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace KVN::toolkit {

/// What is measured at a marker's own patch.
struct PlaceFigures {
    double distance = 0.0;  ///< largest, of its points from the old surface, in the scan's unit
    double seam_bend = 0.0; ///< largest angle between faces across its border, in degrees
};

/// The view of one marker.
struct PlaceView {
    std::size_t marker = 0; ///< its place in the list, from 0
    MarkerView view;        ///< cropped at three radii
};

/// What a page shows beyond the report. repair_scan() and repair_file() fill it when
/// RepairOptions::page points to it; repair_mesh() does not. An object serves one run at a time.
struct RepairPage {
    /// Markers that get a view, the worst ones: those left unrepaired, then the others by the bend
    /// across their seam. A view takes 10 to 40 kB of the file.
    std::size_t most_views = 25;

    /// One per marker; empty where the marker has no patch of its own.
    std::vector<std::optional<PlaceFigures>> figures;
    std::vector<std::size_t> worst_first; ///< all markers
    std::vector<PlaceView> views;         ///< in the order of `worst_first`
};

/// The page. `report` and `markers` are those of the run that filled `page`; `title` is shown as it
/// is, e.g. the scan's name.
KELVANE_EXPORT std::string page_html(const RepairPage& page, const RepairReport& report,
                                     const std::vector<Marker>& markers, const std::string& title);

/// The same into a file, by write_text().
KELVANE_EXPORT void write_page(const std::filesystem::path& file, const RepairPage& page,
                               const RepairReport& report, const std::vector<Marker>& markers,
                               const std::string& title);

} // namespace KVN::toolkit
