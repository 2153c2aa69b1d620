// Copying a hole's border and the band of surface around it out of the mesh.
#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/patch/point_conversion.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <cmath>
#include <unordered_map>

namespace KVN {

using namespace Mesh_R;

namespace {

float distance(const _vert* a, const _vert* b) {
    const float dx = a->pos.x - b->pos.x;
    const float dy = a->pos.y - b->pos.y;
    const float dz = a->pos.z - b->pos.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// The band's records as they are found, each once; the border may hold a vertex twice.
struct Band {
    std::vector<_vert*> vertices;
    std::vector<_face*> faces;
    std::unordered_map<int, int> places; // as vertexMap, which is slower to ask

    void add_vertex(_vert* v) {
        places.emplace(v->index, static_cast<int>(vertices.size()));
        vertices.push_back(v);
        set_mark(v, gathered);
    }

    // Adds the faces around vertices [begin, end) and their other corners.
    void grow(std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            const _vert* v = vertices[i];
            for (int k = 0; k < v->faceCount; ++k) {
                _face* face = v->faces[k];
                if (!has_mark(face, gathered)) {
                    set_mark(face, gathered);
                    faces.push_back(face);
                }
                for (_vert* corner : face->verts) {
                    if (!has_mark(corner, gathered)) {
                        add_vertex(corner);
                    }
                }
            }
        }
    }
};

} // namespace

void RepairMarkers::HoleBoundaryAverLength(std::vector<_vert*>& border, float& average) {
    for (std::size_t i = 0; i + 1 < border.size(); ++i) {
        average += distance(border[i], border[i + 1]);
    }
    average += distance(border.back(), border.front());
    average /= static_cast<float>(border.size());
}

void RepairMarkers::HoleNeighbor7(std::vector<_vert*>& border, std::vector<MyPoint3>& points,
                                  std::vector<MyFace>& faces, std::vector<MyPoint3>& normals,
                                  std::map<int, int>& vertexMap, int& boundaryCount) {
    constexpr double fine_edge = 0.2; // mesh units: below this mean length the band is a ring wider
    points.clear();
    faces.clear();
    normals.clear();
    vertexMap.clear();

    Band band;
    for (_vert* v : border) {
        band.add_vertex(v);
    }
    float average = 0.0f;
    HoleBoundaryAverLength(border, average);
    const int passes = fine_edge > static_cast<double>(average) ? 4 : 3;
    std::size_t begin = 0;
    for (int pass = 0; pass < passes; ++pass) {
        const std::size_t end = band.vertices.size();
        band.grow(begin, end);
        begin = end;
    }

    points.reserve(band.vertices.size());
    for (_vert* v : band.vertices) {
        clear_mark(v, gathered);
        points.push_back(widen(v->pos));
    }
    faces.reserve(band.faces.size());
    normals.reserve(band.faces.size());
    for (_face* face : band.faces) {
        clear_mark(face, gathered);
        MyFace local;
        for (int i = 0; i < 3; ++i) {
            local.t_idx[i] = band.places[face->verts[i]->index];
        }
        faces.push_back(local);
        normals.push_back(widen(face->normal));
    }
    vertexMap.insert(band.places.begin(), band.places.end());
    boundaryCount = static_cast<int>(border.size());
}

} // namespace KVN
