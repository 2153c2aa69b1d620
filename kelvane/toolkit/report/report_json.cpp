#include "kelvane/toolkit/report/report_json.hpp"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>

namespace KVN::toolkit {

namespace {

using Json = nlohmann::ordered_json;

// Grows when a member of the report changes or goes; docs/report.schema.json describes this one.
constexpr int report_schema = 1;

/// A number that prints with the fewest digits that tell it from its neighbours of its own type, at
/// most `digits` for a double.
Json number(double value, int digits = 6) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value > 0 ? "inf" : "-inf";
    }
    char text[64];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits).ptr;
    double rounded = 0.0;
    std::from_chars(text, end, rounded);
    return rounded;
}

Json number(float value) {
    if (!std::isfinite(value)) {
        return number(static_cast<double>(value));
    }
    // Widened as it is, a float would print the digits of its double: 0.1 as 0.10000000149011612.
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    double rounded = 0.0;
    std::from_chars(text, end, rounded);
    return rounded;
}

Json loaded_json(const Mesh_M::BuildReport& loaded, std::int64_t short_faces) {
    return {{"too_few_corners", short_faces},
            {"degenerate", loaded.degenerate},
            {"duplicate", loaded.duplicate},
            {"out_of_range", loaded.out_of_range},
            {"non_manifold", loaded.overfull}};
}

Json body_json(const TakenBody& body) {
    return {{"islands", body.islands},
            {"specks", body.specks},
            {"walls", body.walls},
            {"faces", body.faces},
            {"base_height", number(body.base_height)}};
}

std::string dump(const Json& json) {
    return json.dump(2) + "\n";
}

} // namespace

std::string to_json(const RepairReport& report, const std::vector<Marker>& markers,
                    const RepairOptions& options) {
    Json entries = Json::array();
    for (std::size_t i = 0; i < report.markers.size(); ++i) {
        const MarkerReport& result = report.markers[i];
        const Marker& marker = markers.at(i);
        entries.push_back({{"marker", i + 1},
                           {"x", number(marker.x)},
                           {"y", number(marker.y)},
                           {"z", number(marker.z)},
                           {"radius", number(marker.radius)},
                           {"outcome", to_string(result.outcome)},
                           {"repaired", is_repaired(result.outcome)},
                           {"border_vertices", result.border_vertices},
                           {"new_vertices", result.new_vertices},
                           {"new_faces", result.new_faces}});
        if (result.body.faces > 0) {
            entries.back()["body"] = body_json(result.body);
        }
        if (result.unfaired) {
            entries.back()["fairing"] = "not_taken";
        }
        if (!result.placement.empty()) {
            entries.back()["placement"] = result.placement;
        }
        if (result.rim) {
            entries.back()["rim"] = to_string(*result.rim);
            entries.back()["rim_reason"] = describe(*result.rim);
        }
        if (!result.search.empty()) {
            entries.back()["search"] = result.search;
        }
    }
    Json seconds = Json::object();
    for (const StageTime& time : report.times) {
        seconds[to_string(time.stage)] = number(time.seconds, 3);
    }
    return dump(
        {{"schema", report_schema},
         {"markers", entries},
         {"repaired", report.repaired()},
         {"unrepaired", static_cast<int>(report.markers.size()) - report.repaired()},
         {"method", to_string(options.method)},
         {"marker_size", number(report.marker_size)},
         {"threads", report.threads},
         {"vertices", {{"before", report.vertices_before}, {"after", report.vertices_after}}},
         {"faces", {{"before", report.faces_before}, {"after", report.faces_after}}},
         {"refused_faces", loaded_json(report.loaded, report.short_faces)},
         {"seconds", seconds},
         {"seconds_total", number(report.seconds(), 3)},
         {"diagnostics", report.diagnostics},
         {"warnings", report.warnings},
         {"not_kept", report.not_kept}});
}

std::string to_json(const CutReport& report) {
    return dump(
        {{"vertices", {{"before", report.vertices_before}, {"after", report.vertices_after}}},
         {"faces", {{"before", report.faces_before}, {"after", report.faces_after}}},
         {"dropped_faces", loaded_json(report.loaded, report.short_faces)}});
}

std::string to_json(const ScanInfo& info) {
    const auto point = [](const std::array<float, 3>& p) {
        return Json::array({number(p[0]), number(p[1]), number(p[2])});
    };
    return dump({{"vertices", info.vertices},
                 {"faces", info.faces},
                 {"edges", info.edges},
                 {"bounds", {{"lower", point(info.lower)}, {"upper", point(info.upper)}}},
                 {"edge_length",
                  {{"min", number(info.edge_lengths.min)},
                   {"mean", number(info.edge_lengths.mean)},
                   {"median", number(info.edge_lengths.median)},
                   {"max", number(info.edge_lengths.max)}}},
                 {"boundary_edges", info.boundary_edges},
                 {"boundary_loops", info.boundary_loops},
                 {"non_manifold_edges", info.non_manifold_edges},
                 {"components", info.components},
                 {"isolated_vertices", info.isolated_vertices},
                 {"non_finite_vertices", info.non_finite_vertices},
                 {"dropped_faces", loaded_json(info.loaded, info.short_faces)}});
}

std::string to_json(const std::vector<MarkerDeviation>& deviations) {
    Json entries = Json::array();
    for (std::size_t i = 0; i < deviations.size(); ++i) {
        const MarkerDeviation& d = deviations[i];
        entries.push_back({{"marker", i + 1},
                           {"on_rim", d.on_rim},
                           {"samples", d.samples},
                           {"largest", number(d.largest)},
                           {"rms", number(d.rms)}});
    }
    const DeviationSummary all = summarise(deviations);
    return dump({{"markers", entries},
                 {"largest_inside", number(all.largest_inside)},
                 {"largest_on_rim", number(all.largest_on_rim)}});
}

} // namespace KVN::toolkit
