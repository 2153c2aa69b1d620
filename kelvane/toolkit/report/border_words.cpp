#include "kelvane/toolkit/report/border_words.hpp"

#include <cstdio>

namespace KVN::toolkit {

std::string describe_placement(int result) {
    switch (Mesh_M::placement_of(result)) {
    case Mesh_M::Placement::continued:
        return "continues the smooth surface around it";
    case Mesh_M::Placement::blended:
        return "continues the surface around it by " +
               std::to_string(100 - Mesh_M::fairing_percent_of(result)) + " %, the rest is faired";
    case Mesh_M::Placement::faired:
        return "faired, since the surface around it is no height field";
    case Mesh_M::Placement::unchanged:
        return "as it was filled, since nothing else was sound";
    }
    return "";
}

const char* describe(Refusal refusal) {
    switch (refusal) {
    case Refusal::none:
        return "taken as the border";
    case Refusal::dead_region:
        return "no vertex around the cut is left";
    case Refusal::no_free_edge:
        return "no open edge to walk along";
    case Refusal::too_short:
        return "too few edges";
    case Refusal::walk_open:
        return "the walk does not close";
    case Refusal::patience_spent:
        return "the walk ran away from the marker along another boundary";
    case Refusal::too_small:
        return "the loop is smaller than the marker, in perimeter and in edges";
    case Refusal::too_short_split:
        return "too few edges without the lobes at pinch vertices";
    case Refusal::too_small_split:
        return "smaller than the marker without the lobes at pinch vertices";
    case Refusal::wrong_way:
        return "too few edges run against their faces";
    case Refusal::off_ring:
        return "too few edges touch the ring around a cut: another boundary of the scan";
    case Refusal::no_seed:
        return "the open boundary does not leave the ring: no rim of the scan here";
    case Refusal::other_end:
        return "the far end of the marker's stretch of rim";
    case Refusal::walk_share:
        return "too few edges for the vertices around the cut";
    case Refusal::remainder_share:
        return "too few edges for the vertices around the cut, without the lobes";
    case Refusal::no_region_vertex:
        return "the chain holds no vertex of the ring";
    case Refusal::chain_size:
        return "too few vertices to be judged by their arc";
    case Refusal::arc:
        return "the chain spans too little of the marker's circumference, in degrees";
    case Refusal::long_walk:
        return "no walk is long enough for the final say";
    }
    return "";
}

namespace {

// What a refused figure would have had to be; null where there is none to name.
const char* relation(Refusal refusal) {
    switch (refusal) {
    case Refusal::too_short:
    case Refusal::too_small:
    case Refusal::too_short_split:
    case Refusal::too_small_split:
    case Refusal::walk_share:
    case Refusal::remainder_share:
    case Refusal::arc:
        return "at least";
    case Refusal::wrong_way:
    case Refusal::off_ring:
    case Refusal::chain_size:
    case Refusal::long_walk:
        return "more than";
    case Refusal::patience_spent:
        return "fewer than";
    case Refusal::none:
    case Refusal::dead_region:
    case Refusal::no_free_edge:
    case Refusal::walk_open:
    case Refusal::no_seed:
    case Refusal::other_end:
    case Refusal::no_region_vertex:
        return nullptr;
    }
    return nullptr;
}

} // namespace

std::string sentence(const Verdict& verdict) {
    const char* asked = relation(verdict.refusal);
    if (asked == nullptr) {
        return describe(verdict.refusal);
    }
    char figures[80];
    std::snprintf(figures, sizeof figures, ": %.3g, %s %.3g asked for", verdict.figure, asked,
                  verdict.limit);
    return std::string(describe(verdict.refusal)) + figures;
}

const WalkTrace* nearest(const BorderTrace& trace) {
    const WalkTrace* best = nullptr;
    for (const WalkTrace& walk : trace.walks) {
        // The enumerators stand in the order of the tests, the chain's behind the loop's.
        if (walk.verdict.accepted()) {
            return &walk;
        }
        if (best == nullptr || walk.verdict.refusal > best->verdict.refusal ||
            (walk.verdict.refusal == best->verdict.refusal && walk.edges > best->edges)) {
            best = &walk;
        }
    }
    return best;
}

} // namespace KVN::toolkit
