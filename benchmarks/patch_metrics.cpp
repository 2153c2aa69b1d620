#include "patch_metrics.hpp"

#include "edge_table.hpp"
#include "triangle_intersection.hpp"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace KVN::bench {

namespace {

constexpr double degrees = 180 / 3.14159265358979323846;
constexpr double degenerate_aspect = 1000;

double angle_between(const Vector3d& a, const Vector3d& b) {
    return degrees * std::atan2(a.cross(b).norm(), a.dot(b));
}

Vector3d area_vector(const TriangleMesh& mesh, int f) {
    const auto t = mesh.corners(f);
    return 0.5 * (t[1] - t[0]).cross(t[2] - t[0]);
}

double aspect_of(const TriangleMesh& mesh, int f) {
    const auto t = mesh.corners(f);
    const double longest =
        std::max({(t[1] - t[0]).norm(), (t[2] - t[1]).norm(), (t[0] - t[2]).norm()});
    const double area = area_vector(mesh, f).norm();
    if (!(area > 0)) {
        return std::numeric_limits<double>::infinity();
    }
    // The shortest altitude stands on the longest edge.
    return std::sqrt(3.0) / 2 * longest * longest / (2 * area);
}

// One flag per face of the result: 1 where the scan has no such face.
std::vector<char> new_faces(const TriangleMesh& scan, const RepairedMesh& repaired) {
    using Triple = std::array<std::int32_t, 3>;
    std::vector<Triple> old(scan.faces());
    for (int f = 0; f < scan.faces(); ++f) {
        old[f] = scan.face(f);
        std::sort(old[f].begin(), old[f].end());
    }
    std::sort(old.begin(), old.end());
    std::vector<char> is_new(repaired.mesh.faces(), 0);
    for (int f = 0; f < repaired.mesh.faces(); ++f) {
        Triple t = repaired.mesh.face(f);
        for (auto& v : t) {
            v = repaired.origin[v];
        }
        std::sort(t.begin(), t.end());
        is_new[f] = t[0] < 0 || !std::binary_search(old.begin(), old.end(), t);
    }
    return is_new;
}

// The pieces of the new faces that hang together over edges.
std::vector<std::vector<int>> components(const EdgeTable& edges, const std::vector<char>& is_new) {
    std::vector<int> parent(is_new.size());
    std::iota(parent.begin(), parent.end(), 0);
    const auto root = [&](int f) {
        while (parent[f] != f) {
            f = parent[f] = parent[parent[f]];
        }
        return f;
    };
    edges.for_each([&](const EdgeUse* begin, const EdgeUse* end) {
        int first = -1;
        for (const EdgeUse* use = begin; use != end; ++use) {
            if (is_new[use->face]) {
                if (first >= 0) {
                    parent[root(use->face)] = root(first);
                }
                first = use->face;
            }
        }
    });
    std::vector<int> slot(is_new.size(), -1);
    std::vector<std::vector<int>> pieces;
    for (int f = 0; f < static_cast<int>(is_new.size()); ++f) {
        if (is_new[f]) {
            int& s = slot[root(f)];
            if (s < 0) {
                s = static_cast<int>(pieces.size());
                pieces.emplace_back();
            }
            pieces[s].push_back(f);
        }
    }
    return pieces;
}

int closest_centre(const TriangleMesh& mesh, const std::vector<int>& faces,
                   const std::vector<Vector3d>& centres) {
    Vector3d middle = Vector3d::Zero();
    for (const int f : faces) {
        const auto t = mesh.corners(f);
        middle += (t[0] + t[1] + t[2]) / 3;
    }
    middle /= static_cast<double>(faces.size());
    int best = 0;
    for (int m = 1; m < static_cast<int>(centres.size()); ++m) {
        if ((centres[m] - middle).squaredNorm() < (centres[best] - middle).squaredNorm()) {
            best = m;
        }
    }
    return best;
}

// Distance, normals and triangle shape of one marker's patch.
void measure_faces(const TriangleMesh& mesh, const std::vector<int>& faces,
                   const TruthSurface& truth, PatchMetrics& metrics) {
    double weights = 0, squares = 0;
    std::vector<double> aspects;
    for (const int f : faces) {
        const auto t = mesh.corners(f);
        const Vector3d middle = (t[0] + t[1] + t[2]) / 3;
        const Vector3d normal = area_vector(mesh, f);
        const double area = normal.norm();
        const auto sample = [&](const Vector3d& p, double weight) {
            const double d = (truth.closest(p).point - p).norm();
            weights += weight * area;
            squares += weight * area * d * d;
            metrics.max = std::max(metrics.max, d);
        };
        for (int i = 0; i < 3; ++i) {
            sample(t[i], 1.0 / 20);
            sample((t[i] + t[(i + 1) % 3]) / 2, 2.0 / 15);
        }
        sample(middle, 9.0 / 20);
        const double aspect = aspect_of(mesh, f);
        aspects.push_back(aspect);
        if (aspect > degenerate_aspect) {
            ++metrics.degenerate; // its normal means nothing
            continue;
        }
        const double deviation = angle_between(normal, truth.closest(middle).normal);
        metrics.normal_max = std::max(metrics.normal_max, deviation);
        metrics.flipped += deviation >= 90;
    }
    metrics.faces = static_cast<int>(faces.size());
    metrics.rms = weights > 0 ? std::sqrt(squares / weights) : 0;
    std::sort(aspects.begin(), aspects.end());
    metrics.aspect_p95 = aspects[static_cast<std::size_t>(0.95 * (aspects.size() - 1) + 0.5)];
    metrics.aspect_max = aspects.back();
}

// How far the vertices that the patch brought lie from the true surface.
void measure_new_vertices(const RepairedMesh& repaired, const std::vector<int>& faces,
                          const TruthSurface& truth, PatchMetrics& metrics) {
    std::vector<int> added;
    for (const int f : faces) {
        for (int i = 0; i < 3; ++i) {
            const int v = repaired.mesh.triangles[3 * std::size_t(f) + i];
            if (repaired.origin[v] < 0) {
                added.push_back(v);
            }
        }
    }
    std::sort(added.begin(), added.end());
    added.erase(std::unique(added.begin(), added.end()), added.end());
    double squares = 0;
    for (const int v : added) {
        const Vector3d p = repaired.mesh.vertex(v);
        const double d = (truth.closest(p).point - p).norm();
        squares += d * d;
        metrics.vertex_max = std::max(metrics.vertex_max, d);
    }
    metrics.vertex_rms = added.empty() ? 0 : std::sqrt(squares / double(added.size()));
}

// What the edges tell: the seam, the closedness, the winding. `owner` is the marker of a new face,
// -1 of an old one.
void measure_edges(const TriangleMesh& mesh, const EdgeTable& edges, const std::vector<int>& owner,
                   std::vector<PatchMetrics>& markers) {
    std::vector<int> seams(markers.size(), 0);
    edges.for_each([&](const EdgeUse* begin, const EdgeUse* end) {
        const EdgeUse* patch =
            std::find_if(begin, end, [&](const EdgeUse& use) { return owner[use.face] >= 0; });
        if (patch == end) {
            return;
        }
        const int marker = owner[patch->face];
        PatchMetrics& metrics = markers[marker];
        metrics.open_edges += end - begin == 1;
        metrics.non_manifold += end - begin > 2;
        if (end - begin != 2) {
            return;
        }
        const EdgeUse* other = patch == begin ? begin + 1 : begin;
        metrics.flipped += patch->forward == other->forward;
        if (owner[other->face] < 0) {
            const double angle =
                angle_between(area_vector(mesh, patch->face), area_vector(mesh, other->face));
            metrics.local_edge += (mesh.vertex(patch->low) - mesh.vertex(patch->high)).norm();
            metrics.seam_mean += angle;
            metrics.seam_rms += angle * angle;
            metrics.seam_max = std::max(metrics.seam_max, angle);
            ++seams[marker];
        }
    });
    for (std::size_t m = 0; m < markers.size(); ++m) {
        if (seams[m] > 0) {
            markers[m].local_edge /= seams[m];
            markers[m].seam_mean /= seams[m];
            markers[m].seam_rms = std::sqrt(markers[m].seam_rms / seams[m]);
        }
    }
}

// How far the open edges of the patches lie from the true outline.
void measure_outline(const TriangleMesh& mesh, const EdgeTable& edges,
                     const std::vector<int>& owner, const Outline& outline,
                     std::vector<PatchMetrics>& markers) {
    constexpr int samples = 16; // per edge, in the middles of as many parts
    std::vector<double> lengths(markers.size(), 0);
    edges.for_each([&](const EdgeUse* begin, const EdgeUse* end) {
        const int marker = owner[begin->face];
        if (end - begin != 1 || marker < 0 || outline.empty()) {
            return;
        }
        const Vector3d a = mesh.vertex(begin->low), b = mesh.vertex(begin->high);
        const double part = (b - a).norm() / samples;
        for (int k = 0; k < samples; ++k) {
            const double d = distance_to(outline, a + (k + 0.5) / samples * (b - a));
            markers[marker].outline_rms += part * d * d;
            lengths[marker] += part;
        }
    });
    for (std::size_t m = 0; m < markers.size(); ++m) {
        if (lengths[m] > 0) {
            markers[m].outline_rms = std::sqrt(markers[m].outline_rms / lengths[m]);
        }
    }
}

// Edges of old faces only that the cut has opened and nothing has closed.
int count_left_open(const TriangleMesh& scan, const RepairedMesh& repaired, const EdgeTable& edges,
                    const std::vector<int>& owner) {
    const EdgeTable before(scan);
    int count = 0;
    edges.for_each([&](const EdgeUse* begin, const EdgeUse* end) {
        if (end - begin == 1 && owner[begin->face] < 0) {
            count += before.uses(repaired.origin[begin->low], repaired.origin[begin->high]) > 1;
        }
    });
    return count;
}

bool same_bits(const TriangleMesh& a, int va, const TriangleMesh& b, int vb) {
    return std::memcmp(&a.positions[3 * std::size_t(va)], &b.positions[3 * std::size_t(vb)],
                       3 * sizeof(float)) == 0;
}

} // namespace

