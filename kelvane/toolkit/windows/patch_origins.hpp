// Where the properties of a patch come from.
#pragma once

#include "kelvane/names.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// The border of one patch, as a polygon in its own plane.
class PatchOrigins {
  public:
    /// A border of many vertices is thinned out evenly.
    explicit PatchOrigins(const std::vector<_vert*>& border);

    struct Origin {
        const _vert* vertex;
        double weight;
    };
    /// Mean value coordinates of the point over the border: not negative, sum 1.
    std::vector<Origin> of_vertex(const MemS::Point3v<float>& point) const;

    /// Of the faces along the border that `may_serve` accepts, the one whose centre is nearest to
    /// the centre of `face`; null if there is none. `first_new` and later faces are the patch's.
    const _face* of_face(const _face& face) const;
    /// Lists the faces for of_face(): those at edges of the border for which `stays(face)` is true.
    template <class Stays>
    void list_faces(const Stays& stays) {
        for (const _vert* v : corners_) {
            for (int i = 0; i < v->faceCount; ++i) {
                if (stays(v->faces[i])) {
                    faces_.push_back(v->faces[i]);
                    break;
                }
            }
        }
    }

  private:
    void project(const MemS::Point3v<float>& point, double* uv) const;

    std::vector<const _vert*> corners_;
    std::vector<double> plane_; ///< u, v per corner
    double axis_u_[3];
    double axis_v_[3];
    std::vector<const _face*> faces_;
};

} // namespace KVN::toolkit
