#include "kelvane/toolkit/job/patch_mending.hpp"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace KVN::toolkit {

namespace {

using Eigen::Vector3d;
using Mesh_M::MyFace;
using Mesh_M::MyPoint3;
using Faces = std::vector<MyFace>;

/// Beyond this a normal says little. The one long closing edge of a rim makes aspects of some
/// dozens, which must pass; from 1000 on a face counts as degenerate.
constexpr double worst_aspect = 300.0;
/// Cosine of the most by which a normal may turn from the mean around it, 85 degrees: a little less
/// than what counts as flipped, since that mean is not the surface itself.
constexpr double least_cosine = 0.0872;
/// Of one face in the sum of a patch, so that one without area does not hide the others.
constexpr double worst_badness = 1e9;
/// Steps per patch, each of which lessens the faults. Most patches have one or two.
constexpr int most_steps = 64;

/// What does not change while the faces do.
struct PatchPoints {
    std::vector<Vector3d> positions; ///< narrowed to what the mesh holds
    std::vector<char> on_border;

    const Vector3d& at(int i) const { return positions[static_cast<std::size_t>(i)]; }
    bool border(int i) const { return on_border[static_cast<std::size_t>(i)] != 0; }
};

/// What is wrong with a patch.
struct Blame {
    double badness = 0.0;
    std::vector<int> faces; ///< those with a fault

    bool operator<(const Blame& other) const {
        return faces.size() != other.faces.size() ? faces.size() < other.faces.size()
                                                  : badness < other.badness;
    }
};

bool lists_belong_together(std::size_t points, const Faces& faces, std::size_t normals,
                           const std::vector<int>& border_indices) {
    const auto valid = [points](int i) { return i >= 0 && static_cast<std::size_t>(i) < points; };
    return normals == faces.size() &&
           std::all_of(border_indices.begin(), border_indices.end(), valid) &&
           std::all_of(faces.begin(), faces.end(),
                       [&](const MyFace& f) { return std::all_of(f.t_idx, f.t_idx + 3, valid); });
}

PatchPoints read_points(const std::vector<MyPoint3>& points,
                        const std::vector<int>& border_indices) {
    PatchPoints result;
    for (const MyPoint3& p : points) {
        result.positions.push_back(
            Eigen::Vector3f(float(p.p[0]), float(p.p[1]), float(p.p[2])).cast<double>());
    }
    result.on_border.assign(points.size(), 0);
    for (const int i : border_indices) {
        result.on_border[static_cast<std::size_t>(i)] = 1;
    }
    return result;
}

/// Twice the area long.
Vector3d area_vector(const PatchPoints& points, const MyFace& f) {
    const Vector3d& corner = points.at(f.t_idx[0]);
    return (points.at(f.t_idx[1]) - corner).cross(points.at(f.t_idx[2]) - corner);
}

double aspect_of(const PatchPoints& points, const MyFace& f) {
    double longest = 0.0;
    for (int k = 0; k < 3; ++k) {
        const Vector3d side = points.at(f.t_idx[(k + 1) % 3]) - points.at(f.t_idx[k]);
        longest = std::max(longest, side.squaredNorm());
    }
    const double area = area_vector(points, f).norm();
    return area > 0.0 ? std::sqrt(0.75) * longest / area : std::numeric_limits<double>::infinity();
}

Blame judge(const PatchPoints& points, const Faces& faces) {
    std::vector<Vector3d> around(points.positions.size(), Vector3d::Zero());
    for (const MyFace& f : faces) {
        for (const int i : f.t_idx) {
            around[static_cast<std::size_t>(i)] += area_vector(points, f);
        }
    }
    Blame blame;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        const double aspect = aspect_of(points, faces[i]);
        const Vector3d own = area_vector(points, faces[i]);
        Vector3d mean = -3.0 * own; // the sums at its corners hold the face itself three times
        for (const int corner : faces[i].t_idx) {
            mean += around[static_cast<std::size_t>(corner)];
        }
        const bool turned = own.dot(mean) < least_cosine * own.norm() * mean.norm();
        if (turned || !(aspect <= worst_aspect)) {
            blame.badness += std::min(aspect, worst_badness) + (turned ? worst_aspect : 0.0);
            blame.faces.push_back(static_cast<int>(i));
        }
    }
    return blame;
}

int slot_of(const MyFace& f, int point) {
    return static_cast<int>(std::find(f.t_idx, f.t_idx + 3, point) - f.t_idx);
}

/// The face that runs from `a` to `b`, or -1.
int face_along(const Faces& faces, int a, int b) {
    const auto found = std::find_if(faces.begin(), faces.end(), [&](const MyFace& f) {
        const int slot = slot_of(f, a);
        return slot < 3 && f.t_idx[(slot + 1) % 3] == b;
    });
    return found == faces.end() ? -1 : static_cast<int>(found - faces.begin());
}

bool joined(const Faces& faces, int a, int b) {
    return face_along(faces, a, b) >= 0 || face_along(faces, b, a) >= 0;
}

