#include "kelvane/toolkit/windows/window_parts.hpp"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace KVN::toolkit {

namespace {

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

/// The pieces of a window as disjoint sets of its vertices, each named by its first one (Galler and
/// Fischer 1964, paths halved as by van Leeuwen and van der Weide 1977).
class Pieces {
  public:
    explicit Pieces(const Window& window) : parent_(window.vertices.size()) {
        std::iota(parent_.begin(), parent_.end(), std::uint32_t{0});
        for (std::size_t t = 0; t < window.triangle_count(); ++t) {
            const std::int32_t* corners = &window.triangles[3 * t];
            join(corners[0], corners[1]);
            join(corners[0], corners[2]);
            if (t > 0 && window.records[t] == window.records[t - 1]) {
                join(corners[0], *(corners - 3));
            }
        }
    }

    template <class Vertex>
    std::uint32_t of(Vertex vertex) {
        auto i = static_cast<std::uint32_t>(vertex);
        while (parent_[i] != i) {
            parent_[i] = parent_[parent_[i]];
            i = parent_[i];
        }
        return i;
    }

    template <class Vertex>
    void join(Vertex v, Vertex w) {
        const std::uint32_t a = of(v);
        const std::uint32_t b = of(w);
        parent_[std::max(a, b)] = std::min(a, b);
    }

  private:
    std::vector<std::uint32_t> parent_;
};

/// Joins the pieces that a marker reaches; per marker one vertex in its reach, or none.
std::vector<std::uint32_t> join_by_markers(const Window& window, std::size_t markers,
                                           const std::vector<MarkerReach>& reaches,
                                           Pieces& pieces) {
    std::vector<Capsule> capsules;
    capsules.reserve(reaches.size());
    for (const MarkerReach& reach : reaches) {
        capsules.push_back(reach.capsule);
    }
    const Reach reach(capsules);
    std::vector<std::uint32_t> first(markers, none);
    std::vector<std::uint32_t> holding;
    for (std::uint32_t v = 0; v < window.vertices.size(); ++v) {
        reach.list(&window.positions[3 * std::size_t{v}], holding);
        for (const std::uint32_t capsule : holding) {
            std::uint32_t& seat = first[reaches[capsule].marker];
            seat = seat == none ? v : seat;
            pieces.join(seat, v);
        }
    }
    return first;
}

/// Per vertex its part: pieces in the order of their first vertices.
std::vector<std::uint32_t> parts_of(const Window& window, Pieces& pieces,
                                    std::size_t most_triangles) {
    std::vector<std::size_t> triangles(window.vertices.size(), 0); // per piece
    for (std::size_t t = 0; t < window.triangle_count(); ++t) {
        ++triangles[pieces.of(window.triangles[3 * t])];
    }
    std::vector<std::uint32_t> part_of(window.vertices.size());
    std::uint32_t part = 0;
    std::size_t filled = 0;
    for (std::size_t v = 0; v < part_of.size(); ++v) {
        const std::uint32_t piece = pieces.of(v);
        if (piece != v) {
            part_of[v] = part_of[piece];
            continue;
        }
        if (filled > 0 && filled + triangles[v] > most_triangles) {
            ++part;
            filled = 0;
        }
        filled += triangles[v];
        part_of[v] = part;
    }
    return part_of;
}

void share_out(const Window& window, const std::vector<std::uint32_t>& part_of,
               std::vector<WindowPart>& parts) {
    std::vector<std::int32_t> place(window.vertices.size());
    for (std::size_t v = 0; v < part_of.size(); ++v) {
        Window& to = parts[part_of[v]].window;
        place[v] = static_cast<std::int32_t>(to.vertices.size());
        to.vertices.push_back(window.vertices[v]);
        to.complete.push_back(window.complete[v]);
        const float* position = &window.positions[3 * v];
        to.positions.insert(to.positions.end(), position, position + 3);
    }
    for (std::size_t t = 0; t < window.triangle_count(); ++t) {
        const std::int32_t* corners = &window.triangles[3 * t];
        Window& to = parts[part_of[static_cast<std::size_t>(corners[0])]].window;
        to.records.push_back(window.records[t]);
        for (std::size_t k = 0; k < 3; ++k) {
            to.triangles.push_back(place[static_cast<std::size_t>(corners[k])]);
        }
    }
}

} // namespace

std::vector<WindowPart> cut_apart(Window window, std::size_t markers,
                                  const std::vector<MarkerReach>& reaches,
                                  std::size_t most_triangles) {
    std::vector<WindowPart> parts(1);
    if (window.triangle_count() <= most_triangles) {
        parts[0].window = std::move(window);
        parts[0].markers.resize(markers);
        std::iota(parts[0].markers.begin(), parts[0].markers.end(), std::size_t{0});
        return parts;
    }
    Pieces pieces(window);
    const std::vector<std::uint32_t> first = join_by_markers(window, markers, reaches, pieces);
    const std::vector<std::uint32_t> part_of = parts_of(window, pieces, most_triangles);
    parts.resize(1 + *std::max_element(part_of.begin(), part_of.end()));
    for (WindowPart& part : parts) {
        part.window.vertices_of_scan = window.vertices_of_scan;
        part.window.records_of_scan = window.records_of_scan;
        part.window.has_properties = window.has_properties;
        part.window.overfull = window.overfull;
    }
    share_out(window, part_of, parts);
    for (std::size_t m = 0; m < markers; ++m) {
        parts[first[m] == none ? 0 : part_of[first[m]]].markers.push_back(m);
    }
    return parts;
}

} // namespace KVN::toolkit
