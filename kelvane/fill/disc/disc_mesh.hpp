// A triangulated disc with adjacency, in which edges can be flipped, split and collapsed.
//
// Half-edge h belongs to triangle h / 3 and runs from the corner h to the next corner of it. The
// border loop is fixed: points 0 to borderCount - 1 and the edges between consecutive ones never
// change. Operations refuse what would make the surface anything but a disc; shape is the caller's.
#pragma once

#include "kelvane/fill/geometry.hpp"

namespace Mesh_M::fill {

class DiscMesh {
  public:
    static constexpr int none = -1;

    /// Takes over a patch; false if it is not a disc over its border loop.
    bool assign(const Patch& patch);

    /// The patch without the records that collapses left behind, in ascending order.
    Patch extract() const;

    int borderCount() const { return border; }
    int point_count() const { return static_cast<int>(points.size()); }
    int half_edge_count() const { return static_cast<int>(origins.size()); }

    bool is_border(int point) const { return point < border; }
    bool is_alive(int point) const { return outgoings[point] != none; }
    /// False for the half-edges of a triangle that was removed.
    bool is_used(int h) const { return origins[h] != none; }
    /// Whether both ends are border points and the edge is no border edge.
    bool is_chord(int h) const {
        return twins[h] != none && is_border(origins[h]) && is_border(target(h));
    }

    static int next(int h) { return h % 3 == 2 ? h - 2 : h + 1; }
    static int previous(int h) { return h % 3 == 0 ? h + 2 : h - 1; }
    int origin(int h) const { return origins[h]; }
    int target(int h) const { return origins[next(h)]; }
    int apex(int h) const { return origins[previous(h)]; }
    /// The half-edge on the other side; none on the border.
    int twin(int h) const { return twins[h]; }
    /// A half-edge from the point; of a border point, the one along the border.
    int outgoing(int point) const { return outgoings[point]; }
    /// The half-edge that follows h around its origin, counter-clockwise; none after the last of a
    /// border point. An inner point comes round to where it began.
    int rotate(int h) const { return twins[previous(h)]; }

    int degree(int point) const;
    bool are_joined(int a, int b) const;

    /// Calls visit(h) for every half-edge from the point, each standing for one triangle there.
    template <typename Visit>
    void for_each_triangle(int point, Visit visit) const {
        const int first = outgoings[point];
        int h = first;
        do {
            visit(h);
            h = rotate(h);
        } while (h != none && h != first);
    }

    /// Calls visit(q) for every point q joined to the point.
    template <typename Visit>
    void for_each_neighbour(int point, Visit visit) const {
        const int first = outgoings[point];
        int h = first;
        for (;;) {
            visit(target(h));
            const int following = rotate(h);
            if (following == none) {
                visit(apex(h));
                return;
            }
            if (following == first) {
                return;
            }
            h = following;
        }
    }

    /// Replaces the inner edge h by the other diagonal of its two triangles. Refuses a border edge
    /// and a diagonal whose ends are joined already. Keeps h and its twin as the diagonal's
    /// half-edges.
    bool flip(int h);

    /// Puts a new point on the inner edge h and returns its index; none on a border edge. The new
    /// edges are those from the new point.
    int split(int h, const Point& position, double size);

    /// Pulls the inner origin of h onto its target. Refuses what would not leave a disc.
    bool collapse(int h);

    std::vector<Point> points;
    std::vector<double> sizes; ///< wished edge length at each point

  private:
    void join(int h, int other);
    /// Makes h the half-edge that its origin is entered by, if it may be.
    void claim(int h);
    void set_triangle(int h, const Triangle& corners, int out_bc, int out_ca);
    bool may_collapse(int h) const;
    void sort_by_origin(std::vector<int>& places, std::vector<int>& sorted) const;
    bool pair_half_edges();
    bool has_single_fans() const;
    bool is_connected() const;

    int border = 0;
    std::vector<int> origins;
    std::vector<int> twins;
    std::vector<int> outgoings;
};

} // namespace Mesh_M::fill
