// The times of single holes and of a whole run, on Google Benchmark. It uses the library's fixed
// names only, so that it builds against any commit.
#include "kelvane/patch/patch_fairing.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/triangulator/hole_triangulator.hpp"

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cmath>
#include <memory>

namespace {

using namespace KVN;

constexpr double pi = 3.14159265358979323846;
constexpr int surface_rings = 6; // of faces around a hole

MemS::Point3v<float> on_surface(double x, double y) {
    const double z = 0.8 * std::sin(0.11 * x) * std::cos(0.09 * y);
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
}

// Deterministic and irregular, within +-0.5.
double jitter(int i) {
    const double wild = std::sin(12.9898 * i) * 43758.5453;
    return wild - std::floor(wild) - 0.5;
}

// Rings of vertices around a round hole, edges about 1 long; the hole's border is the first
// `border` vertices, in walking order.
struct Hole {
    std::unique_ptr<Mesh> mesh = std::make_unique<Mesh>();
    std::vector<_vert*> border;
    std::vector<double> loop;          // its coordinates
    std::vector<double> neighbourhood; // twelve doubles per face

    explicit Hole(int n) {
        mesh->submeshinalize();
        const double radius = n / (2 * pi);
        std::vector<_vert*> verts;
        for (int ring = 0; ring <= surface_rings; ++ring) {
            for (int i = 0; i < n; ++i) {
                const int id = ring * n + i;
                const double angle = -2 * pi * (i + 0.5 * ring + 0.3 * jitter(id)) / n;
                const double r = radius + 0.87 * ring + 0.2 * jitter(7 * id + 1);
                auto place = on_surface(r * std::cos(angle), r * std::sin(angle));
                verts.push_back(mesh->vertices.insert_vert(place));
            }
        }
        for (int ring = 0; ring < surface_rings; ++ring) {
            for (int i = 0; i < n; ++i) {
                _vert* const a = verts[ring * n + i];
                _vert* const b = verts[ring * n + (i + 1) % n];
                _vert* const c = verts[(ring + 1) * n + i];
                _vert* const d = verts[(ring + 1) * n + (i + 1) % n];
                add_face(b, a, c);
                add_face(b, c, d);
            }
        }
        mesh->inlin_inalize_mesh();
        border.assign(verts.begin(), verts.begin() + n);
        for (const _vert* v : border) {
            loop.insert(loop.end(), {v->pos.x, v->pos.y, v->pos.z});
        }
        neighbourhood = faces();
    }

    void add_face(_vert* a, _vert* b, _vert* c) {
        const auto& p = a->pos;
        const auto& q = b->pos;
        const auto& r = c->pos;
        const double u[3] = {q.x - p.x, q.y - p.y, q.z - p.z};
        const double v[3] = {r.x - p.x, r.y - p.y, r.z - p.z};
        const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                             u[0] * v[1] - u[1] * v[0]};
        const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        MemS::Point3v<float> normal(static_cast<float>(n[0] / length),
                                    static_cast<float>(n[1] / length),
                                    static_cast<float>(n[2] / length));
        mesh->insert_face(a, b, c, normal);
    }

    std::vector<double> faces() const {
        std::vector<double> values;
        for (int i = 0; i < mesh->faces.total(); ++i) {
            const _face& f = mesh->faces.at(i);
            if (f.status != Mesh_R::status_deleted) {
                values.insert(values.end(), {f.normal.x, f.normal.y, f.normal.z});
                for (const _vert* v : f.verts) {
                    values.insert(values.end(), {v->pos.x, v->pos.y, v->pos.z});
                }
            }
        }
        return values;
    }

    // The patch's points as vertices, those of the border first.
    std::vector<_vert*> insert(const MyOFFDataNew& patch) {
        std::vector<_vert*> verts = border;
        for (std::size_t i = border.size(); i < patch.points.size(); ++i) {
            const double* p = patch.points[i].p;
            MemS::Point3v<float> place(static_cast<float>(p[0]), static_cast<float>(p[1]),
                                       static_cast<float>(p[2]));
            verts.push_back(mesh->vertices.insert_vert(place));
        }
        for (const MyFace& f : patch.faces) {
            add_face(verts[f.t_idx[0]], verts[f.t_idx[1]], verts[f.t_idx[2]]);
        }
        return verts;
    }
};

// Of the whole process: worth something where one process runs one row.
void report_peak(benchmark::State& state) {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_kB"] = static_cast<double>(usage.ru_maxrss);
}

