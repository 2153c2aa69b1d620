#include "accuracy_report.hpp"

#include <nlohmann/json.hpp>

namespace KVN::bench {

namespace {

using Json = nlohmann::ordered_json;

Json to_json(const PatchMetrics& p, Place place) {
    const char* places[] = {"interior", "rim", "open"};
    return {{"place", places[int(place)]},
            {"faces", p.faces},
            {"local_edge", p.local_edge},
            {"rms", p.rms},
            {"max", p.max},
            {"vertex_rms", p.vertex_rms},
            {"vertex_max", p.vertex_max},
            {"normal_max", p.normal_max},
            {"seam_rms", p.seam_rms},
            {"seam_mean", p.seam_mean},
            {"seam_max", p.seam_max},
            {"outline_rms", p.outline_rms},
            {"aspect_p95", p.aspect_p95},
            {"aspect_max", p.aspect_max},
            {"open_edges", p.open_edges},
            {"non_manifold", p.non_manifold},
            {"degenerate", p.degenerate},
            {"flipped", p.flipped},
            {"intersections", p.intersections}};
}

Json to_json(const MethodRun& run) {
    Json json = {{"method", run.name}, {"present", run.present}};
    if (!run.present) {
        return json;
    }
    json["left_open"] = run.metrics.left_open;
    json["untouched_kept"] = run.metrics.untouched;
    json["fill_seconds"] = run.fill_seconds;
    json["run_seconds"] = run.run_seconds;
    json["notes"] = run.notes;
    json["markers"] = Json::array();
    for (std::size_t m = 0; m < run.places.size(); ++m) {
        json["markers"].push_back(to_json(run.metrics.markers[m], run.places[m]));
    }
    return json;
}

} // namespace

std::string accuracy_json(const std::vector<ScanRuns>& scans) {
    Json json;
    json["scans"] = Json::array();
    for (const ScanRuns& runs : scans) {
        Json one = {{"name", runs.name},
                    {"faces", runs.faces},
                    {"edge", runs.edge},
                    {"margin", runs.margin},
                    {"methods", Json::array()}};
        for (const MethodRun* run : runs.all()) {
            one["methods"].push_back(to_json(*run));
        }
        json["scans"].push_back(one);
    }
    for (const toolkit::MethodInfo& info : toolkit::methods()) {
        for (const Place place : {Place::interior, Place::rim}) {
            const char* key = place == Place::rim ? "rim_peer_ratios" : "peer_ratios";
            for (const PeerRatio& ratio : peer_ratios(scans, info.method, place)) {
                json[key][info.name][ratio.measure] = {
                    {"mean", ratio.mean}, {"required", ratio.required}, {"markers", ratio.markers}};
            }
        }
    }
    json["faults"] = faults(scans);
    return json.dump(2) + "\n";
}

} // namespace KVN::bench
