#include "kelvane/toolkit/job/patch_mending.hpp"

#include "kelvane/toolkit/job/patch_blame.hpp"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace KVN::toolkit {

namespace {

using Eigen::Vector3d;
using Mesh_M::MyFace;
using Mesh_M::MyPoint3;
using Faces = std::vector<MyFace>;

/// Rounds per patch, each of which lessens the faults. Most patches need one or two.
constexpr int most_rounds = 64;
/// Changes in a row that only together lessen the faults, as where an ear that was cut across a
/// reflex corner of the border has to be turned and its inner corner drawn in. The work grows
/// tenfold with each.
constexpr int longest_run = 3;
/// A patch with more faulty faces than this is no patch with slivers but a wreck.
constexpr std::size_t most_faults = 24;

bool lists_belong_together(std::size_t points, const Faces& faces, std::size_t normals,
                           const std::vector<int>& border_indices) {
    const auto valid = [points](int i) { return i >= 0 && static_cast<std::size_t>(i) < points; };
    return normals == faces.size() &&
           std::all_of(border_indices.begin(), border_indices.end(), valid) &&
           std::all_of(faces.begin(), faces.end(),
                       [&](const MyFace& f) { return std::all_of(f.t_idx, f.t_idx + 3, valid); });
}

/// What the mesh will hold of a place.
Vector3d narrowed(const Vector3d& place) {
    return place.cast<float>().cast<double>();
}

PatchShape read_shape(const std::vector<MyPoint3>& points, const Faces& faces,
                      const std::vector<int>& border_indices) {
    PatchShape result;
    result.faces = faces;
    for (const MyPoint3& p : points) {
        result.positions.push_back(narrowed(Vector3d(p.p)));
    }
    result.on_border.assign(points.size(), 0);
    for (const int i : border_indices) {
        result.on_border[static_cast<std::size_t>(i)] = 1;
    }
    return result;
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
/// be or would make an edge between two border points that does not replace another such one.
bool flip(PatchShape& shape, int a, int b) {
    Faces& faces = shape.faces;
    const InnerEdge e(faces, a, b);
    if (!e.exists() || e.c == e.d || joined(faces, e.c, e.d)) {
        return false;
    }
    if (shape.border(e.c) && shape.border(e.d) && !(shape.border(a) && shape.border(b))) {
        return false;
    }
    faces[static_cast<std::size_t>(e.left)] = MyFace{{e.a, e.d, e.c}};
    faces[static_cast<std::size_t>(e.right)] = MyFace{{e.d, e.b, e.c}};
    return true;
}

/// Pulls the inner point `a` onto `b`. False, with nothing changed, where that would pinch the disc
/// (the link condition of Dey, Edelsbrunner, Guha and Nekhayev) or join two border points.
bool collapse(PatchShape& shape, int a, int b) {
    Faces& faces = shape.faces;
    const InnerEdge e(faces, a, b);
    if (!e.exists() || shape.border(a)) {
        return false;
    }
    for (const int w : neighbours(faces, a)) {
        const bool opposite = w == e.c || w == e.d;
        if (w != b && !opposite && (joined(faces, w, b) || (shape.border(w) && shape.border(b)))) {
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

/// Puts the inner point `a` between its neighbours. False, with nothing changed, for a border
/// point.
bool centre(PatchShape& shape, int a) {
    if (shape.border(a)) {
        return false;
    }
    Vector3d sum = Vector3d::Zero();
    const std::vector<int> around = neighbours(shape.faces, a);
    for (const int w : around) {
        sum += shape.at(w);
    }
    shape.positions[static_cast<std::size_t>(a)] =
        narrowed(sum / static_cast<double>(around.size()));
    return true;
}

/// Every shape that one flip, collapse or centring at a face makes.
std::vector<PatchShape> changes_at(const PatchShape& shape, int face) {
    std::vector<PatchShape> made;
    PatchShape tried = shape;
    const auto keep = [&](bool changed) {
        if (changed) {
            made.push_back(std::move(tried));
            tried = shape;
        }
    };
    const int* t = shape.faces[static_cast<std::size_t>(face)].t_idx;
    for (int k = 0; k < 3; ++k) {
        const int a = t[k];
        const int b = t[(k + 1) % 3];
        keep(flip(tried, a, b));
        keep(collapse(tried, a, b));
        keep(collapse(tried, b, a));
        keep(centre(tried, a));
    }
    return made;
}

/// Looks for the best of all runs of at most `depth` changes, each at a face that is faulty when it
/// is its turn, and takes it if it lessens the blame of `best`.
bool improve(const PatchShape& from, const PatchBlame& faults, int depth, PatchShape& best,
             PatchBlame& least) {
    bool better = false;
    for (const int face : faults.faces) {
        for (PatchShape& changed : changes_at(from, face)) {
            PatchBlame then = judge_patch(changed);
            if (then.faces.size() > faults.faces.size() + 1) {
                continue;
            }
            if (depth > 1 && !then.faces.empty()) {
                better |= improve(changed, then, depth - 1, best, least);
            }
            if (then < least) {
                least = std::move(then);
                best = std::move(changed);
                better = true;
            }
        }
    }
    return better;
}

/// One round: the shortest run of changes that lessens the faults.
bool mend_some(PatchShape& shape, PatchBlame& faults) {
    const PatchShape from = shape;
    const PatchBlame before = faults;
    for (int depth = 1; depth <= longest_run; ++depth) {
        if (improve(from, before, depth, shape, faults)) {
            return true;
        }
    }
    return false;
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
    PatchShape shape = read_shape(points, faces, border_indices);
    const std::vector<Vector3d> given = shape.positions;
    PatchBlame faults = judge_patch(shape);
    if (faults.faces.empty()) {
        return PatchMending::sound;
    }
    for (int round = 0; round < most_rounds && !faults.faces.empty(); ++round) {
        if (faults.faces.size() > most_faults || !mend_some(shape, faults)) {
            break;
        }
    }
    if (!faults.faces.empty()) {
        return PatchMending::refused;
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (shape.positions[i] != given[i]) {
            std::copy_n(shape.positions[i].data(), 3, points[i].p);
        }
    }
    faces = std::move(shape.faces);
    normals.clear();
    for (const MyFace& f : faces) {
        const Vector3d n = shape.area_vector(f).normalized();
        normals.push_back({{n.x(), n.y(), n.z()}});
    }
    drop_unused(points, faces, border_indices);
    return PatchMending::mended;
}

} // namespace KVN::toolkit
