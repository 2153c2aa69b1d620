#include "peer_fill.hpp"

#ifdef KELVANE_WITH_CGAL

#include "stopwatch.hpp"

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_processing/fair.h>
#include <CGAL/Polygon_mesh_processing/triangulate_hole.h>
#include <CGAL/Surface_mesh.h>

#include <algorithm>
#include <iterator>
#include <map>

namespace KVN::bench {

namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using PeerMesh = CGAL::Surface_mesh<Kernel::Point_3>;

PeerMesh peer_mesh(const TriangleMesh& mesh, int& refused) {
    PeerMesh result;
    result.reserve(mesh.vertices(), 3 * mesh.vertices(), mesh.faces());
    for (int v = 0; v < mesh.vertices(); ++v) {
        const Vector3d p = mesh.vertex(v);
        result.add_vertex({p.x(), p.y(), p.z()});
    }
    using Index = PeerMesh::Vertex_index;
    for (int f = 0; f < mesh.faces(); ++f) {
        const auto t = mesh.face(f);
        refused += result.add_face(Index(t[0]), Index(t[1]), Index(t[2])) == PeerMesh::null_face();
    }
    return result;
}

PeerMesh::Halfedge_index border_halfedge(const PeerMesh& mesh, std::pair<int, int> ends) {
    using Index = PeerMesh::Vertex_index;
    auto h = mesh.halfedge(Index(ends.first), Index(ends.second));
    if (h != PeerMesh::null_halfedge() && !mesh.is_border(h)) {
        h = mesh.opposite(h);
    }
    return h != PeerMesh::null_halfedge() && mesh.is_border(h) ? h : PeerMesh::null_halfedge();
}

// The ends of a border that is a chain; none of a loop.
std::vector<int> chain_ends(const HoleBorder& border) {
    std::map<int, int> degree;
    for (const auto& [a, b] : border) {
        ++degree[a];
        ++degree[b];
    }
    std::vector<int> ends;
    for (const auto& [vertex, edges] : degree) {
        if (edges % 2 != 0) {
            ends.push_back(vertex);
        }
    }
    return ends;
}

// Makes a loop of a chain: a face over its ends and the point halfway between them. Null where the
// border is a loop or the face does not fit.
PeerMesh::Face_index add_bridge(PeerMesh& mesh, const HoleBorder& border) {
    using Index = PeerMesh::Vertex_index;
    const std::vector<int> ends = chain_ends(border);
    if (ends.size() != 2) {
        return PeerMesh::null_face();
    }
    // The chain leaves `first` along a border halfedge.
    const auto in_chain = [&](int a, int b) {
        const std::pair<int, int> edge = std::minmax(a, b);
        return std::find(border.begin(), border.end(), edge) != border.end();
    };
    const auto out = mesh.next(mesh.halfedge(Index(ends[0])));
    const bool leaves = mesh.is_border(out) && in_chain(ends[0], mesh.target(out));
    const Index first(leaves ? ends[0] : ends[1]);
    const Index last(leaves ? ends[1] : ends[0]);
    const Index over = mesh.add_vertex(CGAL::midpoint(mesh.point(first), mesh.point(last)));
    return mesh.add_face(first, last, over);
}

// Vertices that are gone keep their places.
RepairedMesh from_peer(const PeerMesh& mesh, const RepairedMesh& cut) {
    RepairedMesh result;
    result.origin = cut.origin;
    result.origin.resize(mesh.num_vertices(), -1);
    for (PeerMesh::size_type v = 0; v < mesh.num_vertices(); ++v) {
        const auto& p = mesh.point(PeerMesh::Vertex_index(v));
        result.mesh.add_vertex({p.x(), p.y(), p.z()});
    }
    for (const auto f : mesh.faces()) {
        const auto h = mesh.halfedge(f);
        result.mesh.add_face(mesh.source(h), mesh.target(h), mesh.target(mesh.next(h)));
    }
    return result;
}

} // namespace

bool peer_available() {
    return true;
}

PeerResult fill_with_peer(const RepairedMesh& cut, const std::vector<HoleBorder>& borders) {
    PeerResult result;
    Stopwatch watch;
    PeerMesh mesh = peer_mesh(cut.mesh, result.refused_faces);
    result.build_seconds = watch.seconds();
    for (const HoleBorder& border : borders) {
        const bool is_chain = !chain_ends(border).empty();
        const PeerMesh::Face_index bridge =
            is_chain ? add_bridge(mesh, border) : PeerMesh::null_face();
        if (is_chain && bridge == PeerMesh::null_face()) {
            continue; // else the scan's outline would be filled
        }
        for (const auto& edge : border) {
            const auto h = border_halfedge(mesh, edge);
            if (h == PeerMesh::null_halfedge()) {
                continue; // filled by way of an earlier edge
            }
            // The two steps of triangulate_refine_and_fair_hole, so as to time them apart.
            namespace pmp = CGAL::Polygon_mesh_processing;
            std::vector<PeerMesh::Face_index> faces;
            std::vector<PeerMesh::Vertex_index> vertices;
            watch.restart();
            pmp::triangulate_and_refine_hole(mesh, h, std::back_inserter(faces),
                                             std::back_inserter(vertices));
            result.refine_seconds += watch.seconds();
            if (is_chain) {
                // Faired with it, the peer's patches lie half as far again from the truth.
                CGAL::Euler::remove_face(mesh.halfedge(bridge), mesh);
            }
            const bool fair = pmp::fair(mesh, vertices);
            result.fill_seconds += watch.seconds();
            if (!fair) {
                break;
            }
            ++result.filled;
        }
    }
    result.repaired = from_peer(mesh, cut);
    return result;
}

} // namespace KVN::bench

#else

namespace KVN::bench {

bool peer_available() {
    return false;
}

PeerResult fill_with_peer(const RepairedMesh&, const std::vector<HoleBorder>&) {
    return {};
}

} // namespace KVN::bench

#endif
