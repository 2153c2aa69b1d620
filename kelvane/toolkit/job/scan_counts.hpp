// How large a scan is before and after a splice.
#pragma once

#include "kelvane/toolkit/windows/surface.hpp"

namespace KVN::toolkit {

/// Sets the counts of vertices and faces in the report of a repair or a cut. Where corners are
/// loose, those of all triangles are counted as vertices.
template <class Report>
void note_counts(const Surface& surface, const Splice& splice, Report& report) {
    report.faces_before = static_cast<std::int64_t>(surface.face_count() - surface.short_faces());
    report.faces_after = report.faces_before - static_cast<std::int64_t>(splice.faces_gone.size()) +
                         static_cast<std::int64_t>(splice.faces.size());
    if (surface.loose_corners()) {
        report.vertices_before = 3 * report.faces_before;
        report.vertices_after = 3 * report.faces_after;
        return;
    }
    report.vertices_before = static_cast<std::int64_t>(surface.vertex_count());
    report.vertices_after = report.vertices_before -
                            static_cast<std::int64_t>(splice.vertices_gone.size()) +
                            static_cast<std::int64_t>(splice.new_vertex_count());
}

} // namespace KVN::toolkit
