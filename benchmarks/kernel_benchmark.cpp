// How long it takes to make a mesh of arrays, to check it and to read it back, and how much memory
// the mesh takes per face, beside CGAL's indexed surface mesh where that is installed.
//
// Counters: `faces/s`; `bytes/face` as the mesh itself counts its blocks and lists (exact; the peer
// keeps no such count); `rss/face` as the growth of the process while the mesh is made (both). Our
// build computes face and vertex normals as well, the peer's does not.
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/kernel/mesh_check.hpp"

#ifdef KELVANE_WITH_CGAL
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#endif

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

struct Arrays {
    std::vector<float> positions;
    std::vector<std::int32_t> triangles;
};

// A wavy sheet of about `faces` triangles in scan order, row by row.
Arrays make_sheet(std::int64_t faces) {
    const auto n =
        static_cast<std::int32_t>(std::lround(std::sqrt(static_cast<double>(faces) / 2)));
    Arrays sheet;
    for (std::int32_t j = 0; j <= n; ++j) {
        for (std::int32_t i = 0; i <= n; ++i) {
            const float x = 0.1f * static_cast<float>(i);
            const float y = 0.1f * static_cast<float>(j);
            sheet.positions.insert(sheet.positions.end(),
                                   {x, y, std::sin(0.3f * x) * std::cos(0.2f * y)});
        }
    }
    for (std::int32_t j = 0; j < n; ++j) {
        for (std::int32_t i = 0; i < n; ++i) {
            const std::int32_t v = j * (n + 1) + i;
            sheet.triangles.insert(sheet.triangles.end(),
                                   {v, v + 1, v + n + 2, v, v + n + 2, v + n + 1});
        }
    }
    return sheet;
}

// The same surface with vertices and triangles in random order: the worst case for the caches.
Arrays shuffle(const Arrays& sheet) {
    std::mt19937 random(1);
    const std::size_t vertex_count = sheet.positions.size() / 3;
    const std::size_t triangle_count = sheet.triangles.size() / 3;
    std::vector<std::int32_t> place(vertex_count);
    std::vector<std::int32_t> order(triangle_count);
    for (std::size_t i = 0; i < vertex_count; ++i) {
        place[i] = static_cast<std::int32_t>(i);
    }
    for (std::size_t i = 0; i < triangle_count; ++i) {
        order[i] = static_cast<std::int32_t>(i);
    }
    std::shuffle(place.begin(), place.end(), random);
    std::shuffle(order.begin(), order.end(), random);
    Arrays shuffled;
    shuffled.positions.resize(sheet.positions.size());
    for (std::size_t i = 0; i < vertex_count; ++i) {
        const auto to = static_cast<std::size_t>(place[i]);
        std::copy_n(&sheet.positions[3 * i], 3, &shuffled.positions[3 * to]);
    }
    for (const std::int32_t t : order) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t v = sheet.triangles[3 * static_cast<std::size_t>(t) + k];
            shuffled.triangles.push_back(place[static_cast<std::size_t>(v)]);
        }
    }
    return shuffled;
}

// Input number `shuffled` (0 scan order, 1 random) of a size; kept while the size stays the same.
const Arrays& input(const benchmark::State& state) {
    static std::pair<std::int64_t, std::int64_t> kept{-1, -1};
    static Arrays arrays;
    const std::pair<std::int64_t, std::int64_t> wanted{state.range(0), state.range(1)};
    if (kept != wanted) {
        arrays = Arrays();
        arrays = make_sheet(wanted.first);
        if (wanted.second != 0) {
            arrays = shuffle(arrays);
        }
        kept = wanted;
    }
    return arrays;
}

std::size_t resident_bytes() {
    std::size_t pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        std::size_t size = 0;
        if (std::fscanf(file, "%zu %zu", &size, &pages) != 2) {
            pages = 0;
        }
        std::fclose(file);
    }
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// One run that is not measured: in a virtual machine the first use of a page of memory costs
// several times what it costs ever after.
template <class AnyMesh, class Fill>
void warm_up(const Arrays& arrays, Fill fill) {
    AnyMesh mesh;
    fill(mesh, arrays);
}

void report(benchmark::State& state, const Arrays& arrays, std::size_t resident) {
    const double faces = static_cast<double>(arrays.triangles.size()) / 3.0;
    state.counters["faces/s"] = benchmark::Counter(faces * static_cast<double>(state.iterations()),
                                                   benchmark::Counter::kIsRate);
    if (resident > 0) {
        state.counters["rss/face"] = static_cast<double>(resident) / faces;
    }
}

void fill(Mesh_M::Mesh& mesh, const Arrays& arrays) {
    Mesh_M::build_mesh(mesh, arrays.positions.data(), arrays.positions.size() / 3,
                       arrays.triangles.data(), arrays.triangles.size() / 3);
}

void build(benchmark::State& state) {
    const Arrays& arrays = input(state);
    std::size_t resident = 0;
    std::size_t bytes = 0;
    warm_up<Mesh_M::Mesh>(arrays, fill);
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = resident_bytes();
        auto mesh = std::make_unique<Mesh_M::Mesh>();
        state.ResumeTiming();
        fill(*mesh, arrays);
        state.PauseTiming();
        resident = resident_bytes() - before;
        bytes = mesh->memory_bytes();
        mesh.reset();
        state.ResumeTiming();
    }
    report(state, arrays, resident);
    state.counters["bytes/face"] =
        static_cast<double>(bytes) / (static_cast<double>(arrays.triangles.size()) / 3.0);
}

