// The places of a run at which a caller from outside may look and act.
//
// All are called on the thread that runs the repair, between its parallel stages. An exception
// thrown in one ends the run and reaches the caller; the mesh is then sound, with open cuts.
#pragma once

#include "kelvane/repair/run_notes.hpp"

#include <functional>
#include <utility>
#include <vector>

namespace KVN {

struct Marker;

/// The stages of a run, in order.
enum class RunStage { discovery, fill, insertion, fairing, normals, done };

/// After the cut: faces are gone, no boundary has been looked at. The regions may be rewritten (all
/// their vertices marked with flag bit 2) and further faces deleted.
struct CutPlace {
    Mesh& mesh;                                ///< as the stage left it
    const std::vector<Marker>& markers;        ///< as the caller gave them
    double margin;                             ///< added to every marker's radius
    std::vector<std::vector<_vert*>>& regions; ///< per marker, the vertices around its cut
    RunNotes& notes;                           ///< what has happened so far
};

/// After the search, before the fill: every hole has its border and a copy of its surroundings.
/// Border points may be added to `borders` and `points`, with `boundary_counts` and the corners of
/// `faces` brought up to date, and marked on_new_rim where there is no surface beyond them.
struct SearchPlace {
    Mesh& mesh;                                 ///< as the stage left it
    std::vector<std::vector<_vert*>>& borders;  ///< per hole, in walking order
    std::vector<std::vector<MyPoint3>>& points; ///< border, then surroundings
    std::vector<std::vector<MyFace>>& faces;    ///< surroundings, indexing `points`
    std::vector<int>& boundary_counts;          ///< per hole, the border's part of `points`
    RunNotes& notes;                            ///< what has happened so far
};

/// Before a patch is joined to the mesh: it may be changed or refused.
struct JoinPlace {
    const Mesh& mesh;                  ///< as the stage left it
    int hole;                          ///< its number
    const std::vector<_vert*>& border; ///< in walking order
    std::vector<MyPoint3>& points;     ///< of the patch
    std::vector<MyFace>& faces;        ///< of the patch, indexing `points`
    /// One per face; null where the closing leaves the normals to the insertion.
    std::vector<MyPoint3>* normals;
    /// The points that stand for border vertices, told by their coordinates; null where the first
    /// points are the border in its order.
    std::vector<int>* border_points;
    /// Per point, its place in `border`, or -1 for a new vertex. Empty where `border_points` names
    /// a point that does not exist.
    std::vector<int> border_places;
    HoleNote& note; ///< of this hole
};

/// After the last solve of the fairing, before its first vertex is moved.
struct FairPlace {
    const std::vector<_vert*>& border; ///< in walking order
    /// The patch's free vertices and where they are to go; empty where no solution was found.
    const std::vector<std::pair<_vert*, MemS::Point3v<float>>>& moves;
    const HoleNote& note; ///< of this hole
};

/// What is called at each place; an empty function is passed over.
struct RunPlaces {
    std::function<void(RunStage)> stage_begins;        ///< before every stage
    std::function<void(CutPlace&)> after_cut;          ///< once
    std::function<void(SearchPlace&)> after_search;    ///< once
    std::function<bool(JoinPlace&)> before_join;       ///< false: the hole stays open
    std::function<bool(const FairPlace&)> before_move; ///< false: the patch stays as it was filled
};

} // namespace KVN
