#include "marked_scan.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"

#include <algorithm>
#include <fstream>

namespace KVN::bench {

namespace fs = std::filesystem;

namespace {

std::optional<double> margin_of(const fs::path& folder,
                                const std::map<std::string, double>& margins) {
    const auto given = margins.find(folder.filename().string());
    if (given != margins.end()) {
        return given->second;
    }
    const fs::path file = folder / "margin";
    if (!fs::exists(file)) {
        return std::nullopt;
    }
    double margin = 0;
    std::ifstream in(file);
    if (!(in >> margin)) {
        throw toolkit::InputError(file.string() + ": holds no number");
    }
    return margin;
}

} // namespace

std::vector<Vector3d> MarkedScan::centres() const {
    std::vector<Vector3d> result;
    for (const Marker& m : markers) {
        result.emplace_back(m.x, m.y, m.z);
    }
    return result;
}

std::vector<MarkedScan> read_marked_scans(const fs::path& folder,
                                          const std::map<std::string, double>& margins) {
    std::vector<fs::path> folders;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (fs::exists(entry.path() / "marked.ply") && fs::exists(entry.path() / "truth.ply") &&
            fs::exists(entry.path() / "markers.csv")) {
            folders.push_back(entry.path());
        }
    }
    std::sort(folders.begin(), folders.end());
    std::vector<MarkedScan> scans;
    for (const fs::path& one : folders) {
        MarkedScan scan;
        scan.name = one.filename().string();
        scan.mesh = TriangleMesh(toolkit::read_scan(one / "marked.ply"));
        TriangleMesh truth(toolkit::read_scan(one / "truth.ply"));
        scan.outline = outline_of(truth);
        scan.truth = mesh_truth(std::move(truth));
        scan.markers = toolkit::read_markers(one / "markers.csv");
        scan.margin = margin_of(one, margins);
        scans.push_back(std::move(scan));
    }
    return scans;
}

} // namespace KVN::bench
