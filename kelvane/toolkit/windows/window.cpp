#include "kelvane/toolkit/windows/window.hpp"

#include "kelvane/toolkit/scan/formats/point_weld.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_map>

namespace KVN::toolkit {

namespace {

/// Faces per vertex, a byte each while they are few.
class Valences {
  public:
    explicit Valences(std::uint64_t vertices) : few_(vertices, 0) {}

    /// Counts one face; the count after it, or 0 while it is below the most that a byte holds.
    std::uint32_t count(std::uint32_t vertex) {
        if (few_[vertex] < byte_limit) {
            ++few_[vertex];
            return 0;
        }
        return byte_limit + ++more_[vertex];
    }

  private:
    static constexpr std::uint8_t byte_limit = std::numeric_limits<std::uint8_t>::max();
    std::vector<std::uint8_t> few_;
    std::unordered_map<std::uint32_t, std::uint32_t> more_;
};

// A face brings at most two new edges to each corner, and the lists of a mesh hold 32,767 entries.
constexpr std::uint32_t most_faces = 16383;

void read_positions(const Surface& surface, Window& window) {
    window.positions.resize(3 * window.vertices.size());
    std::vector<float> piece;
    std::size_t next = 0;
    in_pieces(surface.vertex_count(), [&](std::uint64_t first, std::uint64_t count) {
        const std::size_t begin = next;
        while (next < window.vertices.size() && window.vertices[next] < first + count) {
            ++next;
        }
        if (next == begin) {
            return;
        }
        piece.resize(3 * count);
        surface.positions_into(first, count, piece.data());
        for (std::size_t i = begin; i < next; ++i) {
            const float* from = &piece[3 * (window.vertices[i] - first)];
            std::copy(from, from + 3, &window.positions[3 * i]);
        }
    });
}

void list_vertices(const VertexBits& complete, Window& window) {
    VertexBits held = complete;
    for (const std::int32_t corner : window.triangles) {
        held.add(static_cast<std::uint32_t>(corner));
    }
    window.vertices = held.list();
    window.complete.reserve(window.vertices.size());
    for (const std::uint32_t v : window.vertices) {
        window.complete.push_back(complete.holds(v) ? 1 : 0);
    }
    const std::vector<std::uint32_t> before = held.counts_before();
    for (std::int32_t& corner : window.triangles) {
        corner = static_cast<std::int32_t>(held.rank(static_cast<std::uint32_t>(corner), before));
    }
}

/// The first three coordinates from `p` on.
std::array<float, 3> point_at(const float* p) {
    return {p[0], p[1], p[2]};
}

/// Makes one vertex of those at the same place, the first of them.
void weld(Window& window) {
    Window welded;
    PointWeld numbers(welded.positions);
    std::vector<std::int32_t> place;
    place.reserve(window.vertices.size());
    for (std::size_t v = 0; v < window.vertices.size(); ++v) {
        place.push_back(static_cast<std::int32_t>(numbers(point_at(&window.positions[3 * v]))));
        if (welded.positions.size() > 3 * welded.vertices.size()) {
            welded.vertices.push_back(window.vertices[v]);
            welded.complete.push_back(window.complete[v]);
        }
    }
    for (std::int32_t& corner : window.triangles) {
        corner = place[static_cast<std::size_t>(corner)];
    }
    window.vertices = std::move(welded.vertices);
    window.complete = std::move(welded.complete);
    window.positions = std::move(welded.positions);
}

/// Whether there may be a place with more than `most_faces` loose corners: they are counted by a
/// hash of their place, which tells places apart well enough for numbers so large.
bool is_crowded(const Surface& surface) {
    constexpr std::uint64_t corners_per_count = 64;
    std::vector<std::uint32_t> counts(surface.vertex_count() / corners_per_count + 1, 0);
    std::vector<float> positions;
    bool crowded = false;
    in_pieces(surface.vertex_count(), [&](std::uint64_t first, std::uint64_t count) {
        positions.resize(3 * count);
        surface.positions_into(first, count, positions.data());
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::size_t hash = PointWeld::hash(point_at(&positions[3 * i]));
            crowded = ++counts[hash % counts.size()] > most_faces || crowded;
        }
    });
    return crowded;
}

} // namespace

