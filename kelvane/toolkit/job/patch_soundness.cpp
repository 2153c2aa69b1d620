#include "kelvane/toolkit/job/patch_soundness.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace KVN::toolkit {

namespace {

using Mesh_M::MyFace;
using Mesh_M::MyPoint3;
using Mesh_R::_vert;

/// An edge of the patch and how often it is traversed; `forward` from its lower to its higher
/// point.
struct PatchEdge {
    int low;
    int high;
    int forward = 0;
    int backward = 0;
};
using PatchEdges = std::vector<PatchEdge>; ///< each edge once

bool all_finite(const std::vector<MyPoint3>& points) {
    return std::all_of(points.begin(), points.end(), [](const MyPoint3& p) {
        // Narrowed, since that is what the mesh will hold.
        return std::isfinite(float(p.p[0])) && std::isfinite(float(p.p[1])) &&
               std::isfinite(float(p.p[2]));
    });
}

bool indices_valid(const PatchCandidate& patch) {
    const int count = static_cast<int>(patch.points.size());
    return std::all_of(patch.faces.begin(), patch.faces.end(), [&](const MyFace& face) {
        const int* t = face.t_idx;
        const bool in_range = std::all_of(t, t + 3, [&](int i) { return i >= 0 && i < count; });
        return in_range && t[0] != t[1] && t[1] != t[2] && t[2] != t[0];
    });
}

/// Each place of the border is taken by exactly one point.
bool covers_border(const PatchCandidate& patch, std::size_t border_size) {
    std::vector<int> taken(border_size, 0);
    for (const int place : patch.border_place) {
        if (place >= static_cast<int>(border_size)) {
            return false;
        }
        if (place >= 0) {
            ++taken[static_cast<std::size_t>(place)];
        }
    }
    return std::all_of(taken.begin(), taken.end(), [](int times) { return times == 1; });
}

PatchEdges collect_edges(const std::vector<MyFace>& faces) {
    PatchEdges sides;
    sides.reserve(3 * faces.size());
    for (const MyFace& face : faces) {
        for (int k = 0; k < 3; ++k) {
            const int a = face.t_idx[k];
            const int b = face.t_idx[(k + 1) % 3];
            sides.push_back(a < b ? PatchEdge{a, b, 1, 0} : PatchEdge{b, a, 0, 1});
        }
    }
    std::sort(sides.begin(), sides.end(), [](const PatchEdge& a, const PatchEdge& b) {
        return a.low != b.low ? a.low < b.low : a.high < b.high;
    });
    PatchEdges edges;
    for (const PatchEdge& side : sides) {
        if (edges.empty() || edges.back().low != side.low || edges.back().high != side.high) {
            edges.push_back(side);
        } else {
            edges.back().forward += side.forward;
            edges.back().backward += side.backward;
        }
    }
    return edges;
}

/// The border that a patch has to meet. Where the last vertex and the first are not joined in the
/// mesh, it is a chain: the patch ends in the open there, along that line, along points of its own,
/// or along border vertices that have no edge yet.
class BorderWalk {
  public:
    BorderWalk(const Mesh_M::Mesh& mesh, const std::vector<_vert*>& border)
        : mesh_(mesh), border_(border),
          is_chain_(mesh.vertices.find_edge(border.back(), border.front()) == nullptr) {}

    /// Edges that the patch shares with the mesh.
    std::size_t steps() const {
        const auto joined = std::count_if(border_.begin(), border_.end(),
                                          [](const _vert* v) { return v->edgeCount > 0; });
        return static_cast<std::size_t>(joined) - (is_chain_ ? 1 : 0);
    }

    /// 1 if the border runs from place a to place b in one step, -1 if from b to a, 0 if they are
    /// no neighbours.
    int step(int a, int b) const {
        const int size = static_cast<int>(border_.size());
        if (a < 0 || b < 0 || (is_chain_ && std::abs(a - b) == size - 1) || !is_joined(a) ||
            !is_joined(b)) {
            return 0;
        }
        if ((a + 1) % size == b) {
            return 1;
        }
        return (b + 1) % size == a ? -1 : 0;
    }

