#include "kelvane/toolkit/windows/splice_joining.hpp"

#include <algorithm>
#include <array>
#include <deque>
#include <utility>

namespace KVN::toolkit {

namespace {

template <class T>
void append(std::vector<T>& list, const std::vector<T>& more, std::size_t begin, std::size_t end) {
    const auto at = more.begin();
    list.insert(list.end(), at + static_cast<std::ptrdiff_t>(begin),
                at + static_cast<std::ptrdiff_t>(end));
}

class SpliceJoin {
  public:
    SpliceJoin(std::vector<PartSplice> parts, std::uint64_t vertices_of_scan,
               std::uint64_t records_of_scan)
        : parts_(std::move(parts)), vertices_of_scan_(vertices_of_scan),
          records_of_scan_(records_of_scan) {
        for (PartSplice& part : parts_) {
            numbers_.emplace_back(part.splice.new_vertex_count());
            for (const PatchRecords& patch : part.patches) {
                patches_.push_back({&part, &numbers_.back(), &patch});
            }
        }
        std::stable_sort(patches_.begin(), patches_.end(), [](const Patch& a, const Patch& b) {
            return a.records->marker < b.records->marker;
        });
    }

    Splice run(std::vector<MarkerReport>& reports) {
        list_what_goes();
        for (const Patch& patch : patches_) {
            add_vertices(patch, patch.records->first_rim, patch.records->rim_end);
        }
        for (const Patch& patch : patches_) {
            MarkerReport& report = reports[patch.records->marker];
            report.first_new_vertex = static_cast<std::int64_t>(joined_.new_vertex_count());
            report.first_new_face = static_cast<std::int64_t>(joined_.faces.size());
            add_vertices(patch, patch.records->first_vertex, patch.records->vertex_end);
            for (std::size_t f = patch.records->first_face; f < patch.records->face_end; ++f) {
                add_face(*patch.part, *patch.numbers, f);
            }
        }
        add_returning();
        name_any_record();
        return std::move(joined_);
    }

  private:
    struct Patch {
        const PartSplice* part;
        std::vector<std::uint32_t>* numbers;
        const PatchRecords* records;
    };

    void list_what_goes() {
        joined_.lists_all_faces = true;
        for (const auto& [splice, patches, returning] : parts_) {
            append(joined_.vertices_gone, splice.vertices_gone, 0, splice.vertices_gone.size());
            append(joined_.faces_gone, splice.faces_gone, 0, splice.faces_gone.size());
            joined_.lists_all_faces = joined_.lists_all_faces && splice.lists_all_faces;
        }
        std::sort(joined_.vertices_gone.begin(), joined_.vertices_gone.end());
        std::sort(joined_.faces_gone.begin(), joined_.faces_gone.end());
    }

    void add_vertices(const Patch& patch, std::size_t begin, std::size_t end) {
        const Splice& from = patch.part->splice;
        append(joined_.normals, from.normals, 3 * begin, 3 * end);
        for (std::size_t v = begin; v < end; ++v) {
            (*patch.numbers)[v] =
                static_cast<std::uint32_t>(vertices_of_scan_ + joined_.new_vertex_count());
            append(joined_.positions, from.positions, 3 * v, 3 * v + 3);
            if (from.origin_begin.empty()) {
                continue;
            }
            if (joined_.origin_begin.empty()) {
                joined_.origin_begin.push_back(0);
            }
            append(joined_.origin_vertex, from.origin_vertex, from.origin_begin[v],
                   from.origin_begin[v + 1]);
            append(joined_.origin_weight, from.origin_weight, from.origin_begin[v],
                   from.origin_begin[v + 1]);
            joined_.origin_begin.push_back(
                static_cast<std::uint32_t>(joined_.origin_vertex.size()));
        }
    }

    void add_face(const PartSplice& part, const std::vector<std::uint32_t>& numbers,
                  std::size_t f) {
        std::array<std::uint32_t, 3> corners = part.splice.faces[f];
        for (std::uint32_t& corner : corners) {
            corner = corner < vertices_of_scan_ ? corner : numbers[corner - vertices_of_scan_];
        }
        joined_.faces.push_back(corners);
        if (!part.splice.face_origin.empty()) {
            joined_.face_origin.push_back(part.splice.face_origin[f]);
        }
    }

    /// In the order of their records.
    void add_returning() {
        struct Face {
            std::uint64_t record;
            std::size_t part;
            std::size_t face;
        };
        std::vector<Face> faces;
        for (std::size_t p = 0; p < parts_.size(); ++p) {
            const std::vector<std::uint64_t>& records = parts_[p].returning;
            const std::size_t first = parts_[p].splice.faces.size() - records.size();
            for (std::size_t i = 0; i < records.size(); ++i) {
                faces.push_back({records[i], p, first + i});
            }
        }
        std::stable_sort(faces.begin(), faces.end(),
                         [](const Face& a, const Face& b) { return a.record < b.record; });
        for (const Face& face : faces) {
            add_face(parts_[face.part], numbers_[face.part], face.face);
        }
    }

    /// Faces at whose border no record stays take after the scan's first one that does; if there is
    /// none, nothing is known of any face.
    void name_any_record() {
        std::vector<std::uint64_t>& origins = joined_.face_origin;
        if (std::find(origins.begin(), origins.end(), any_record) == origins.end()) {
            return;
        }
        std::uint64_t first = 0;
        for (const std::uint64_t gone : joined_.faces_gone) {
            if (gone > first) {
                break;
            }
            first = gone + 1;
        }
        if (first >= records_of_scan_) {
            origins.clear();
        }
        std::replace(origins.begin(), origins.end(), any_record, first);
    }

    std::vector<PartSplice> parts_;
    std::uint64_t vertices_of_scan_;
    std::uint64_t records_of_scan_;
    std::deque<std::vector<std::uint32_t>> numbers_; ///< per part, of its new vertices
    std::vector<Patch> patches_;
    Splice joined_;
};

} // namespace

Splice join_splices(std::vector<PartSplice> parts, std::uint64_t vertices_of_scan,
                    std::uint64_t records_of_scan, std::vector<MarkerReport>& reports) {
    return SpliceJoin(std::move(parts), vertices_of_scan, records_of_scan).run(reports);
}

} // namespace KVN::toolkit
