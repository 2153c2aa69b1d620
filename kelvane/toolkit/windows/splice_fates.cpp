#include "kelvane/toolkit/windows/splice_fates.hpp"

#include "kelvane/kernel/record_index.hpp"

#include <algorithm>
#include <map>
#include <utility>

namespace KVN::toolkit {

namespace {

using Side = std::pair<const _vert*, const _vert*>;

Side side(const _vert* a, const _vert* b) {
    return a->index < b->index ? Side{a, b} : Side{b, a};
}

/// Pairs of regions of which one cannot be left while the other is repaired.
class Ties {
  public:
    Ties(const Mesh_M::Mesh& mesh, const MeshRun& run, const std::vector<std::int32_t>& owners) {
        const RunNotes& notes = run.notes();
        for (std::size_t r = 0; r < notes.regions.size(); ++r) {
            const int hole = notes.regions[r].joined_hole;
            if (hole >= 0) {
                tie(static_cast<int>(r), notes.holes[static_cast<std::size_t>(hole)].marker);
            }
        }
        std::map<Side, std::vector<int>> cut_sides;
        std::map<const _vert*, int> cut_at;
        for (std::size_t f = 0; f < owners.size(); ++f) {
            if (owners[f] < 0) {
                continue;
            }
            const _face& face = mesh.faces.at(static_cast<std::int32_t>(f));
            for (int k = 0; k < 3; ++k) {
                const _vert* v = face.verts[k];
                cut_sides[side(v, face.verts[(k + 1) % 3])].push_back(owners[f]);
                if (v->status == Mesh_R::status_deleted) {
                    tie(cut_at.emplace(v, owners[f]).first->second, owners[f]);
                }
            }
        }
        for (std::size_t h = 0; h < run.borders().size(); ++h) {
            const std::vector<_vert*>& border = run.borders()[h];
            for (std::size_t i = 0; i < border.size(); ++i) {
                const auto cut = cut_sides.find(side(border[i], border[(i + 1) % border.size()]));
                if (cut != cut_sides.end()) {
                    for (const int region : cut->second) {
                        tie(notes.holes[h].marker, region);
                    }
                }
            }
        }
        std::sort(pairs_.begin(), pairs_.end());
        pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
    }

    const std::vector<std::pair<int, int>>& pairs() const { return pairs_; }

  private:
    void tie(int a, int b) {
        if (a != b) {
            pairs_.emplace_back(std::min(a, b), std::max(a, b));
        }
    }

    std::vector<std::pair<int, int>> pairs_;
};

} // namespace

std::vector<std::int32_t> owners_of_faces(const Mesh_M::Mesh& mesh, const RunNotes& notes) {
    const Mesh_R::RecordIndex<_face> index(mesh.faces);
    std::vector<std::int32_t> owners(static_cast<std::size_t>(mesh.faces.total()), -1);
    for (std::size_t r = 0; r < notes.regions.size(); ++r) {
        for (const _face* face : notes.regions[r].faces) {
            owners[static_cast<std::size_t>(index.of(face))] = static_cast<std::int32_t>(r);
        }
    }
    return owners;
}

std::vector<char> places_left(const Mesh_M::Mesh& mesh, const MeshRun& run,
                              const std::vector<std::int32_t>& owners,
                              std::vector<MarkerReport>& reports) {
    const std::vector<RegionNote>& regions = run.notes().regions;
    std::vector<char> left(regions.size(), 0);
    bool any = false;
    for (std::size_t r = 0; r < regions.size(); ++r) {
        left[r] = regions[r].finding == RegionFinding::cut && !is_repaired(reports[r].outcome);
        any = any || left[r] != 0;
    }
    if (!any) {
        return left;
    }
    const Ties ties(mesh, run, owners);
    for (bool changed = true; changed;) {
        changed = false;
        for (const auto& [a, b] : ties.pairs()) {
            for (const auto& [from, to] : {std::pair{a, b}, std::pair{b, a}}) {
                MarkerReport& report = reports[static_cast<std::size_t>(to)];
                if (left[static_cast<std::size_t>(from)] != 0 &&
                    left[static_cast<std::size_t>(to)] == 0 &&
                    regions[static_cast<std::size_t>(to)].finding == RegionFinding::cut) {
                    left[static_cast<std::size_t>(to)] = 1;
                    report = {};
                    report.outcome = Outcome::left_with_neighbour;
                    changed = true;
                }
            }
        }
    }
    return left;
}

} // namespace KVN::toolkit
