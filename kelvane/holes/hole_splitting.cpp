// Cutting the lobes out of a boundary walk that passes a pinch vertex more than once.
#include "kelvane/kernel/record_words.hpp"
#include "kelvane/repair/repair_markers.hpp"

#include <deque>
#include <utility>

namespace KVN {

using namespace Mesh_R;

namespace {

// A pinch vertex met by the walk, with the boundary edges that it still has on it.
using PinchList = std::deque<std::pair<_vert*, int>>;

bool contains(const PinchList& seen, const _vert* v) {
    for (const auto& entry : seen) {
        if (entry.first == v) {
            return true;
        }
    }
    return false;
}

// Goes back from edge `last` of the walk until it meets `v` again; marks and returns what it
// passed, without what earlier cuts have taken.
std::vector<_edge*> mark_lobe(const std::vector<_edge*>& work, int last, const _vert* v) {
    std::vector<_edge*> cut{work[last]};
    work[last]->status = Mesh_R::status_cut;
    for (int j = last - 1; j >= 0; --j) {
        _edge* e = work[j];
        if (e->status == Mesh_R::status_cut) {
            continue;
        }
        cut.push_back(e);
        e->status = Mesh_R::status_cut;
        if (is_end(e, v)) {
            break;
        }
    }
    return cut;
}

// Takes the edges of a lobe off the counts; a vertex left with one run is a plain one from here on.
void forget_lobe(PinchList& seen, const std::vector<_edge*>& cut) {
    for (const _edge* e : cut) {
        for (auto entry = seen.begin(); entry != seen.end();) {
            if (is_end(e, entry->first)) {
                --entry->second;
            }
            entry = entry->second <= 2 ? seen.erase(entry) : entry + 1;
        }
    }
}

// Tries to cut out the lobe that closes at `v` before edge `i`. Returns without a trace where the
// stretch is no closed lobe.
void cut_lobe(const std::vector<_edge*>& work, int i, const _vert* v, PinchList& seen) {
    const std::vector<_edge*> cut = mark_lobe(work, i - 1, v);
    if (cut.size() > 2 && meet(cut.front(), cut.back())) {
        forget_lobe(seen, cut);
        return;
    }
    for (_edge* e : cut) {
        e->status = Mesh_R::status_normal;
    }
}

} // namespace

void RepairMarkers::check_hole_split(std::vector<_edge*>& work, std::vector<_edge*>& edges,
                                     std::vector<std::vector<_edge*>>& loops) {
    if (edges.empty()) {
        return;
    }
    work = edges;
    loops.clear();
    PinchList seen;
    bool split = false;
    const int m = static_cast<int>(work.size());
    _vert* v = work[0]->start;
    if (m > 1 && is_end(work[1], v)) {
        v = work[0]->end;
    }
    for (int i = 0; i < m; ++i) {
        if (is_pinch(v)) {
            if (!contains(seen, v)) {
                seen.emplace_back(v, boundary_edge_count(v));
            } else if (v->status == Mesh_R::status_walked && i > 0) {
                split = true;
                cut_lobe(work, i, v, seen);
            }
        }
        v->status = Mesh_R::status_walked;
        v = other_end(work[i], v);
    }

    std::vector<_edge*> remainder;
    for (_edge* e : work) {
        if (!split || e->status != Mesh_R::status_cut) {
            remainder.push_back(e);
        }
    }
    loops.push_back(std::move(remainder));
    for (_edge* e : work) {
        e->status = e->status == Mesh_R::status_cut ? Mesh_R::status_normal : Mesh_R::status_walked;
        e->start->status = Mesh_R::status_normal;
        e->end->status = Mesh_R::status_normal;
    }
}

} // namespace KVN
