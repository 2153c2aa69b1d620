#include "kelvane/toolkit/windows/splice_making.hpp"

#include "kelvane/kernel/record_index.hpp"
#include "kelvane/toolkit/windows/patch_origins.hpp"
#include "kelvane/toolkit/windows/splice_fates.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace KVN::toolkit {

namespace {

/// Makes the parts of a splice, each once and in this order: what goes, what comes.
class SpliceMaker {
  public:
    SpliceMaker(const Window& window, const Mesh_M::Mesh& mesh,
                const std::vector<std::int32_t>& face_of)
        : window_(window), mesh_(mesh), face_of_(face_of),
          face_goes_(static_cast<std::size_t>(mesh.faces.total()), 0),
          vertex_goes_(window.vertices.size(), 0) {
        for (std::int32_t f = 0; f < mesh.faces.total(); ++f) {
            face_goes_[static_cast<std::size_t>(f)] =
                mesh.faces.at(f).status == Mesh_R::status_deleted ? 1 : 0;
        }
        first_new_face_ = static_cast<std::int32_t>(
            std::count_if(face_of.begin(), face_of.end(), [](std::int32_t f) { return f >= 0; }));
        for (std::size_t v = 0; v < vertex_goes_.size(); ++v) {
            vertex_goes_[v] =
                mesh.vertices.at(static_cast<std::int32_t>(v)).status == Mesh_R::status_deleted ? 1
                                                                                                : 0;
        }
    }

    /// A face that was deleted stays after all, and so do its corners.
    void keep(std::int32_t face) {
        face_goes_[static_cast<std::size_t>(face)] = 0;
        for (const _vert* v : mesh_.faces.at(face).verts) {
            vertex_goes_[static_cast<std::size_t>(v->index)] = 0;
        }
    }

    /// A patch will stand on this border.
    void close_border(const std::vector<_vert*>& border) {
        for (std::size_t i = 0; i < border.size(); ++i) {
            closed_sides_.insert(
                std::minmax(border[i]->index, border[(i + 1) % border.size()]->index));
        }
    }

    /// Lists the vertices and face records that go. A record goes with any of its triangles; those
    /// of its triangles that would have stayed come back as new faces.
    void list_what_goes() {
        splice_.lists_all_faces = true;
        for (std::size_t v = 0; v < vertex_goes_.size(); ++v) {
            if (vertex_goes_[v] != 0) {
                splice_.vertices_gone.push_back(window_.vertices[v]);
                splice_.lists_all_faces = splice_.lists_all_faces && window_.complete[v] != 0;
            }
        }
        for (std::size_t begin = 0; begin < window_.records.size();) {
            std::size_t end = begin;
            bool goes = false;
            while (end < window_.records.size() && window_.records[end] == window_.records[begin]) {
                goes = goes || triangle_goes(end);
                ++end;
            }
            if (goes) {
                splice_.faces_gone.push_back(window_.records[begin]);
                for (std::size_t t = begin; t < end; ++t) {
                    if (!triangle_goes(t)) {
                        returning_.push_back(t);
                    }
                }
            }
            begin = end;
        }
    }

    /// The new vertices on the rim that one hole got before it was filled.
    void add_rim(const HoleNote& hole, const std::vector<_vert*>& border) {
        PatchRecords patch;
        patch.marker = static_cast<std::size_t>(hole.marker);
        patch.first_rim = splice_.new_vertex_count();
        const std::optional<PatchOrigins> origins = origins_of(hole, border);
        for (std::int32_t i = 0; i < hole.rim_vertices; ++i) {
            const _vert* v = *(border.end() - hole.rim_vertices + i);
            add_vertex(*v, v->index);
            if (origins) {
                add_origins(origins->of_rim_vertex(i));
            }
        }
        patch.rim_end = splice_.new_vertex_count();
        patches_.push_back(patch);
    }