void VertexBits::add_all() {
    words_.assign(words_.size(), ~std::uint64_t{0});
    if (count_ % 64 != 0) {
        words_.back() = (std::uint64_t{1} << (count_ % 64)) - 1;
    }
}

std::vector<std::uint32_t> VertexBits::list() const {
    std::vector<std::uint32_t> vertices;
    for (std::size_t w = 0; w < words_.size(); ++w) {
        for (std::uint64_t word = words_[w]; word != 0; word &= word - 1) {
            vertices.push_back(
                static_cast<std::uint32_t>(64 * w + static_cast<unsigned>(__builtin_ctzll(word))));
        }
    }
    return vertices;
}

std::vector<std::uint32_t> VertexBits::counts_before() const {
    std::vector<std::uint32_t> before;
    before.reserve(words_.size());
    std::uint32_t count = 0;
    for (const std::uint64_t word : words_) {
        before.push_back(count);
        count += static_cast<std::uint32_t>(__builtin_popcountll(word));
    }
    return before;
}

void add_in_reach(const Surface& surface, const Reach& reach, VertexBits& complete) {
    std::vector<float> positions;
    in_pieces(surface.vertex_count(), [&](std::uint64_t first, std::uint64_t count) {
        positions.resize(3 * count);
        surface.positions_into(first, count, positions.data());
        for (std::uint64_t i = 0; i < count; ++i) {
            if (reach.holds(&positions[3 * i])) {
                complete.add(first + i);
            }
        }
    });
}

void add_vertices(const Surface& surface, const Window& window,
                  const std::vector<std::int32_t>& vertices, VertexBits& complete) {
    if (!surface.loose_corners()) {
        for (const std::int32_t v : vertices) {
            complete.add(window.vertices[static_cast<std::size_t>(v)]);
        }
        return;
    }
    std::vector<float> places;
    PointWeld wanted(places);
    for (const std::int32_t v : vertices) {
        wanted(point_at(&window.positions[3 * static_cast<std::size_t>(v)]));
    }
    std::vector<float> positions;
    in_pieces(surface.vertex_count(), [&](std::uint64_t first, std::uint64_t count) {
        positions.resize(3 * count);
        surface.positions_into(first, count, positions.data());
        for (std::uint64_t i = 0; i < count; ++i) {
            if (wanted.find(point_at(&positions[3 * i])) != PointWeld::none) {
                complete.add(first + i);
            }
        }
    });
}

Window collect_window(const Surface& surface, const VertexBits& complete) {
    Window window;
    window.vertices_of_scan = surface.vertex_count();
    window.records_of_scan = surface.face_count();
    window.has_properties = surface.has_properties();
    const bool loose = surface.loose_corners();
    Valences valences(loose ? 0 : surface.vertex_count());
    for_each_triangle(surface, [&](const std::int32_t* corners, std::uint64_t record) {
        bool wanted = false;
        for (int k = 0; k < 3; ++k) {
            wanted = wanted || complete.holds(static_cast<std::uint32_t>(corners[k]));
            window.overfull =
                window.overfull ||
                (!loose && valences.count(static_cast<std::uint32_t>(corners[k])) > most_faces);
        }
        if (wanted) {
            window.triangles.insert(window.triangles.end(), corners, corners + 3);
            window.records.push_back(record);
        }
    });
    list_vertices(complete, window);
    read_positions(surface, window);
    if (loose) {
        weld(window);
        window.overfull = is_crowded(surface);
    }
    return window;
}

std::vector<std::int32_t> build_from(const Window& window, Mesh_M::Mesh& mesh,
                                     Mesh_M::BuildReport& report) {
    report = Mesh_M::build_mesh(mesh, window.positions.data(), window.vertices.size(),
                                window.triangles.data(), window.triangle_count());
    // Faces enter the store in order; one that was refused is not followed by its equal.
    std::vector<std::int32_t> face_of(window.triangle_count(), -1);
    std::int32_t next = 0;
    for (std::size_t t = 0; t < face_of.size() && next < mesh.faces.total(); ++t) {
        const Mesh_R::_face& face = mesh.faces.at(next);
        bool same = true;
        for (std::size_t k = 0; k < 3; ++k) {
            same = same && &mesh.vertices.at(window.triangles[3 * t + k]) == face.verts[k];
        }
        if (same) {
            face_of[t] = next++;
        }
    }
    return face_of;
}

} // namespace KVN::toolkit
