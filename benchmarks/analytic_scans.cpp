#include "analytic_scans.hpp"

#include "support/analytic_surfaces.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace KVN::bench {

using namespace support;

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double sticker_height = 0.15; // mm over the surface
constexpr double sticker_noise = 0.02;  // mm, standard deviation on the sticker

// Random numbers that are the same with every standard library (SplitMix64: Steele, Lea, Flood
// 2014).
class Random {
  public:
    explicit Random(std::uint64_t seed) : state(seed) {}
    double uniform() { // [0, 1)
        state += 0x9e3779b97f4a7c15u;
        std::uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1p-53;
    }
    double normal() { // Box and Muller
        const double r = std::sqrt(-2 * std::log(1 - uniform()));
        return r * std::cos(2 * pi * uniform());
    }

  private:
    std::uint64_t state;
};

// One row of vertices at about the same v.
struct Row {
    int first; // index of its first vertex
    int count;
    double shift; // of the vertices along u, in spacings
};

// Parameter along the row at which vertex `i` was meant to stand, 0 to 1.
double along(const Row& row, bool closed, int i) {
    const int steps = closed ? row.count : std::max(row.count - 1, 1);
    return (i + row.shift) / steps;
}

// Joins two rows by a strip of triangles that always advances the row whose next vertex comes
// first.
void join(const Row& low, const Row& high, bool closed, TriangleMesh& mesh) {
    const int low_steps = low.count == 1 ? 0 : low.count - (closed ? 0 : 1);
    const int high_steps = high.count == 1 ? 0 : high.count - (closed ? 0 : 1);
    int i = 0, j = 0;
    while (i < low_steps || j < high_steps) {
        const int a = low.first + i % low.count;
        const int b = high.first + j % high.count;
        const bool advance_low =
            j == high_steps ||
            (i < low_steps && along(low, closed, i + 1) <= along(high, closed, j + 1));
        if (advance_low) {
            ++i;
            mesh.add_face(a, low.first + i % low.count, b);
        } else {
            ++j;
            mesh.add_face(a, high.first + j % high.count, b);
        }
    }
}

// A mesh of `surface` in rows of constant v, each with as many vertices as its length asks for, all
// vertices shifted at random by up to a quarter of an edge; those on a rim stay on it.
TriangleMesh mesh_of(const AnalyticSurface& surface, double edge, Random& random,
                     std::vector<Vector3d>& normals) {
    constexpr double jitter = 0.25;
    const Domain d = surface.domain();
    const int steps = std::max(3, int(std::lround(surface.length_v() / (edge * std::sqrt(0.75)))));
    const int row_count = d.closed_v ? steps : steps + 1;
    TriangleMesh mesh;
    std::vector<Row> rows;
    for (int r = 0; r < row_count; ++r) {
        const double v = d.v0 + (d.v1 - d.v0) * r / steps;
        const double length = surface.length_u(v);
        int steps_u = std::max(1, int(std::lround(length / edge)));
        if (d.closed_u && steps_u > 1) {
            steps_u = std::max(3, steps_u);
        } else if (!d.closed_u) {
            steps_u += r % 2;
        }
        const Row row{mesh.vertices(), d.closed_u ? steps_u : steps_u + 1,
                      d.closed_u ? 0.5 * (r % 2) : 0.0};
        rows.push_back(row);
        const bool free_v = d.closed_v || (r > 0 && r + 1 < row_count);
        for (int i = 0; i < row.count; ++i) {
            const bool free_u = d.closed_u ? row.count > 1 : (i > 0 && i + 1 < row.count);
            const double du = free_u ? jitter * (2 * random.uniform() - 1) : 0.0;
            const double dv = free_v ? jitter * (2 * random.uniform() - 1) : 0.0;
            const double u =
                d.u0 + (d.u1 - d.u0) * (along(row, d.closed_u, i) + du / std::max(steps_u, 1));
            const double w = v + dv * (d.v1 - d.v0) / steps;
            mesh.add_vertex(surface.point(u, w));
            normals.push_back(surface.normal(u, w));
        }
    }
    for (int r = 0; r + 1 < row_count; ++r) {
        join(rows[r], rows[r + 1], d.closed_u, mesh);
    }
    if (d.closed_v) {
        join(rows.back(), rows.front(), d.closed_u, mesh);
    }
    return mesh;
}

void move_vertex(TriangleMesh& mesh, int v, const Vector3d& offset) {
    for (int i = 0; i < 3; ++i) {
        float& x = mesh.positions[3 * std::size_t(v) + i];
        x = static_cast<float>(x + offset[i]);
    }
}

