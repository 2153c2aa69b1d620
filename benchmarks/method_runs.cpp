#include "method_runs.hpp"

#include "edge_table.hpp"
#include "peer_fill.hpp"

#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace KVN::bench {

using toolkit::Method;
using toolkit::Outcome;

namespace {

std::vector<double> reaches(const MarkedScan& scan, double margin) {
    std::vector<double> result;
    for (const Marker& m : scan.markers) {
        result.push_back(m.radius + margin);
    }
    return result;
}

Place place_of(Outcome outcome, const PatchMetrics& patch) {
    switch (outcome) {
    case Outcome::repaired_with_neighbour:
        return Place::interior;
    case Outcome::repaired_loop:
        return patch.faces > 0 && patch.open_edges == 0 ? Place::interior : Place::open;
    case Outcome::repaired_chain:
        return patch.faces > 0 ? Place::rim : Place::open;
    default:
        return Place::open;
    }
}

double stage_seconds(const toolkit::RepairReport& report, toolkit::Stage first,
                     toolkit::Stage last) {
    double sum = 0;
    for (const toolkit::StageTime& time : report.times) {
        if (time.stage >= first && time.stage <= last) {
            sum += time.seconds;
        }
    }
    return sum;
}

MethodRun run_method(const MarkedScan& scan, Method method, int threads, double& margin) {
    toolkit::RepairOptions options;
    options.marker_size = scan.margin;
    options.method = method;
    options.threads = threads;
    RepairedMesh repaired{scan.mesh, {}};
    const toolkit::RepairReport report = toolkit::repair_scan(repaired.mesh, scan.markers, options);
    repaired.origin = match_origins(scan.mesh, repaired.mesh);
    margin = report.marker_size;

    MethodRun run;
    run.name = toolkit::to_string(method);
    run.metrics = measure_repair(scan.mesh, repaired, scan.centres(), *scan.truth, scan.outline);
    run.metrics.untouched =
        untouched_vertices_kept(scan.mesh, repaired, scan.centres(), reaches(scan, margin));
    std::map<std::string, std::string> left; // markers by what became of them
    for (std::size_t m = 0; m < scan.markers.size(); ++m) {
        const Outcome outcome = report.markers[m].outcome;
        run.places.push_back(place_of(outcome, run.metrics.markers[m]));
        run.shared.push_back(outcome == Outcome::repaired_with_neighbour);
        if (run.places.back() == Place::open) {
            left[to_string(outcome)] += " " + std::to_string(m);
        }
    }
    for (const auto& [outcome, list] : left) {
        run.notes.push_back("left open, " + outcome + ": markers" + list);
    }
    run.notes.insert(run.notes.end(), report.diagnostics.begin(), report.diagnostics.end());
    run.fill_seconds = stage_seconds(report, toolkit::Stage::discovery, toolkit::Stage::fairing);
    run.run_seconds = report.seconds();
    return run;
}

MethodRun run_peer(const MarkedScan& scan, const MethodRun& ours, double margin) {
    MethodRun run;
    run.name = "peer";
    run.present = peer_available();
    if (!run.present) {
        return run;
    }
    const RepairedMesh cut = cut_scan(scan.mesh, scan.markers, margin);
    const CutBorders borders = cut_borders(scan.mesh, cut);
    std::vector<HoleBorder> all = borders.loops;
    all.insert(all.end(), borders.chains.begin(), borders.chains.end());
    const PeerResult result = fill_with_peer(cut, all);
    run.metrics =
        measure_repair(scan.mesh, result.repaired, scan.centres(), *scan.truth, scan.outline);
    run.metrics.untouched =
        untouched_vertices_kept(scan.mesh, result.repaired, scan.centres(), reaches(scan, margin));
    run.fill_seconds = result.fill_seconds;
    for (std::size_t m = 0; m < scan.markers.size(); ++m) {
        const PatchMetrics& patch = run.metrics.markers[m];
        const bool inside = ours.shared[m] || (patch.faces > 0 && patch.open_edges == 0);
        const bool at_rim = ours.places[m] == Place::rim && patch.faces > 0;
        run.places.push_back(inside ? Place::interior : at_rim ? Place::rim : Place::open);
    }
    run.shared = ours.shared;
    if (result.refused_faces > 0) {
        run.notes.push_back(std::to_string(result.refused_faces) +
                            " faces of the cut scan do not fit the peer's mesh");
    }
    return run;
}

} // namespace

RepairedMesh cut_scan(const TriangleMesh& scan, const std::vector<Marker>& markers, double margin) {
    Mesh mesh;
    Mesh_M::build_mesh(mesh, scan.positions.data(), scan.vertex_count(), scan.triangles.data(),
                       scan.face_count());
    std::vector<Marker> list = markers;
    RepairMarkers repair(&mesh, list, margin, 0, nullptr, 0);
    repair.DeleteMarkRegion();
    Mesh_M::MeshArrays arrays = Mesh_M::to_arrays(mesh);
    RepairedMesh cut;
    cut.mesh.positions = std::move(arrays.positions);
    cut.mesh.triangles = std::move(arrays.triangles);
    cut.origin.assign(arrays.stored_as.begin(), arrays.stored_as.end());
    return cut;
}

CutBorders cut_borders(const TriangleMesh& scan, const RepairedMesh& cut) {
    const EdgeTable before(scan);
    HoleBorder opened;
    EdgeTable(cut.mesh).for_each([&](const EdgeUse* begin, const EdgeUse* end) {
        if (end - begin == 1 && before.uses(cut.origin[begin->low], cut.origin[begin->high]) > 1) {
            opened.emplace_back(begin->low, begin->high);
        }
    });
    // Pieces that hang together in their vertices, and whether every vertex of them has a way on.
    std::vector<int> parent(cut.mesh.vertices()), degree(cut.mesh.vertices(), 0);
    std::iota(parent.begin(), parent.end(), 0);
    const auto root = [&](int v) {
        while (parent[v] != v) {
            v = parent[v] = parent[parent[v]];
        }
        return v;
    };
    for (const auto& [a, b] : opened) {
        parent[root(a)] = root(b);
        ++degree[a];
        ++degree[b];
    }
    std::map<int, HoleBorder> pieces; // by root
    std::set<int> chains;
    for (const auto& edge : opened) {
        pieces[root(edge.first)].push_back(edge);
        if (degree[edge.first] % 2 != 0 || degree[edge.second] % 2 != 0) {
            chains.insert(root(edge.first));
        }
    }
    CutBorders borders;
    for (auto& [piece_root, piece] : pieces) {
        (chains.count(piece_root) == 0 ? borders.loops : borders.chains)
            .push_back(std::move(piece));
    }
    return borders;
}

ScanRuns run_methods(const MarkedScan& scan, int threads) {
    ScanRuns runs;
    runs.name = scan.name;
    runs.faces = scan.mesh.faces();
    runs.edge = toolkit::mean_edge_length(scan.mesh);
    for (const toolkit::MethodInfo& info : toolkit::methods()) {
        runs.methods.push_back(run_method(scan, info.method, threads, runs.margin));
    }
    runs.peer = run_peer(scan, runs.methods.front(), runs.margin);
    return runs;
}

std::vector<const MethodRun*> ScanRuns::all() const {
    std::vector<const MethodRun*> shown;
    for (const MethodRun& run : methods) {
        shown.push_back(&run);
    }
    shown.push_back(&peer);
    return shown;
}

} // namespace KVN::bench