    /// The patch of the hole whose rim was the `number`th. All rims come before, as in the store.
    void add_patch(std::size_t number, const HoleNote& hole, const std::vector<_vert*>& border) {
        PatchRecords& patch = patches_[number];
        patch.first_vertex = splice_.new_vertex_count();
        patch.first_face = splice_.faces.size();
        std::optional<PatchOrigins> origins = origins_of(hole, border);
        if (origins) {
            origins->list_faces([&](const _face* face) { return stays(face); });
        }
        for (std::int32_t i = 0; i < hole.new_vertices; ++i) {
            const _vert& v = mesh_.vertices.at(hole.first_vertex + i);
            add_vertex(v, hole.first_vertex + i);
            if (origins) {
                add_origins(origins->of_vertex(v.pos));
            }
        }
        for (std::int32_t i = 0; i < hole.new_faces; ++i) {
            const _face& face = mesh_.faces.at(hole.first_face + i);
            std::array<std::uint32_t, 3> corners{};
            for (std::size_t k = 0; k < 3; ++k) {
                corners[k] = scan_index(face.verts[k]);
            }
            splice_.faces.push_back(corners);
            if (origins) {
                const _face* origin = origins->of_face(face);
                splice_.face_origin.push_back(origin != nullptr ? record_of(origin) : any_record);
            }
        }
        patch.vertex_end = splice_.new_vertex_count();
        patch.face_end = splice_.faces.size();
    }

    PartSplice take() {
        std::vector<std::uint64_t> records;
        for (const std::size_t t : returning_) {
            std::array<std::uint32_t, 3> corners{};
            for (std::size_t k = 0; k < 3; ++k) {
                corners[k] =
                    window_.vertices[static_cast<std::size_t>(window_.triangles[3 * t + k])];
            }
            splice_.faces.push_back(corners);
            records.push_back(window_.records[t]);
            if (window_.has_properties) {
                splice_.face_origin.push_back(any_record);
            }
        }
        return {std::move(splice_), std::move(patches_), std::move(records)};
    }

  private:
    bool triangle_goes(std::size_t t) const {
        if (face_of_[t] >= 0) {
            return face_goes_[static_cast<std::size_t>(face_of_[t])] != 0;
        }
        // One that the mesh refused, a duplicate say, goes with its corners, and where a patch
        // takes its place beside the face that it repeats.
        const std::int32_t* v = &window_.triangles[3 * t];
        for (int k = 0; k < 3; ++k) {
            if (vertex_goes_[static_cast<std::size_t>(v[k])] != 0 ||
                closed_sides_.count(std::minmax(v[k], v[(k + 1) % 3])) != 0) {
                return true;
            }
        }
        return false;
    }

    void index_faces() {
        if (triangle_of_.empty()) {
            triangle_of_.resize(face_goes_.size(), 0);
            for (std::size_t t = 0; t < face_of_.size(); ++t) {
                if (face_of_[t] >= 0) {
                    triangle_of_[static_cast<std::size_t>(face_of_[t])] = t;
                }
            }
        }
    }

    std::uint64_t record_of(const _face* face) {
        index_faces();
        return window_.records[triangle_of_[static_cast<std::size_t>(faces_.of(face))]];
    }

    /// A face of the scan whose whole record stays.
    bool stays(const _face* face) {
        index_faces();
        const std::int32_t at = faces_.of(face);
        return at >= 0 && at < first_new_face_ && face->status != Mesh_R::status_deleted &&
               !is_gone(record_of(face));
    }

    bool is_gone(std::uint64_t record) const {
        return std::binary_search(splice_.faces_gone.begin(), splice_.faces_gone.end(), record);
    }

    std::optional<PatchOrigins> origins_of(const HoleNote& hole,
                                           const std::vector<_vert*>& border) const {
        return window_.has_properties
                   ? std::optional<PatchOrigins>(std::in_place, border, hole.rim_vertices)
                   : std::nullopt;
    }