Patches find_patches(const TriangleMesh& scan, const RepairedMesh& repaired,
                     const std::vector<Vector3d>& centres) {
    Patches patches;
    patches.pieces = components(EdgeTable(repaired.mesh), new_faces(scan, repaired));
    patches.piece_of_face.assign(repaired.mesh.faces(), -1);
    for (std::size_t p = 0; p < patches.pieces.size(); ++p) {
        patches.marker_of_piece.push_back(
            closest_centre(repaired.mesh, patches.pieces[p], centres));
        for (const int f : patches.pieces[p]) {
            patches.piece_of_face[f] = static_cast<int>(p);
        }
    }
    return patches;
}

RepairMetrics measure_repair(const TriangleMesh& scan, const RepairedMesh& repaired,
                             const std::vector<Vector3d>& centres, const TruthSurface& truth,
                             const Outline& outline) {
    const TriangleMesh& mesh = repaired.mesh;
    const EdgeTable edges(mesh);
    const Patches patches = find_patches(scan, repaired, centres);
    RepairMetrics result;
    result.markers.resize(centres.size());
    std::vector<std::vector<int>> faces(centres.size());
    std::vector<int> owner(mesh.faces(), -1);
    std::vector<char> is_new(mesh.faces(), 0);
    for (int f = 0; f < mesh.faces(); ++f) {
        owner[f] = patches.marker_of_face(f);
        is_new[f] = owner[f] >= 0;
        if (is_new[f]) {
            faces[owner[f]].push_back(f);
        }
    }
    for (std::size_t m = 0; m < centres.size(); ++m) {
        if (!faces[m].empty()) {
            measure_faces(mesh, faces[m], truth, result.markers[m]);
            measure_new_vertices(repaired, faces[m], truth, result.markers[m]);
        }
    }
    measure_edges(mesh, edges, owner, result.markers);
    measure_outline(mesh, edges, owner, outline, result.markers);
    for (const auto& pair : intersecting_pairs(mesh, is_new)) {
        ++result.markers[owner[pair.first]].intersections;
    }
    result.left_open = count_left_open(scan, repaired, edges, owner);
    return result;
}

