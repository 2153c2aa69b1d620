#include "accuracy_report.hpp"

#include "statistics.hpp"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <ostream>

namespace KVN::bench {

namespace {

using toolkit::Method;
using toolkit::methods;

using Measure = std::function<double(const PatchMetrics&)>;

std::string text(const char* format, double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

std::string padded(const std::string& s, std::size_t width) {
    return s.size() >= width ? s : std::string(width - s.size(), ' ') + s;
}

bool measured(const MethodRun& run, std::size_t m, Place place) {
    return run.places[m] == place && run.metrics.markers[m].faces > 0;
}

std::vector<double> values(const MethodRun& run, Place place, const Measure& measure) {
    std::vector<double> result;
    for (std::size_t m = 0; m < run.places.size(); ++m) {
        if (measured(run, m, place)) {
            result.push_back(measure(run.metrics.markers[m]));
        }
    }
    return result;
}

std::string closed(const MethodRun& run, Place place, const MethodRun& judge) {
    int of = 0, done = 0;
    for (std::size_t m = 0; m < run.places.size(); ++m) {
        const bool here = (judge.places[m] == Place::rim) == (place == Place::rim);
        of += here;
        done += here && run.places[m] == place;
    }
    return std::to_string(done) + "/" + std::to_string(of);
}

struct RowOf {
    const char* label;
    const char* format;
    Measure measure;
    double (*combine)(std::vector<double>);
};

const std::vector<RowOf>& rows() {
    using P = PatchMetrics;
    static const std::vector<RowOf> all = {
        {"rms distance, mm, median", "%.5f", [](const P& p) { return p.rms; }, median},
        {"rms distance, mm, largest", "%.5f", [](const P& p) { return p.rms; }, largest},
        {"rms / local edge, median", "%.4f", [](const P& p) { return p.rms / p.local_edge; },
         median},
        {"max distance, mm, median", "%.4f", [](const P& p) { return p.max; }, median},
        {"max distance, mm, largest", "%.4f", [](const P& p) { return p.max; }, largest},
        {"max / local edge, largest", "%.4f", [](const P& p) { return p.max / p.local_edge; },
         largest},
        {"rms of new vertices, mm, median", "%.5f", [](const P& p) { return p.vertex_rms; },
         median},
        {"max of new vertices, mm, largest", "%.4f", [](const P& p) { return p.vertex_max; },
         largest},
        {"normal deviation, deg, median", "%.2f", [](const P& p) { return p.normal_max; }, median},
        {"normal deviation, deg, largest", "%.2f", [](const P& p) { return p.normal_max; },
         largest},
        {"seam angle, deg, mean", "%.3f", [](const P& p) { return p.seam_mean; }, mean},
        {"seam angle, deg, rms, median", "%.3f", [](const P& p) { return p.seam_rms; }, median},
        {"seam angle, deg, largest", "%.2f", [](const P& p) { return p.seam_max; }, largest},
        {"outline, mm, rms, median", "%.4f", [](const P& p) { return p.outline_rms; }, median},
        {"aspect p95, median", "%.3f", [](const P& p) { return p.aspect_p95; }, median},
        {"aspect, largest", "%.2f", [](const P& p) { return p.aspect_max; }, largest},
        {"faces", "%.0f", [](const P& p) { return double(p.faces); }, sum},
        {"non-manifold edges, new", "%.0f", [](const P& p) { return double(p.non_manifold); }, sum},
        {"degenerate faces", "%.0f", [](const P& p) { return double(p.degenerate); }, sum},
        {"flipped faces", "%.0f", [](const P& p) { return double(p.flipped); }, sum},
        {"self-intersections", "%.0f", [](const P& p) { return double(p.intersections); }, sum},
    };
    return all;
}

void print_row(std::ostream& out, const std::string& label, const ScanRuns& runs,
               const std::function<std::string(const MethodRun&)>& cell) {
    out << "  " << label << std::string(label.size() < 34 ? 34 - label.size() : 1, ' ');
    for (const MethodRun* run : runs.all()) {
        out << padded(run->present ? cell(*run) : "absent", 12);
    }
    out << '\n';
}

void print_place(std::ostream& out, const ScanRuns& runs, Place place) {
    const MethodRun& judge = runs.of(Method::fast);
    print_row(out, place == Place::rim ? "rim markers closed" : "interior markers closed", runs,
              [&](const MethodRun& run) { return closed(run, place, judge); });
    for (const RowOf& row : rows()) {
        print_row(out, row.label, runs, [&](const MethodRun& run) {
            const auto all = values(run, place, row.measure);
            return all.empty() ? std::string("-") : text(row.format, row.combine(all));
        });
    }
}

void print_markers(std::ostream& out, const ScanRuns& runs) {
    out << "  per marker: rms mm, max mm, normal deg, seam rms deg, seam max deg, aspect p95, "
           "faces, edge mm\n";
    for (std::size_t m = 0; m < runs.of(Method::fast).places.size(); ++m) {
        for (const MethodRun* shown : runs.all()) {
            const MethodRun& run = *shown;
            if (!run.present) {
                continue;
            }
            const PatchMetrics& p = run.metrics.markers[m];
            const char* places[] = {"interior", "rim", "open"};
            char line[200];
            std::snprintf(line, sizeof line,
                          "  %3d %-5s%-9s%9.5f%9.4f%8.2f%8.3f%8.2f%8.3f%7d%8.3f\n", int(m),
                          run.name.c_str(), places[int(run.places[m])], p.rms, p.max, p.normal_max,
                          p.seam_rms, p.seam_max, p.aspect_p95, p.faces, p.local_edge);
            out << line;
        }
    }
}

// Ratios of two methods, marker by marker, over the markers at a place that both have closed alone.
std::vector<double> ratios(const MethodRun& a, const MethodRun& b, Place place,
                           const Measure& measure) {
    std::vector<double> result;
    if (!a.present || !b.present) {
        return result;
    }
    for (std::size_t m = 0; m < a.places.size(); ++m) {
        if (!measured(a, m, place) || !measured(b, m, place) || a.shared[m] || b.shared[m]) {
            continue;
        }
        const double above = measure(a.metrics.markers[m]), below = measure(b.metrics.markers[m]);
        if (above > 0 && below > 0) {
            result.push_back(above / below);
        }
    }
    return result;
}

// One of the runs on a scan.
using Pick = std::function<const MethodRun&(const ScanRuns&)>;

// What is compared with what, and where.
struct Comparison {
    Pick over;
    Pick under;
    Place place;
    double (*combine)(std::vector<double>);
};

Pick ours(Method method) {
    return [method](const ScanRuns& runs) -> const MethodRun& { return runs.of(method); };
}

const MethodRun& peer(const ScanRuns& runs) {
    return runs.peer;
}

std::vector<double> ratios(const std::vector<ScanRuns>& scans, const Comparison& of,
                           const Measure& measure) {
    std::vector<double> all;
    for (const ScanRuns& runs : scans) {
        const auto some = ratios(of.over(runs), of.under(runs), of.place, measure);
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

struct Compared {
    const char* name;
    double required;     // at most, against the peer; 0: none
    double required_rim; // the same, on the rim
    Measure measure;
};

const std::vector<Compared>& compared() {
    static const std::vector<Compared> all = {
        {"rms", 1.05, 0.65, [](const PatchMetrics& p) { return p.rms; }},
        {"seam", 1.05, 1.05, [](const PatchMetrics& p) { return p.seam_rms; }},
        {"aspect", 1.10, 1.00, [](const PatchMetrics& p) { return p.aspect_p95; }},
        {"max", 0, 0, [](const PatchMetrics& p) { return p.max; }},
        {"rms, new", 0, 0, [](const PatchMetrics& p) { return p.vertex_rms; }},
        {"max, new", 0, 0, [](const PatchMetrics& p) { return p.vertex_max; }},
        {"normal", 0, 0, [](const PatchMetrics& p) { return p.normal_max; }},
        {"outline", 0, 0, [](const PatchMetrics& p) { return p.outline_rms; }},
    };
    return all;
}

void print_ratio_line(std::ostream& out, const std::string& name,
                      const std::vector<ScanRuns>& scans, const Comparison& of) {
    out << "  " << name << std::string(name.size() < 24 ? 24 - name.size() : 1, ' ');
    for (const Compared& one : compared()) {
        const auto all = ratios(scans, of, one.measure);
        out << padded(all.empty() ? "-" : text("%.3f", of.combine(all)), 10);
    }
    out << '\n';
}

void print_ratio_table(std::ostream& out, const std::string& title,
                       const std::vector<ScanRuns>& scans, const Comparison& of) {
    out << '\n' << title << '\n' << std::string(26, ' ');
    for (const Compared& one : compared()) {
        out << padded(one.name, 10);
    }
    out << '\n';
    for (const ScanRuns& runs : scans) {
        print_ratio_line(out, runs.name, {runs}, of);
    }
    print_ratio_line(out, "all", scans, of);
}

void print_against_peer(std::ostream& out, const std::vector<ScanRuns>& scans,
                        const toolkit::MethodInfo& info, Place place) {
    const std::string where = place == Place::rim ? "rim" : "interior";
    print_ratio_table(out, info.name + (" / peer, geometric mean over the " + where) + " markers",
                      scans, {ours(info.method), peer, place, geometric_mean});
    for (const PeerRatio& ratio : peer_ratios(scans, info.method, place)) {
        out << "  " << ratio.measure << " over " << ratio.markers
            << " markers: " << (ratio.markers ? text("%.3f", ratio.mean) : "-") << ", required "
            << text("%.2f", ratio.required) << ": "
            << (ratio.markers == 0 ? "no peer"
                : ratio.met()      ? "met"
                                   : "MISSED")
            << '\n';
    }
}

} // namespace

void print_scan(std::ostream& out, const ScanRuns& runs, bool per_marker) {
    out << "\n== " << runs.name << ": " << runs.faces << " faces, mean edge "
        << text("%.3f", runs.edge) << " mm, " << runs.of(Method::fast).places.size()
        << " markers, margin " << text("%.2f", runs.margin) << " mm\n";
    print_row(out, "", runs, [](const MethodRun& run) { return run.name; });
    print_place(out, runs, Place::interior);
    const auto& places = runs.of(Method::fast).places;
    if (std::find(places.begin(), places.end(), Place::rim) != places.end()) {
        print_place(out, runs, Place::rim);
    }
    print_row(out, "edges left open", runs,
              [](const MethodRun& run) { return std::to_string(run.metrics.left_open); });
    print_row(out, "untouched vertices kept", runs,
              [](const MethodRun& run) { return run.metrics.untouched ? "yes" : "no"; });
    print_row(out, "time of filling, ms", runs,
              [](const MethodRun& run) { return text("%.1f", 1e3 * run.fill_seconds); });
    print_row(out, "time of the whole run, ms", runs, [](const MethodRun& run) {
        return run.run_seconds > 0 ? text("%.1f", 1e3 * run.run_seconds) : std::string("-");
    });
    for (const MethodRun* run : runs.all()) {
        for (const std::string& note : run->notes) {
            out << "  " << run->name << ": " << note << '\n';
        }
    }
    if (per_marker) {
        print_markers(out, runs);
    }
}

std::vector<PeerRatio> peer_ratios(const std::vector<ScanRuns>& scans, Method method, Place place) {
    std::vector<PeerRatio> result;
    for (const Compared& one : compared()) {
        const double required = place == Place::rim ? one.required_rim : one.required;
        if (required > 0) {
            const auto all =
                ratios(scans, {ours(method), peer, place, geometric_mean}, one.measure);
            result.push_back({one.name, required, all.empty() ? 0 : geometric_mean(all),
                              static_cast<int>(all.size())});
        }
    }
    return result;
}

void print_comparisons(std::ostream& out, const std::vector<ScanRuns>& scans) {
    if (scans.empty()) {
        return;
    }
    for (const Place place : {Place::interior, Place::rim}) {
        for (const toolkit::MethodInfo& info : methods()) {
            print_against_peer(out, scans, info, place);
        }
    }
    for (const toolkit::MethodInfo& info : methods()) {
        if (info.method != Method::fast) {
            print_ratio_table(
                out, std::string(info.name) + " / fast, median over the interior markers", scans,
                {ours(info.method), ours(Method::fast), Place::interior, median});
        }
    }
}

std::vector<std::string> faults(const std::vector<ScanRuns>& scans) {
    std::vector<std::string> lines;
    for (const ScanRuns& runs : scans) {
        for (const MethodRun& run : runs.methods) {
            const auto add = [&](const std::string& what, int count) {
                if (count > 0) {
                    lines.push_back(runs.name + ", " + run.name + ": " + std::to_string(count) +
                                    " " + what);
                }
            };
            PatchMetrics all;
            for (const PatchMetrics& p : run.metrics.markers) {
                all.non_manifold += p.non_manifold;
                all.degenerate += p.degenerate;
                all.flipped += p.flipped;
                all.intersections += p.intersections;
            }
            add("markers not closed",
                int(std::count(run.places.begin(), run.places.end(), Place::open)));
            add("new non-manifold edges", all.non_manifold);
            add("degenerate faces", all.degenerate);
            add("flipped faces", all.flipped);
            add("self-intersections", all.intersections);
            add("edges left open", run.metrics.left_open);
            add("untouched vertices not kept", !run.metrics.untouched);
        }
    }
    return lines;
}

} // namespace KVN::bench
