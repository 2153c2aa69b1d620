// peer_run SCAN MARKERS MARGIN OUTPUT [plain]: the whole job with CGAL. Faces with a vertex within
// radius and margin of a marker's centre are cut out, the holes filled by
// triangulate_refine_and_fair_hole with its defaults. Files are read and written by CGAL; `plain`
// spares it that: the reader and writer of the plain copy hand it arrays.
#include "plain_ply.hpp"

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_processing/triangulate_hole.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/Surface_mesh/IO/PLY.h>
#include <CGAL/boost/graph/Euler_operations.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using KVN::toolkit::Scan;
using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Point = Kernel::Point_3;
using PeerMesh = CGAL::Surface_mesh<Point>;
using Vertex = PeerMesh::Vertex_index;
using Halfedge = PeerMesh::Halfedge_index;

struct Ball {
    Point centre;
    double radius;
};

/// Balls by the x of their centres, so that a point is tried against its neighbours alone.
class Balls {
  public:
    Balls(const std::string& file, double margin) {
        std::ifstream lines(file);
        std::string line;
        std::getline(lines, line); // x,y,z,nx,ny,nz,radius
        double x, y, z, radius;
        while (std::getline(lines, line) &&
               std::sscanf(line.c_str(), "%lf,%lf,%lf,%*f,%*f,%*f,%lf", &x, &y, &z, &radius) == 4) {
            balls_.push_back({{x, y, z}, radius + margin});
            widest_ = std::max(widest_, radius + margin);
        }
        std::sort(balls_.begin(), balls_.end(),
                  [](const Ball& a, const Ball& b) { return a.centre.x() < b.centre.x(); });
    }

    bool hold(const Point& point) const {
        auto ball = std::lower_bound(
            balls_.begin(), balls_.end(), point.x() - widest_,
            [](const Ball& candidate, double x) { return candidate.centre.x() < x; });
        for (; ball != balls_.end() && ball->centre.x() <= point.x() + widest_; ++ball) {
            if (CGAL::squared_distance(ball->centre, point) <= ball->radius * ball->radius) {
                return true;
            }
        }
        return false;
    }

  private:
    std::vector<Ball> balls_;
    double widest_ = 0;
};

PeerMesh mesh_of(const Scan& scan) {
    PeerMesh mesh;
    mesh.reserve(scan.vertex_count(), 3 * scan.vertex_count(), scan.face_count());
    for (std::size_t i = 0; i < scan.positions.size(); i += 3) {
        mesh.add_vertex({scan.positions[i], scan.positions[i + 1], scan.positions[i + 2]});
    }
    for (std::size_t i = 0; i < scan.triangles.size(); i += 3) {
        const auto corner = [&](std::size_t c) { return Vertex(scan.triangles[i + c]); };
        mesh.add_face(corner(0), corner(1), corner(2));
    }
    return mesh;
}

PeerMesh read_mesh(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    PeerMesh mesh;
    std::string comments;
    if (!CGAL::IO::read_PLY(in, mesh, comments)) {
        throw std::runtime_error(file + " cannot be read");
    }
    return mesh;
}

void write_mesh(const std::string& file, const PeerMesh& mesh) {
    std::ofstream out(file, std::ios::binary);
    CGAL::IO::set_binary_mode(out);
    if (!CGAL::IO::write_PLY(out, mesh) || !out.flush()) {
        throw std::runtime_error(file + " cannot be written");
    }
}

/// Cuts and returns the vertices along the cuts.
std::vector<Vertex> cut(PeerMesh& mesh, const Balls& balls) {
    std::vector<char> inside(mesh.number_of_vertices(), 0);
    for (const Vertex v : mesh.vertices()) {
        inside[v] = balls.hold(mesh.point(v)) ? 1 : 0;
    }
    std::vector<Vertex> ring;
    std::vector<PeerMesh::Face_index> gone;
    for (const auto face : mesh.faces()) {
        const auto around = CGAL::vertices_around_face(mesh.halfedge(face), mesh);
        if (std::any_of(around.begin(), around.end(), [&](Vertex v) { return inside[v] != 0; })) {
            gone.push_back(face);
            std::copy_if(around.begin(), around.end(), std::back_inserter(ring),
                         [&](Vertex v) { return inside[v] == 0; });
        }
    }
    for (const auto face : gone) {
        CGAL::Euler::remove_face(mesh.halfedge(face), mesh);
    }
    std::sort(ring.begin(), ring.end());
    ring.erase(std::unique(ring.begin(), ring.end()), ring.end());
    return ring;
}

/// Fills the holes whose whole border lies along a cut; the scan's own outline does not.
int fill(PeerMesh& mesh, const std::vector<Vertex>& ring) {
    int filled = 0;
    for (const Vertex v : ring) {
        if (mesh.is_removed(v)) {
            continue;
        }
        for (const Halfedge h : CGAL::halfedges_around_target(v, mesh)) {
            const auto border = CGAL::vertices_around_face(h, mesh);
            if (!mesh.is_border(h) ||
                !std::all_of(border.begin(), border.end(), [&](Vertex on_border) {
                    return std::binary_search(ring.begin(), ring.end(), on_border);
                })) {
                continue;
            }
            std::vector<PeerMesh::Face_index> faces;
            std::vector<Vertex> vertices;
            filled += std::get<0>(CGAL::Polygon_mesh_processing::triangulate_refine_and_fair_hole(
                mesh, h, std::back_inserter(faces), std::back_inserter(vertices)));
            break; // what was walked around is no longer what it was
        }
    }
    return filled;
}

Scan scan_of(const PeerMesh& mesh) {
    Scan scan;
    std::vector<std::int32_t> place(mesh.num_vertices(), -1);
    scan.positions.reserve(3 * std::size_t{mesh.number_of_vertices()});
    for (const Vertex v : mesh.vertices()) {
        place[v] = static_cast<std::int32_t>(scan.vertex_count());
        for (int axis = 0; axis < 3; ++axis) {
            scan.positions.push_back(static_cast<float>(mesh.point(v)[axis]));
        }
    }
    scan.triangles.reserve(3 * std::size_t{mesh.number_of_faces()});
    for (const auto face : mesh.faces()) {
        for (const Vertex v : CGAL::vertices_around_face(mesh.halfedge(face), mesh)) {
            scan.triangles.push_back(place[v]);
        }
    }
    return scan;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5 && argc != 6) {
        std::fputs("peer_run SCAN MARKERS MARGIN OUTPUT [plain]\n", stderr);
        return 2;
    }
    const bool plain = argc == 6;
    try {
        PeerMesh mesh = plain ? mesh_of(KVN::bench::read_plain_ply(argv[1])) : read_mesh(argv[1]);
        const std::vector<Vertex> ring = cut(mesh, Balls(argv[2], std::stod(argv[3])));
        std::printf("%d holes filled\n", fill(mesh, ring));
        if (plain) {
            KVN::bench::write_plain_ply(argv[4], scan_of(mesh));
        } else {
            write_mesh(argv[4], mesh);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "peer_run: %s\n", error.what());
        return 2;
    }
}