namespace {

/// Vertices that the cuts leave alone: outside of all of them, and with a face that is.
std::vector<char> out_of_reach(const TriangleMesh& scan, const std::vector<Vector3d>& centres,
                               const std::vector<double>& reaches) {
    std::vector<char> within(scan.vertices(), 0);
    for (int v = 0; v < scan.vertices(); ++v) {
        for (std::size_t m = 0; m < centres.size() && !within[v]; ++m) {
            within[v] = (scan.vertex(v) - centres[m]).norm() <= reaches[m] * (1 + 1e-6);
        }
    }
    std::vector<char> outside(scan.vertices(), 0);
    for (int f = 0; f < scan.faces(); ++f) {
        const auto corners = scan.face(f);
        if (std::none_of(corners.begin(), corners.end(), [&](int v) { return within[v]; })) {
            for (const int v : corners) {
                outside[v] = 1;
            }
        }
    }
    return outside;
}

} // namespace

bool untouched_vertices_kept(const TriangleMesh& scan, const RepairedMesh& repaired,
                             const std::vector<Vector3d>& centres,
                             const std::vector<double>& reaches) {
    std::vector<char> kept(scan.vertices(), 0);
    int last = -1;
    bool new_ones_begun = false;
    for (int v = 0; v < repaired.mesh.vertices(); ++v) {
        const int from = repaired.origin[v];
        if (from < 0) {
            new_ones_begun = true;
            continue;
        }
        if (new_ones_begun || from <= last || !same_bits(repaired.mesh, v, scan, from)) {
            return false;
        }
        last = from;
        kept[from] = 1;
    }
    const std::vector<char> outside = out_of_reach(scan, centres, reaches);
    for (int v = 0; v < scan.vertices(); ++v) {
        if (!kept[v] && outside[v]) {
            return false;
        }
    }
    return true;
}

std::vector<int> match_origins(const TriangleMesh& scan, const TriangleMesh& repaired) {
    std::vector<int> origin(repaired.vertices(), -1);
    int next = 0;
    for (int v = 0; v < repaired.vertices(); ++v) {
        int candidate = next;
        while (candidate < scan.vertices() && !same_bits(repaired, v, scan, candidate)) {
            ++candidate;
        }
        if (candidate == scan.vertices()) {
            break; // new vertices from here on
        }
        origin[v] = candidate;
        next = candidate + 1;
    }
    return origin;
}

} // namespace KVN::bench