/// The points that share a face with `v`, each once.
std::vector<int> neighbours(const Faces& faces, int v) {
    std::vector<int> found;
    for (const MyFace& f : faces) {
        if (slot_of(f, v) < 3) {
            found.insert(found.end(), f.t_idx, f.t_idx + 3);
        }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    found.erase(std::remove(found.begin(), found.end(), v), found.end());
    return found;
}

/// An inner edge with its two faces and the corners opposite to it.
struct InnerEdge {
    int a, b;
    int left = -1, right = -1; ///< faces; left runs from a to b
    int c = -1, d = -1;        ///< their third corners

    InnerEdge(const Faces& faces, int from, int to)
        : a(from), b(to), left(face_along(faces, a, b)), right(face_along(faces, b, a)) {
        if (exists()) {
            c = third(faces[static_cast<std::size_t>(left)], a);
            d = third(faces[static_cast<std::size_t>(right)], b);
        }
    }
    bool exists() const { return left >= 0 && right >= 0; }
    static int third(const MyFace& f, int first) { return f.t_idx[(slot_of(f, first) + 2) % 3]; }
};

/// Turns edge ab to the other diagonal of its faces. False, with nothing changed, where that cannot
/// be or would join two border points.
bool flip(const PatchPoints& points, Faces& faces, int a, int b) {
    const InnerEdge e(faces, a, b);
    if (!e.exists() || e.c == e.d || (points.border(e.c) && points.border(e.d)) ||
        joined(faces, e.c, e.d)) {
        return false;
    }
    faces[static_cast<std::size_t>(e.left)] = MyFace{{e.a, e.d, e.c}};
    faces[static_cast<std::size_t>(e.right)] = MyFace{{e.d, e.b, e.c}};
    return true;
}

/// Pulls the inner point `a` onto `b`. False, with nothing changed, where that would pinch the disc
/// (the link condition of Dey, Edelsbrunner, Guha and Nekhayev) or join two border points.
bool collapse(const PatchPoints& points, Faces& faces, int a, int b) {
    const InnerEdge e(faces, a, b);
    if (!e.exists() || points.border(a)) {
        return false;
    }
    for (const int w : neighbours(faces, a)) {
        const bool opposite = w == e.c || w == e.d;
        if (w != b && !opposite &&
            (joined(faces, w, b) || (points.border(w) && points.border(b)))) {
            return false;
        }
    }
    faces.erase(faces.begin() + std::max(e.left, e.right));
    faces.erase(faces.begin() + std::min(e.left, e.right));
    for (MyFace& f : faces) {
        std::replace(f.t_idx, f.t_idx + 3, a, b);
    }
    return true;
}

/// Takes the best single flip or collapse at a faulty face, if it lessens the blame.
bool improve(const PatchPoints& points, Faces& faces, Blame& blame) {
    const Faces before = faces;
    bool better = false;
    const auto consider = [&](Faces& tried) {
        Blame then = judge(points, tried);
        if (then < blame) {
            blame = std::move(then);
            faces = std::move(tried);
            better = true;
        }
    };
    for (const int f : std::vector<int>(blame.faces)) {
        const int* t = before[static_cast<std::size_t>(f)].t_idx;
        for (int k = 0; k < 3; ++k) {
            const std::pair<int, int> ways[2] = {{t[k], t[(k + 1) % 3]}, {t[(k + 1) % 3], t[k]}};
            Faces tried = before;
            if (flip(points, tried, ways[0].first, ways[0].second)) {
                consider(tried);
            }
            for (const auto& [from, to] : ways) {
                tried = before;
                if (collapse(points, tried, from, to)) {
                    consider(tried);
                }
            }
        }
    }
    return better;
}

/// Drops the points that no face uses any more.
void drop_unused(std::vector<MyPoint3>& points, Faces& faces, std::vector<int>& border_indices) {
    std::vector<int> moved(points.size(), -1);
    for (const MyFace& f : faces) {
        for (const int i : f.t_idx) {
            moved[static_cast<std::size_t>(i)] = 0;
        }
    }
    for (const int i : border_indices) {
        moved[static_cast<std::size_t>(i)] = 0;
    }
    int kept = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (moved[i] == 0) {
            points[static_cast<std::size_t>(kept)] = points[i];
            moved[i] = kept++;
        }
    }
    points.resize(static_cast<std::size_t>(kept));
    for (MyFace& f : faces) {
        std::transform(f.t_idx, f.t_idx + 3, f.t_idx,
                       [&](int i) { return moved[static_cast<std::size_t>(i)]; });
    }
    for (int& i : border_indices) {
        i = moved[static_cast<std::size_t>(i)];
    }
}

} // namespace

PatchMending mend_patch(std::vector<MyPoint3>& points, Faces& faces, std::vector<MyPoint3>& normals,
                        std::vector<int>& border_indices) {
    if (!lists_belong_together(points.size(), faces, normals.size(), border_indices)) {
        return PatchMending::refused;
    }
    const PatchPoints shape = read_points(points, border_indices);
    Blame blame = judge(shape, faces);
    if (blame.faces.empty()) {
        return PatchMending::sound;
    }
    Faces mended = faces;
    for (int step = 0; step < most_steps && !blame.faces.empty(); ++step) {
        if (!improve(shape, mended, blame)) {
            return PatchMending::refused;
        }
    }
    if (!blame.faces.empty()) {
        return PatchMending::refused;
    }
    faces = std::move(mended);
    normals.clear();
    for (const MyFace& f : faces) {
        const Vector3d n = area_vector(shape, f).normalized();
        normals.push_back({{n.x(), n.y(), n.z()}});
    }
    drop_unused(points, faces, border_indices);
    return PatchMending::mended;
}

} // namespace KVN::toolkit
