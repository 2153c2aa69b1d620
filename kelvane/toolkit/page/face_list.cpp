#include "kelvane/toolkit/page/face_list.hpp"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace KVN::toolkit {

namespace {

void add_points(const Window& window, const Splice& splice, FaceList& list) {
    auto gone = splice.vertices_gone.begin();
    for (std::size_t i = 0; i < window.vertices.size(); ++i) {
        gone = std::lower_bound(gone, splice.vertices_gone.end(), window.vertices[i]);
        const bool goes = gone != splice.vertices_gone.end() && *gone == window.vertices[i];
        const float* p = &window.positions[3 * i];
        list.points.push_back({p[0], p[1], p[2]});
        list.parts.push_back(goes ? Part::gone : Part::shared);
        list.whole.push_back(window.complete[i]);
    }
    for (std::size_t k = 0; k < splice.new_vertex_count(); ++k) {
        const float* p = &splice.positions[3 * k];
        list.points.push_back({p[0], p[1], p[2]});
        list.parts.push_back(Part::added);
        list.whole.push_back(1);
    }
}

void add_old_faces(const Window& window, const Splice& splice, FaceList& list) {
    for (std::size_t t = 0; t < window.triangle_count(); ++t) {
        PartFace face{{}, Part::shared};
        for (std::size_t k = 0; k < 3; ++k) {
            face.corners[k] = static_cast<std::uint32_t>(window.triangles[3 * t + k]);
            face.part = list.parts[face.corners[k]] == Part::gone ? Part::gone : face.part;
        }
        if (std::binary_search(splice.faces_gone.begin(), splice.faces_gone.end(),
                               window.records[t])) {
            face.part = Part::gone;
        }
        list.faces.push_back(face);
    }
}

void add_new_faces(const Window& window, const Splice& splice, FaceList& list) {
    for (std::size_t f = 0; f < splice.faces.size(); ++f) {
        PartFace face{{}, Part::added, static_cast<std::int64_t>(f)};
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t corner = splice.faces[f][k];
            const auto old =
                std::lower_bound(window.vertices.begin(), window.vertices.end(), corner);
            face.corners[k] = static_cast<std::uint32_t>(
                corner < window.vertices_of_scan
                    ? static_cast<std::size_t>(old - window.vertices.begin())
                    : window.vertices.size() + (corner - window.vertices_of_scan));
        }
        list.faces.push_back(face);
    }
}

} // namespace

FaceList list_faces(const Window& window, const Splice& splice) {
    FaceList list;
    add_points(window, splice, list);
    add_old_faces(window, splice, list);
    add_new_faces(window, splice, list);
    return list;
}

FaceSearch::FaceSearch(const FaceList& list) : list_(list) {
    const auto x = [&list](std::uint32_t corner) { return list.points[corner][0]; };
    for (std::uint32_t f = 0; f < list.faces.size(); ++f) {
        const auto& c = list.faces[f].corners;
        const double wide = std::max({x(c[0]), x(c[1]), x(c[2])}) -
                            static_cast<double>(std::min({x(c[0]), x(c[1]), x(c[2])}));
        // What is not finite can be neither ordered nor drawn.
        if (std::all_of(c.begin(), c.end(), [&list](std::uint32_t corner) {
                const auto& p = list.points[corner];
                return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
            })) {
            by_x_.push_back(f);
            widest_ = std::max(widest_, wide);
        }
    }
    std::sort(by_x_.begin(), by_x_.end(), [&](std::uint32_t a, std::uint32_t b) {
        const float x_a = x(list.faces[a].corners[0]);
        const float x_b = x(list.faces[b].corners[0]);
        return x_a != x_b ? x_a < x_b : a < b;
    });
}

std::size_t FaceSearch::first_from(double from) const {
    return static_cast<std::size_t>(
        std::lower_bound(by_x_.begin(), by_x_.end(), from,
                         [this](std::uint32_t f, double value) {
                             return list_.points[list_.faces[f].corners[0]][0] < value;
                         }) -
        by_x_.begin());
}

FaceList FaceSearch::only(std::vector<std::uint32_t> faces) const {
    std::sort(faces.begin(), faces.end());
    FaceList part;
    std::unordered_map<std::uint32_t, std::uint32_t> place_of;
    for (const std::uint32_t f : faces) {
        PartFace face = list_.faces[f];
        for (std::uint32_t& corner : face.corners) {
            const auto [entry, is_new] =
                place_of.emplace(corner, static_cast<std::uint32_t>(part.points.size()));
            if (is_new) {
                part.points.push_back(list_.points[corner]);
                part.parts.push_back(list_.parts[corner]);
                part.whole.push_back(list_.whole[corner]);
            }
            corner = entry->second;
        }
        part.faces.push_back(face);
    }
    return part;
}

} // namespace KVN::toolkit
