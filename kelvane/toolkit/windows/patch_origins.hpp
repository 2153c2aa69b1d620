// Where the properties of a patch come from.
#pragma once

#include "kelvane/names.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// The border of one patch, as a polygon in its own plane.
class PatchOrigins {
  public:
    /// The last `rim_vertices` of the border are new themselves: each grows from the two ends of
    /// their stretch by its length. A border of many vertices is thinned out evenly.
    PatchOrigins(const std::vector<_vert*>& border, int rim_vertices);

    struct Origin {
        const _vert* vertex;
        double weight;
    };
    /// Mean value coordinates of the point over the border, those of new border vertices handed on
    /// to the ends of their stretch: not negative, sum 1.
    std::vector<Origin> of_vertex(const MemS::Point3v<float>& point) const;

    /// The ends of the stretch, for its new border vertex `k`.
    std::vector<Origin> of_rim_vertex(int k) const;

    /// Of the faces along the border that `may_serve` accepts, the one whose centre is nearest to
    /// the centre of `face`; null if there is none. `first_new` and later faces are the patch's.
    const _face* of_face(const _face& face) const;
    /// Lists the faces for of_face(): those at edges of the border for which `stays(face)` is true.
    template <class Stays>
    void list_faces(const Stays& stays) {
        for (const _vert* v : corners_) {
            for (int i = 0; i < v->faceCount; ++i) {
                if (stays(v->faces[i])) {
                    add_face(*v->faces[i]);
                    break;
                }
            }
        }
    }

  private:
    struct Candidate {
        const _face* face;
        std::array<double, 3> centre;
    };

    void project(const MemS::Point3v<float>& point, double* uv) const;
    void add_face(const _face& face);

    std::vector<Origin> old_only(const std::vector<double>& weights, double sum) const;

    std::vector<const _vert*> corners_;
    std::vector<int> rim_place_; ///< per corner, its place among the new ones, or -1
    const _vert* ends_[2];       ///< of the stretch of new vertices
    std::vector<double> along_;  ///< per new border vertex, the share of the stretch behind it
    std::vector<double> plane_;  ///< u, v per corner
    double axis_u_[3];
    double axis_v_[3];
    std::vector<Candidate> faces_;
};

} // namespace KVN::toolkit
