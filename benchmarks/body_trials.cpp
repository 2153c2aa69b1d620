#include "body_trials.hpp"

#include "edge_table.hpp"

#include "kelvane/toolkit/synthesis/portable_random.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace KVN::bench {

namespace {

using toolkit::PortableRandom;

constexpr double clearance = 15;     // mm between two feet: the surface around one is bare
constexpr double rim_clearance = 11; // mm
constexpr std::size_t most_bodies = 14;
constexpr double reach_radii = 10; // half height of what is judged, in radii

Vector3d centre_of(const Marker& m) {
    return {m.x, m.y, m.z};
}

Vector3d normal_of(const Marker& m) {
    return Vector3d(m.nx, m.ny, m.nz).normalized();
}

Marker marker_at(const Vector3d& centre, const Vector3d& normal, double radius) {
    return {float(centre.x()), float(centre.y()), float(centre.z()), float(normal.x()),
            float(normal.y()), float(normal.z()), float(radius)};
}

std::vector<Vector3d> rim_points(const TriangleMesh& mesh) {
    std::vector<Vector3d> points;
    EdgeTable(mesh).for_each([&](const EdgeUse* begin, const EdgeUse* end) {
        if (end - begin == 1) {
            points.push_back(mesh.vertex(begin->low));
        }
    });
    return points;
}

bool clear_of(const std::vector<Vector3d>& points, const Vector3d& p, double distance) {
    return std::all_of(points.begin(), points.end(),
                       [&](const Vector3d& q) { return (p - q).norm() > distance; });
}

/// A place on the surface, seen along a foot's axis.
struct FootView {
    Vector3d centre, normal;
    double radius, half_height;

    bool holds(const Vector3d& p) const {
        const Vector3d d = p - centre;
        const double h = d.dot(normal);
        return std::fabs(h) <= half_height && (d - h * normal).norm() <= radius;
    }
};

} // namespace

const char* to_string(ListFault fault) {
    constexpr const char* names[] = {"exact", "tilted", "shifted", "at foot", "wide", "narrow"};
    return names[static_cast<int>(fault)];
}

BodyTrial body_trial(const MarkedScan& bare, toolkit::BodyKind kind, double edge,
                     std::uint64_t seed) {
    PortableRandom random(seed);
    const std::vector<Vector3d> rim = rim_points(bare.mesh);
    std::vector<Vector3d> taken;
    std::vector<toolkit::RaisedBody> bodies;
    BodyTrial trial;
    for (int attempt = 0; attempt < 400 && taken.size() < most_bodies; ++attempt) {
        const auto v = static_cast<int>(random.uniform() * bare.mesh.vertices());
        const SurfacePoint at = bare.truth->closest(bare.mesh.vertex(v));
        const double radius = random.uniform(2.0, 3.5);
        if (clear_of(taken, at.point, clearance) && clear_of(rim, at.point, rim_clearance)) {
            taken.push_back(at.point);
            trial.feet.push_back(marker_at(at.point, at.normal, radius));
            bodies.push_back({kind, trial.feet.back()});
        }
    }
    toolkit::RaisedScan raised = raise_bodies(bare.mesh, bodies, {edge, 0.01, seed});
    trial.scan.name = bare.name;
    trial.scan.mesh = TriangleMesh(std::move(raised.scan));
    trial.scan.markers = std::move(raised.markers);
    trial.scan.margin = bare.margin;
    trial.scan.truth = bare.truth;
    return trial;
}

BodyTrial sticker_trial(const MarkedScan& scan) {
    BodyTrial trial{scan, {}};
    const std::vector<Vector3d> rim = rim_points(scan.mesh);
    auto& markers = trial.scan.markers;
    markers.erase(std::remove_if(
                      markers.begin(), markers.end(),
                      [&](const Marker& m) { return !clear_of(rim, centre_of(m), rim_clearance); }),
                  markers.end());
    trial.feet = markers;
    return trial;
}

std::vector<Marker> listed(const BodyTrial& trial, ListFault fault, std::uint64_t seed) {
    constexpr double pi = 3.14159265358979323846;
    PortableRandom random(seed);
    std::vector<Marker> markers = trial.scan.markers;
    for (std::size_t i = 0; i < markers.size(); ++i) {
        Marker& m = markers[i];
        const Vector3d n = normal_of(m);
        const Vector3d sideways =
            Eigen::AngleAxisd(random.uniform(-pi, pi), n) * n.unitOrthogonal();
        switch (fault) {
        case ListFault::none:
            break;
        case ListFault::tilted:
            m = marker_at(centre_of(m), Eigen::AngleAxisd(pi / 9, sideways) * n, m.radius);
            break;
        case ListFault::shifted:
            m = marker_at(centre_of(m) + 0.6 * sideways, n, m.radius);
            break;
        case ListFault::at_foot:
            m = trial.feet[i];
            break;
        case ListFault::wide:
            m.radius *= 1.2F;
            break;
        case ListFault::narrow:
            m.radius *= 0.85F;
            break;
        }
    }
    return markers;
}

void BodyScore::add(const BodyScore& other) {
    markers += other.markers;
    repaired += other.repaired;
    good += other.good;
    wrong += other.wrong;
    refused += other.refused;
    rms.insert(rms.end(), other.rms.begin(), other.rms.end());
}

BodyScore judge(const BodyTrial& trial, double edge, const toolkit::Scan& repaired,
                const toolkit::RepairReport& report) {
    constexpr double most_off = 0.6;    // edges
    constexpr double patch_share = 0.9; // of R, within which all vertices are new
    const TriangleMesh mesh{repaired};
    const std::vector<Vector3d> open = rim_points(mesh);
    BodyScore score;
    for (std::size_t i = 0; i < trial.feet.size(); ++i) {
        const Marker& foot = trial.feet[i];
        const double cut = foot.radius + report.marker_size;
        const FootView view{centre_of(foot), normal_of(foot), cut + 2 * edge,
                            reach_radii * foot.radius};
        FootView patch = view;
        patch.radius = patch_share * cut;
        bool good = std::none_of(open.begin(), open.end(),
                                 [&](const Vector3d& p) { return view.holds(p); });
        double squares = 0;
        int count = 0;
        for (int v = 0; v < mesh.vertices(); ++v) {
            const Vector3d p = mesh.vertex(v);
            if (!view.holds(p)) {
                continue;
            }
            const double off = (p - trial.scan.truth->closest(p).point).norm();
            good = good && off <= most_off * edge;
            if (patch.holds(p)) {
                squares += off * off;
                ++count;
            }
        }
        const toolkit::Outcome outcome = report.markers[i].outcome;
        const bool reported = is_repaired(outcome);
        ++score.markers;
        score.repaired += reported;
        score.good += reported && good;
        score.wrong += reported && !good;
        score.refused += outcome == toolkit::Outcome::body_not_bounded;
        if (reported && good && count > 0) {
            score.rms.push_back(std::sqrt(squares / count));
        }
    }
    return score;
}

} // namespace KVN::bench