// The same mesh through the single operations, as code that grows a mesh does it. No normals.
void insert_one_by_one(benchmark::State& state) {
    const Arrays& arrays = input(state);
    MemS::Point3v<float> normal(0.0f, 0.0f, 1.0f);
    for (auto _ : state) {
        state.PauseTiming();
        auto mesh = std::make_unique<Mesh_M::Mesh>();
        state.ResumeTiming();
        for (std::size_t i = 0; i < arrays.positions.size(); i += 3) {
            const float* p = &arrays.positions[i];
            MemS::Point3v<float> position(p[0], p[1], p[2]);
            mesh->vertices.insert_vert(position);
        }
        for (std::size_t i = 0; i < arrays.triangles.size(); i += 3) {
            const std::int32_t* t = &arrays.triangles[i];
            mesh->insert_face(&mesh->vertices.at(t[0]), &mesh->vertices.at(t[1]),
                              &mesh->vertices.at(t[2]), normal);
        }
        state.PauseTiming();
        mesh.reset();
        state.ResumeTiming();
    }
    report(state, arrays, 0);
}

void vertex_normals(benchmark::State& state) {
    const Arrays& arrays = input(state);
    Mesh_M::Mesh mesh;
    fill(mesh, arrays);
    for (auto _ : state) {
        mesh.vertices.R_cal_vector();
    }
    report(state, arrays, 0);
}

void check(benchmark::State& state) {
    const Arrays& arrays = input(state);
    Mesh_M::Mesh mesh;
    fill(mesh, arrays);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Mesh_M::check_mesh(mesh).sound());
    }
    report(state, arrays, 0);
}

void to_arrays(benchmark::State& state) {
    const Arrays& arrays = input(state);
    Mesh_M::Mesh mesh;
    fill(mesh, arrays);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Mesh_M::to_arrays(mesh).triangles.data());
    }
    report(state, arrays, 0);
}

// What a temporary mesh of a few dozen faces costs from construction to release.
void small_mesh(benchmark::State& state) {
    const Arrays arrays = make_sheet(128);
    for (auto _ : state) {
        Mesh_M::Mesh mesh;
        fill(mesh, arrays);
        benchmark::DoNotOptimize(mesh.faces.liveCount);
    }
    report(state, arrays, 0);
}

#ifdef KELVANE_WITH_CGAL
using PeerMesh = CGAL::Surface_mesh<CGAL::Simple_cartesian<float>::Point_3>;

void peer_fill(PeerMesh& mesh, const Arrays& arrays) {
    const auto vertex_count = static_cast<PeerMesh::size_type>(arrays.positions.size() / 3);
    const auto face_count = static_cast<PeerMesh::size_type>(arrays.triangles.size() / 3);
    mesh.reserve(vertex_count, vertex_count + face_count, face_count);
    for (std::size_t i = 0; i < arrays.positions.size(); i += 3) {
        const float* p = &arrays.positions[i];
        mesh.add_vertex(PeerMesh::Point(p[0], p[1], p[2]));
    }
    using V = PeerMesh::Vertex_index;
    for (std::size_t i = 0; i < arrays.triangles.size(); i += 3) {
        const std::int32_t* t = &arrays.triangles[i];
        const auto index = [](std::int32_t v) { return V(static_cast<PeerMesh::size_type>(v)); };
        mesh.add_face(index(t[0]), index(t[1]), index(t[2]));
    }
}

// The peer refuses faces where random order leaves a vertex with several fans; `faces` tells how
// many it took.
void peer_build(benchmark::State& state) {
    const Arrays& arrays = input(state);
    std::size_t resident = 0;
    double taken = 0;
    warm_up<PeerMesh>(arrays, peer_fill);
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = resident_bytes();
        auto mesh = std::make_unique<PeerMesh>();
        state.ResumeTiming();
        peer_fill(*mesh, arrays);
        state.PauseTiming();
        resident = resident_bytes() - before;
        taken = static_cast<double>(mesh->number_of_faces());
        mesh.reset();
        state.ResumeTiming();
    }
    report(state, arrays, resident);
    state.counters["faces"] = taken;
}
#endif

void sizes(benchmark::internal::Benchmark* b) {
    b->ArgNames({"faces", "shuffled"})->Unit(benchmark::kMillisecond);
    for (const std::int64_t shuffled : {0, 1}) {
        for (const std::int64_t faces : {100000, 1000000, 10000000}) {
            b->Args({faces, shuffled});
        }
    }
}

BENCHMARK(build)->Apply(sizes);
#ifdef KELVANE_WITH_CGAL
BENCHMARK(peer_build)->Apply(sizes);
#endif
BENCHMARK(insert_one_by_one)->Apply(sizes);
BENCHMARK(vertex_normals)->Apply(sizes);
BENCHMARK(check)->Apply(sizes);
BENCHMARK(to_arrays)->Apply(sizes);
BENCHMARK(small_mesh)->Unit(benchmark::kMicrosecond);

} // namespace
