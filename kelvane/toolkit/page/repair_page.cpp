#include "kelvane/toolkit/page/repair_page.hpp"

#include "kelvane/toolkit/page/page_texts.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <cstdio>
#include <map>
#include <string_view>

namespace KVN::toolkit {

namespace {

std::string escaped(std::string_view text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += c;
        }
    }
    return safe;
}

std::string number(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// The frame with its places, written {{so}}, taken by the texts of their names.
std::string filled(std::string_view frame, const std::map<std::string_view, std::string>& texts) {
    std::string page;
    for (;;) {
        const std::size_t begin = frame.find("{{");
        page += frame.substr(0, begin);
        if (begin == std::string_view::npos) {
            return page;
        }
        const std::size_t end = frame.find("}}", begin);
        page += texts.at(frame.substr(begin + 2, end - begin - 2));
        frame.remove_prefix(end + 2);
    }
}

std::string chips(const RepairReport& report) {
    const std::size_t left = report.markers.size() - static_cast<std::size_t>(report.repaired());
    const auto chip = [](const std::string& text) { return "<span>" + text + "</span>\n"; };
    return std::string(report.repaired() > 0 ? "<span class=\"good\">" : "<span>") +
           std::to_string(report.repaired()) + " of " + std::to_string(report.markers.size()) +
           " markers repaired</span>\n" +
           (left > 0 ? "<span class=\"bad\">" + std::to_string(left) + " left</span>\n" : "") +
           chip("cut " + number("%.3g", report.marker_size) + " beyond the radius") +
           chip(std::to_string(report.faces_before) + " → " + std::to_string(report.faces_after) +
                " faces") +
           chip(number("%.2f", report.seconds()) + " s");
}

std::string notes(const RepairReport& report) {
    std::string text;
    for (const std::vector<std::string>* lines : {&report.warnings, &report.not_kept}) {
        for (const std::string& line : *lines) {
            text += "<p class=\"note\">" + escaped(line) + "</p>\n";
        }
    }
    return text;
}

std::string words(const MarkerReport& marker) {
    std::string text = describe(marker.outcome);
    const std::string rim = marker.rim ? phrase(*marker.rim) : "";
    for (const std::string& more : {marker.search, marker.placement, rim}) {
        text += more.empty() ? "" : "; " + more;
    }
    return escaped(text);
}

std::string row(const RepairPage& page, std::size_t marker, const MarkerReport& report,
                float radius, const std::map<std::size_t, std::size_t>& view_of) {
    const auto view = view_of.find(marker);
    const bool seen = view != view_of.end();
    const std::string name = std::to_string(marker + 1);
    const std::optional<PlaceFigures>& figures = page.figures.at(marker);
    const auto cell = [](const std::string& text) { return "<td>" + text + "</td>"; };
    return "<tr" +
           (seen ? " class=\"seen\" data-view=\"" + std::to_string(view->second) + "\"" : "") +
           ">" + cell(seen ? "<button type=\"button\">" + name + "</button>" : name) +
           "<td class=\"wide " + (is_repaired(report.outcome) ? "good" : "bad") + "\">" +
           words(report) + "</td>" + cell(figures ? number("%.1f°", figures->seam_bend) : "–") +
           cell(figures ? number("%.3g", figures->distance) : "–") +
           cell(std::to_string(report.border_vertices)) + cell(std::to_string(report.new_faces)) +
           cell(number("%.3g", radius)) + "</tr>\n";
}

} // namespace

std::string page_html(const RepairPage& page, const RepairReport& report,
                      const std::vector<Marker>& markers, const std::string& title) {
    std::map<std::size_t, std::size_t> view_of;
    std::string views;
    for (const PlaceView& place : page.views) {
        view_of.emplace(place.marker, view_of.size());
        views += "<script type=\"application/octet-stream\" data-marker=\"" +
                 std::to_string(place.marker + 1) + "\" data-words=\"" +
                 words(report.markers.at(place.marker)) + "\">" + base64(to_bytes(place.view)) +
                 "</script>\n";
    }
    std::string rows;
    for (const std::size_t marker : page.worst_first) {
        rows += row(page, marker, report.markers.at(marker), markers.at(marker).radius, view_of);
    }
    return filled(page_html_text, {{"title", escaped(title)},
                                   {"style", std::string(page_css_text)},
                                   {"chips", chips(report)},
                                   {"notes", notes(report)},
                                   {"rows", rows},
                                   {"views", views},
                                   {"script", std::string(page_js_text)}});
}

void write_page(const std::filesystem::path& file, const RepairPage& page,
                const RepairReport& report, const std::vector<Marker>& markers,
                const std::string& title) {
    write_text(file, page_html(page, report, markers, title));
}

} // namespace KVN::toolkit