// Raises the surface under each marker's disc, as a glued-on sticker does, and gives the marker the
// place and the normal that a scanner would report.
void put_stickers(const AnalyticSurface& surface, const std::vector<MarkerPlace>& places,
                  const std::vector<Vector3d>& normals, Random& random, MarkedScan& scan) {
    std::vector<Vector3d> centres;
    for (const MarkerPlace& place : places) {
        const Vector3d n = surface.normal(place.u, place.v);
        const Vector3d c = surface.point(place.u, place.v);
        const Vector3d top = c + sticker_height * n;
        centres.push_back(c);
        scan.markers.push_back({float(top.x()), float(top.y()), float(top.z()), float(n.x()),
                                float(n.y()), float(n.z()), float(place.radius)});
    }
    for (int v = 0; v < scan.mesh.vertices(); ++v) {
        const Vector3d p = scan.mesh.vertex(v);
        for (std::size_t m = 0; m < centres.size(); ++m) {
            if ((p - centres[m]).norm() < places[m].radius) {
                move_vertex(scan.mesh, v,
                            (sticker_height + sticker_noise * random.normal()) * normals[v]);
                break;
            }
        }
    }
}

} // namespace

MarkedScan make_scan(std::string name, std::shared_ptr<const AnalyticSurface> surface,
                     const std::vector<MarkerPlace>& places, const AnalyticOptions& options) {
    Random random(20240917);
    MarkedScan scan;
    scan.name = std::move(name);
    scan.margin = options.margin;
    std::vector<Vector3d> normals;
    scan.mesh = mesh_of(*surface, options.edge, random, normals);
    scan.outline = outline_of(scan.mesh);
    if (options.noise > 0) {
        for (int v = 0; v < scan.mesh.vertices(); ++v) {
            move_vertex(scan.mesh, v, options.noise * random.normal() * normals[v]);
        }
    }
    if (options.stickers) {
        put_stickers(*surface, places, normals, random, scan);
    }
    scan.truth = std::move(surface);
    return scan;
}

std::vector<MarkedScan> analytic_scans(const AnalyticOptions& options) {
    const std::string suffix = options.noise > 0 ? " noisy" : "";
    std::vector<MarkedScan> scans;
    // Longitude and latitude; angle around the axis and around the tube; angle and height; x and y.
    scans.push_back(make_scan(
        "sphere" + suffix, sphere_surface(25),
        {{0.3, 0.2, 2.5}, {1.7, -0.6, 3.0}, {2.9, 0.5, 2.0}, {4.2, 1.1, 3.5}, {5.4, -0.1, 2.5}},
        options));
    scans.push_back(make_scan("torus" + suffix, torus_surface(40, 16),
                              {{0.2, 0.1, 2.5},
                               {1.1, pi, 3.0},
                               {2.0, 1.5, 3.0},
                               {3.1, -1.4, 2.5},
                               {4.4, 2.5, 2.0},
                               {5.3, 0.8, 3.5}},
                              options));
    scans.push_back(make_scan(
        "cylinder" + suffix, cylinder_surface(25, 50),
        {{0.5, 0, 2.5}, {1.8, 10, 3.0}, {3.0, -9, 2.0}, {4.3, 4, 3.5}, {5.6, 24, 2.5}}, options));
    scans.push_back(make_scan(
        "saddle" + suffix, saddle_surface(60, 60),
        {{0, 0, 3.0}, {-15, 12, 2.5}, {17, 16, 3.0}, {14, -18, 2.0}, {-18, -15, 3.5}}, options));
    scans.push_back(make_scan("waves" + suffix, wave_surface(90, 70),
                              {{11.25, 0, 3.0},
                               {-11, 2, 2.5},
                               {0, 14, 3.0},
                               {30, -16, 2.0},
                               {-31, 20, 3.5},
                               {0, -34.2, 2.5}},
                              options));
    return scans;
}

MarkedScan large_panel(int faces, int markers, const AnalyticOptions& options) {
    // An equilateral triangle of edge e has the area sqrt(3)/4 e^2; the waves add about a tenth.
    const double area = faces * std::sqrt(3.0) / 4 * options.edge * options.edge / 1.07;
    const double side = std::sqrt(area);
    const int columns = std::max(1, int(std::lround(std::sqrt(double(markers)))));
    const int rows = (markers + columns - 1) / columns;
    std::vector<MarkerPlace> places;
    for (int m = 0; m < markers; ++m) {
        places.push_back({side * ((m % columns + 0.5) / columns - 0.5),
                          side * ((m / columns + 0.5) / rows - 0.5), options.radius});
    }
    return make_scan("panel", wave_surface(side, side), places, options);
}

} // namespace KVN::bench