    /// Whether the mesh waits for a face along the step from place a to place b: its edge there has
    /// one face, which runs from b to a.
    bool is_open(int a, int b) const {
        const _vert* from = border_[static_cast<std::size_t>(a)];
        const _vert* to = border_[static_cast<std::size_t>(b)];
        const Mesh_R::_edge* edge = mesh_.vertices.find_edge(from, to);
        if (edge == nullptr || edge->faceCount != 1) {
            return false;
        }
        _vert* const* corners = edge->faces[0]->verts;
        const auto at = std::find(corners, corners + 3, to) - corners;
        return corners[(at + 1) % 3] == from;
    }

    /// Whether an edge that is no step of the border may be used so.
    bool inner_edge_fits(int a, int b, const PatchEdge& uses) const {
        const bool shared = uses.forward == 1 && uses.backward == 1;
        const bool in_the_open = is_chain_ && uses.forward + uses.backward == 1;
        if (!shared && !in_the_open) {
            return false;
        }
        // A chord between border vertices must not be an edge of the mesh: it would get more faces.
        return a < 0 || b < 0 ||
               mesh_.vertices.find_edge(border_[static_cast<std::size_t>(a)],
                                        border_[static_cast<std::size_t>(b)]) == nullptr;
    }

  private:
    bool is_joined(int place) const {
        return border_[static_cast<std::size_t>(place)]->edgeCount > 0;
    }

    const Mesh_M::Mesh& mesh_;
    const std::vector<_vert*>& border_;
    bool is_chain_;
};

bool edges_fit(const BorderWalk& walk, const PatchCandidate& patch, const PatchEdges& edges) {
    std::size_t steps = 0;
    for (const PatchEdge& edge : edges) {
        const int a = patch.border_place[static_cast<std::size_t>(edge.low)];
        const int b = patch.border_place[static_cast<std::size_t>(edge.high)];
        const int step = walk.step(a, b);
        if (step == 0) {
            if (!walk.inner_edge_fits(a, b, edge)) {
                return false;
            }
        } else if (edge.forward != (step > 0 ? 1 : 0) || edge.backward != (step > 0 ? 0 : 1) ||
                   !(step > 0 ? walk.is_open(a, b) : walk.is_open(b, a))) {
            return false;
        } else {
            ++steps;
        }
    }
    return steps == walk.steps();
}

/// Used points - edges + faces, which is 1 for a disc; -1 if a point is in no face.
std::ptrdiff_t euler_number(const PatchCandidate& patch, const PatchEdges& edges) {
    std::vector<char> used(patch.points.size(), 0);
    for (const MyFace& face : patch.faces) {
        for (const int i : face.t_idx) {
            used[static_cast<std::size_t>(i)] = 1;
        }
    }
    if (std::find(used.begin(), used.end(), 0) != used.end()) {
        return -1;
    }
    return static_cast<std::ptrdiff_t>(used.size() + patch.faces.size()) -
           static_cast<std::ptrdiff_t>(edges.size());
}

} // namespace

bool is_sound_patch(const Mesh_M::Mesh& mesh, const std::vector<_vert*>& border,
                    const PatchCandidate& patch) {
    if (patch.faces.empty() ||
        (patch.normals != nullptr && patch.normals->size() != patch.faces.size()) ||
        patch.border_place.size() != patch.points.size() || border.size() < 3) {
        return false;
    }
    if (!all_finite(patch.points) || (patch.normals != nullptr && !all_finite(*patch.normals)) ||
        !indices_valid(patch) || !covers_border(patch, border.size())) {
        return false;
    }
    const PatchEdges edges = collect_edges(patch.faces);
    if (euler_number(patch, edges) != 1) {
        return false;
    }
    return edges_fit(BorderWalk(mesh, border), patch, edges);
}

} // namespace KVN::toolkit