struct Result {
    std::vector<MyPoint3> points;
    std::vector<MyFace> faces;
    std::vector<MyPoint3> normals;
    std::vector<int> borderIndices;
};

void fill(benchmark::State& state) {
    const Hole hole(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        MyOFFDataNew patch;
        benchmark::DoNotOptimize(Mesh_M::Orbrel::fillHoleWithoutFair(hole.loop, patch));
    }
    report_peak(state);
}

void fairing(benchmark::State& state) {
    Hole hole(static_cast<int>(state.range(0)));
    MyOFFDataNew patch;
    if (Mesh_M::Orbrel::fillHoleWithoutFair(hole.loop, patch) != 0) {
        state.SkipWithError("not filled");
        return;
    }
    const std::vector<_vert*> verts = hole.insert(patch);
    for (auto _ : state) {
        PatchFairing fairing(hole.mesh.get(), patch, verts, 0);
        benchmark::DoNotOptimize(fairing.solve());
    }
    state.counters["unknowns"] = static_cast<double>(patch.innerCount);
    report_peak(state);
}

void high(benchmark::State& state) {
    const Hole hole(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Result result;
        benchmark::DoNotOptimize(Mesh_M::Orbrel().fillHole2(hole.neighbourhood, hole.loop,
                                                            result.points, result.faces,
                                                            result.normals, result.borderIndices));
    }
    report_peak(state);
}

void close_low(Hole& hole, Result& result) {
    const int surface = hole.mesh->faces.liveCount;
    HoleTriangulator(hole.mesh.get(), hole.border).fill_front();
    benchmark::DoNotOptimize(Mesh_M::Orbrel().fairing(hole.faces(), surface, hole.loop,
                                                      result.points, result.faces, result.normals,
                                                      result.borderIndices));
}

// With the building of the temporary mesh, as the method itself does it.
void low(benchmark::State& state) {
    for (auto _ : state) {
        Hole hole(static_cast<int>(state.range(0)));
        Result result;
        close_low(hole, result);
    }
    report_peak(state);
}

void triangulator(benchmark::State& state) {
    for (auto _ : state) {
        Hole hole(static_cast<int>(state.range(0)));
        HoleTriangulator(hole.mesh.get(), hole.border).fill_front();
    }
    report_peak(state);
}

// A sheet of n by n vertices with a marker on every 24 by 24 of them.
void whole_run(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    std::vector<Marker> markers;
    for (int y = 12; y + 12 < n; y += 24) {
        for (int x = 12; x + 12 < n; x += 24) {
            const auto p = on_surface(x, y);
            markers.push_back({p.x, p.y, p.z, 0.0f, 0.0f, 1.0f, 6.0f});
        }
    }
    for (auto _ : state) {
        Hole sheet(0);
        std::vector<_vert*> verts;
        for (int i = 0; i < n * n; ++i) {
            auto place = on_surface(i % n + 0.2 * jitter(i), i / n + 0.2 * jitter(i + n * n));
            verts.push_back(sheet.mesh->vertices.insert_vert(place));
        }
        for (int i = 0; i + n + 1 < n * n; ++i) {
            if (i % n + 1 < n) {
                sheet.add_face(verts[i], verts[i + 1], verts[i + n + 1]);
                sheet.add_face(verts[i], verts[i + n + 1], verts[i + n]);
            }
        }
        RepairMarkers(sheet.mesh.get(), markers, 1.0, 0, nullptr, 0).MarkerRepairprocessing(1);
        benchmark::DoNotOptimize(sheet.mesh->faces.liveCount);
    }
    report_peak(state);
}

BENCHMARK(fill)->Arg(20)->Arg(48)->Arg(160)->Arg(640)->Unit(benchmark::kMillisecond);
BENCHMARK(fairing)->Arg(20)->Arg(48)->Arg(160)->Arg(640)->Unit(benchmark::kMillisecond);
BENCHMARK(high)->Arg(20)->Arg(48)->Arg(160)->Unit(benchmark::kMillisecond);
BENCHMARK(low)->Arg(20)->Arg(48)->Arg(160)->Unit(benchmark::kMillisecond);
BENCHMARK(triangulator)->Arg(20)->Arg(48)->Arg(160)->Unit(benchmark::kMillisecond);
BENCHMARK(whole_run)->Arg(300)->Unit(benchmark::kMillisecond);

} // namespace