    void add_vertex(const _vert& v, std::int32_t place) {
        if (new_index_.empty()) {
            new_index_.resize(static_cast<std::size_t>(mesh_.vertices.total()), 0);
        }
        new_index_[static_cast<std::size_t>(place)] =
            static_cast<std::uint32_t>(window_.vertices_of_scan + splice_.new_vertex_count());
        splice_.positions.insert(splice_.positions.end(), {v.pos.x, v.pos.y, v.pos.z});
        splice_.normals.insert(splice_.normals.end(), {v.normal.x, v.normal.y, v.normal.z});
    }

    /// Of the vertex that was added last.
    void add_origins(const std::vector<PatchOrigins::Origin>& origins) {
        if (splice_.origin_begin.empty()) {
            splice_.origin_begin.push_back(0);
        }
        for (const PatchOrigins::Origin& origin : origins) {
            splice_.origin_vertex.push_back(
                window_.vertices[static_cast<std::size_t>(origin.vertex->index)]);
            splice_.origin_weight.push_back(static_cast<float>(origin.weight));
        }
        splice_.origin_begin.push_back(static_cast<std::uint32_t>(splice_.origin_vertex.size()));
    }

    std::uint32_t scan_index(const _vert* v) const {
        const auto place = static_cast<std::size_t>(vertices_.of(v));
        return place < window_.vertices.size() ? window_.vertices[place] : new_index_[place];
    }

    const Window& window_;
    const Mesh_M::Mesh& mesh_;
    const std::vector<std::int32_t>& face_of_;
    Mesh_R::RecordIndex<_face> faces_{mesh_.faces};
    Mesh_R::RecordIndex<_vert> vertices_{mesh_.vertices};
    std::vector<char> face_goes_;                                  ///< per face in the store
    std::vector<char> vertex_goes_;                                ///< per vertex of the window
    std::set<std::pair<std::int32_t, std::int32_t>> closed_sides_; ///< of all borders
    std::vector<std::size_t> returning_;   ///< triangles of records that go, but stay themselves
    std::vector<std::size_t> triangle_of_; ///< per face in the store
    std::vector<std::uint32_t> new_index_; ///< per vertex in the store, for new ones
    std::int32_t first_new_face_ = 0;
    std::vector<PatchRecords> patches_;
    Splice splice_;
};

} // namespace

PartSplice make_splice(const FinishedRun& finished, bool leave_open,
                       std::vector<MarkerReport>& reports) {
    SpliceMaker maker(finished.window, finished.mesh, finished.face_of);
    const RunNotes& notes = finished.run.notes();
    std::vector<char> left(notes.regions.size(), 0);
    if (!leave_open) {
        const std::vector<std::int32_t> owners = owners_of_faces(finished.mesh, notes);
        left = places_left(finished.mesh, finished.run, owners, reports);
        for (std::size_t f = 0; f < owners.size(); ++f) {
            if (owners[f] >= 0 && left[static_cast<std::size_t>(owners[f])] != 0) {
                maker.keep(static_cast<std::int32_t>(f));
            }
        }
    }
    std::vector<std::size_t> closed;
    for (std::size_t h = 0; h < notes.holes.size(); ++h) {
        const auto marker = static_cast<std::size_t>(notes.holes[h].marker);
        if (left[marker] == 0 && notes.holes[h].new_faces > 0 &&
            reports[marker].outcome != Outcome::wild_patch) {
            closed.push_back(h);
            maker.close_border(finished.run.borders()[h]);
        }
    }
    maker.list_what_goes();
    for (const std::size_t h : closed) {
        maker.add_rim(notes.holes[h], finished.run.borders()[h]);
    }
    for (std::size_t i = 0; i < closed.size(); ++i) {
        maker.add_patch(i, notes.holes[closed[i]], finished.run.borders()[closed[i]]);
    }
    return maker.take();
}

Splice make_cut_splice(const Window& window, const Mesh_M::Mesh& mesh,
                       const std::vector<std::int32_t>& face_of) {
    SpliceMaker maker(window, mesh, face_of);
    maker.list_what_goes();
    std::vector<MarkerReport> none;
    return join_splices({maker.take()}, window.vertices_of_scan, window.records_of_scan, none);
}

} // namespace KVN::toolkit
