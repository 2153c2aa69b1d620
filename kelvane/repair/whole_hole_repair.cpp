// One hole by the heavier operations, which know the surface around it. The result stays in the
// hole's lists, in the form that insertpatch_7 takes.
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/patch/point_conversion.hpp"
#include "kelvane/repair/repair_markers.hpp"
#include "kelvane/triangulator/hole_triangulator.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

namespace KVN {

namespace {

constexpr std::size_t doubles_per_triangle = 12; // normal and three corners

void append(std::vector<double>& flat, const MyPoint3& p) {
    flat.insert(flat.end(), p.p, p.p + 3);
}

void append(std::vector<double>& flat, const MemS::Point3v<float>& p) {
    flat.push_back(p.x);
    flat.push_back(p.y);
    flat.push_back(p.z);
}

// Joins the vertices of `loop` that stand for new ones on the rim with their neighbours. No face
// brings these edges, and an ear wants them.
void add_rim_edges(const std::vector<_vert*>& border, const std::vector<_vert*>& loop, Mesh& mesh) {
    const std::size_t size = std::min(border.size(), loop.size());
    for (std::size_t j = 0; j < size; ++j) {
        const std::size_t next = (j + 1) % size;
        if (has_mark(border[j], Mesh_R::on_new_rim) || has_mark(border[next], Mesh_R::on_new_rim)) {
            mesh.vertices.insert_edge(mesh.edges.insert_edge(loop[j], loop[next]));
        }
    }
}

// A temporary mesh: its memory goes back before the object ends.
struct FreeMesh {
    void operator()(Mesh* mesh) const {
        mesh->free();
        delete mesh;
    }
};

} // namespace

int RepairMarkers::Repair_High_Resolution(int i) {
    close_high(i);
    return 0;
}

int RepairMarkers::Repair_Low_Resolution(int i) {
    close_low(i);
    return 0;
}

void RepairMarkers::join_by_coordinates(int i) {
    insertpatch_7(holeBorders[i], holePoints[i], holeFaces[i], holeFaceNormals[i],
                  holeRingIndices[i]);
}

int RepairMarkers::close_high(int i) {
    std::vector<double> triangles;
    triangles.reserve(doubles_per_triangle * holeFaces[i].size());
    for (std::size_t j = 0; j < holeFaces[i].size(); ++j) {
        append(triangles, holeFaceNormals[i][j]);
        for (const int corner : holeFaces[i][j].t_idx) {
            append(triangles, holePoints[i][corner]);
        }
    }
    std::vector<double> border;
    border.reserve(holeBoundaryCount[i]);
    // The slot of a hole that was handled here before may hold fewer points than the border had.
    const int k = std::min(holeBoundaryCount[i], static_cast<int>(holePoints[i].size()));
    for (int j = 0; j < k; ++j) {
        append(border, holePoints[i][j]);
    }
    clear_hole_slot(i);
    return Mesh_M::Orbrel().fillHole2(triangles, border, holePoints[i], holeFaces[i],
                                      holeFaceNormals[i], holeRingIndices[i]);
}

int RepairMarkers::close_low(int i) {
    std::vector<_vert*> borderVerts;
    borderVerts.reserve(holeBoundaryCount[i]);
    std::unique_ptr<Mesh, FreeMesh> temporary(new Mesh);
    rebuildmesh(temporary.get(), borderVerts, i);
    HoleTriangulator triangulator(temporary.get(), borderVerts);
    triangulator.fill_front();

    const int n = static_cast<int>(holeFaces[i].size());
    const int k = holeBoundaryCount[i];
    std::vector<double> triangles;
    triangles.reserve(doubles_per_triangle * temporary->faces.liveCount);
    std::vector<double> border;
    border.reserve(3 * static_cast<std::size_t>(k));
    Dataconvert(temporary.get(), k, triangles, border);
    clear_hole_slot(i);
    const int result = Mesh_M::Orbrel().fairing(triangles, n, border, holePoints[i], holeFaces[i],
                                                holeFaceNormals[i], holeRingIndices[i]);
    temporary.reset(); // before the triangulator ends, which does not touch it any more
    return result;
}

// Empties what the hole's neighbourhood stood in, for the result.
void RepairMarkers::clear_hole_slot(int i) {
    holePoints[i].clear();
    holeFaces[i].clear();
    holeFaceNormals[i].clear();
    holeRingIndices[i].clear();
}

void RepairMarkers::rebuildmesh(Mesh* target, std::vector<_vert*>& borderVerts, int i) {
    borderVerts.reserve(holeBoundaryCount[i]);
    const int count = static_cast<int>(holePoints[i].size());
    target->submeshinalize();
    for (int j = 0; j < count; ++j) {
        MemS::Point3v<float> position = narrow(holePoints[i][j]);
        _vert* v = target->vertices.insert_vert(position);
        if (j < holeBoundaryCount[i]) {
            borderVerts.push_back(v);
        }
    }
    const auto in_range = [count](const MyFace& face) {
        for (const int corner : face.t_idx) {
            if (corner < 0 || corner >= count) {
                return false;
            }
        }
        return true;
    };
    for (std::size_t j = 0; j < holeFaces[i].size(); ++j) {
        MemS::Point3v<float> normal = narrow(holeFaceNormals[i][j]);
        const MyFace& face = holeFaces[i][j];
        if (!in_range(face) || std::isnan(normal.x)) {
            continue;
        }
        target->insert_face(&target->vertices.at(face.t_idx[0]),
                            &target->vertices.at(face.t_idx[1]),
                            &target->vertices.at(face.t_idx[2]), normal);
    }
    add_rim_edges(holeBorders[i], borderVerts, *target);
    target->inlin_inalize_mesh();
}

void RepairMarkers::Dataconvert(Mesh* source, int borderCount, std::vector<double>& triangles,
                                std::vector<double>& border) {
    const int total = source->faces.total();
    for (int j = 0; j < total; ++j) {
        const _face& face = source->faces.at(j);
        if (face.status == Mesh_R::status_deleted) {
            continue;
        }
        append(triangles, face.normal);
        for (const _vert* corner : face.verts) {
            append(triangles, corner->pos);
        }
    }
    const int listed = std::min(borderCount, source->vertices.total());
    for (int j = 0; j < listed; ++j) {
        append(border, source->vertices.at(j).pos);
    }
}

} // namespace KVN
