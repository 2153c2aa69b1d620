#include "kelvane/toolkit/rims/rim_closing.hpp"

#include "kelvane/kernel/record_marks.hpp"
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/toolkit/rims/rim_curve.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace KVN::toolkit {

using Eigen::Vector3d;

namespace {

// Share of the rim's edge length that a new point keeps from the cut's border. Nearer, and the
// patch folds between them.
constexpr double least_distance = 0.5;

Vector3d widened(const _vert* v) {
    return {v->pos.x, v->pos.y, v->pos.z};
}

/// The regions and holes whose cut made the boundary at a vertex.
class Cuts {
  public:
    explicit Cuts(const SearchPlace& place) {
        for (const RegionNote& region : place.notes.regions) {
            for (const _vert* v : region.ring) {
                add(v, region.hole);
            }
        }
        for (std::size_t hole = 0; hole < place.borders.size(); ++hole) {
            for (const _vert* v : place.borders[hole]) {
                add(v, static_cast<int>(hole));
            }
        }
    }

    /// Whether another cut than that of `hole` has made the boundary at `v`.
    bool is_of_other(const _vert* v, int hole) const {
        const auto found = owner_.find(v);
        return found != owner_.end() && found->second != hole;
    }

  private:
    void add(const _vert* v, int hole) {
        const auto [at, fresh] = owner_.emplace(v, hole);
        if (!fresh && at->second != hole) {
            at->second = shared;
        }
    }

    static constexpr int shared = -2;
    std::unordered_map<const _vert*, int> owner_; // never iterated: its order is that of addresses
};

/// The rim from `end` on, away from the chain's neighbour `inner` of it; it stops at another cut,
/// at a vertex where boundaries meet, and where it comes around to the chain's other end.
RimSide rim_from(const _vert* end, const _vert* inner, const _vert* other, int hole,
                 const Cuts& cuts) {
    RimSide side{widened(end)};
    const _vert* before = inner;
    const _vert* v = end;
    for (int k = 0; k < rim_edges_learnt && Mesh_R::boundary_edge_count(v) == 2; ++k) {
        const _vert* next = nullptr;
        for (int i = 0; i < v->edgeCount; ++i) {
            const _vert* w = Mesh_R::other_end(v->edges[i], v);
            if (v->edges[i]->faceCount == 1 && w != before) {
                next = w;
            }
        }
        if (next == nullptr || next == other || cuts.is_of_other(next, hole)) {
            break;
        }
        side.push_back(widened(next));
        before = v;
        v = next;
    }
    return side;
}

/// Whether a new point lies nearer to the chain than to its own neighbours.
bool meets_chain(const RimCurve& curve, const std::vector<_vert*>& chain) {
    const double edge = (curve.points.front() - widened(chain.back())).norm();
    return std::any_of(curve.points.begin(), curve.points.end(), [&](const Vector3d& p) {
        return std::any_of(chain.begin(), chain.end(), [&](const _vert* v) {
            return (widened(v) - p).norm() < least_distance * edge;
        });
    });
}

RimCurve curve_at(const SearchPlace& place, int hole, const Cuts& cuts) {
    const std::vector<_vert*>& chain = place.borders[static_cast<std::size_t>(hole)];
    if (place.mesh.vertices.find_edge(chain.back(), chain.front()) != nullptr) {
        return {RimClosing::joined_ends, {}};
    }
    const std::size_t size = chain.size();
    const RimSide from = rim_from(chain.back(), chain[size - 2], chain.front(), hole, cuts);
    const RimSide to = rim_from(chain.front(), chain[1], chain.back(), hole, cuts);
    const RimCurve curve = continue_rim(from, to);
    if (curve.closing == RimClosing::curved && meets_chain(curve, chain)) {
        return {RimClosing::meets_cut, {}};
    }
    return curve;
}

void add_points(SearchPlace& place, std::size_t hole, const std::vector<Vector3d>& curve) {
    std::vector<_vert*>& border = place.borders[hole];
    const auto first = static_cast<int>(border.size());
    const auto count = static_cast<int>(curve.size());
    std::vector<MyPoint3> points;
    for (const Vector3d& p : curve) {
        MemS::Point3v<float> position(static_cast<float>(p.x()), static_cast<float>(p.y()),
                                      static_cast<float>(p.z()));
        border.push_back(place.mesh.vertices.insert_vert(position));
        Mesh_R::set_mark(border.back(), Mesh_R::on_new_rim);
        MyPoint3 point;
        point.p[0] = position.x;
        point.p[1] = position.y;
        point.p[2] = position.z;
        points.push_back(point);
    }
    std::vector<MyPoint3>& all = place.points[hole];
    all.insert(all.begin() + first, points.begin(), points.end());
    for (MyFace& face : place.faces[hole]) {
        for (int& corner : face.t_idx) {
            corner += corner >= first ? count : 0;
        }
    }
    place.boundary_counts[hole] += count;
    place.notes.holes[hole].rim_vertices = count;
}

} // namespace

std::vector<std::optional<RimClosing>> close_rims(SearchPlace& place, bool straight) {
    std::vector<std::optional<RimClosing>> closings(place.borders.size());
    const Cuts cuts(place);
    for (std::size_t hole = 0; hole < closings.size(); ++hole) {
        if (place.notes.holes[hole].is_chain) {
            const RimCurve curve = straight ? RimCurve{RimClosing::as_asked, {}}
                                            : curve_at(place, static_cast<int>(hole), cuts);
            closings[hole] = curve.closing;
            if (!curve.points.empty()) {
                add_points(place, hole, curve.points);
            }
        }
    }
    return closings;
}

void finish_rims(const std::vector<std::vector<_vert*>>& borders, const RunNotes& notes) {
    for (std::size_t hole = 0; hole < borders.size(); ++hole) {
        const HoleNote& note = notes.holes[hole];
        std::for_each(borders[hole].end() - note.rim_vertices, borders[hole].end(), [&](_vert* v) {
            Mesh_R::clear_mark(v, Mesh_R::on_new_rim);
            if (note.new_faces == 0) {
                v->status = Mesh_R::status_deleted;
            }
        });
    }
}

} // namespace KVN::toolkit
