#include "array_repair.hpp"

#include "repair_run.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/ply_numbers.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"

#include <algorithm>
#include <limits>
#include <string>

namespace kelvane_python {

using namespace KVN::toolkit;

namespace {

/// Arrays as the toolkit reads a scan; they must outlive the object.
template <class Real, class Index>
class ArraySurface : public Surface {
  public:
    ArraySurface(const py::array& vertices, const py::array& faces, bool has_attributes)
        : positions_(static_cast<const Real*>(vertices.data())),
          corners_(static_cast<const Index*>(faces.data())),
          vertex_count_(static_cast<std::uint64_t>(vertices.shape(0))),
          face_count_(static_cast<std::uint64_t>(faces.shape(0))), has_attributes_(has_attributes) {
        if (std::max(vertex_count_, face_count_) > std::numeric_limits<std::int32_t>::max()) {
            throw InputError("more vertices or faces than a scan can have");
        }
    }

    const Real* positions() const { return positions_; }
    const Index* corners() const { return corners_; }

    std::uint64_t vertex_count() const override { return vertex_count_; }
    std::uint64_t face_count() const override { return face_count_; }
    std::uint64_t short_faces() const override { return 0; }
    bool has_properties() const override { return has_attributes_; }
    void positions_into(std::uint64_t first, std::uint64_t count, float* positions) const override {
        std::transform(positions_ + 3 * first, positions_ + 3 * (first + count), positions,
                       [](Real value) { return static_cast<float>(value); });
    }
    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& corners,
                      std::vector<std::uint64_t>& records) const override {
        records.clear();
        corners.resize(3 * count);
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Index corner = corners_[3 * first + i];
            if (corner < 0 || static_cast<std::uint64_t>(corner) >= vertex_count_) {
                throw InputError("face " + std::to_string(first + i / 3) +
                                 " names a vertex that does not exist: " + std::to_string(corner));
            }
            corners[i] = static_cast<std::int32_t>(corner);
        }
    }

  private:
    const Real* positions_;
    const Index* corners_;
    std::uint64_t vertex_count_;
    std::uint64_t face_count_;
    bool has_attributes_;
};

/// The rows of `width` values that `gone`, which ascends, does not name, with room for `more`.
template <class T, class Gone>
std::vector<T> kept_rows(const T* rows, std::size_t width, std::size_t count,
                         const std::vector<Gone>& gone, std::size_t more) {
    std::vector<T> kept;
    kept.reserve((count - gone.size() + more) * width);
    std::size_t begin = 0;
    for (const Gone row : gone) {
        kept.insert(kept.end(), rows + begin * width, rows + row * width);
        begin = row + 1;
    }
    kept.insert(kept.end(), rows + begin * width, rows + count * width);
    return kept;
}

template <class Real, class Index>
std::vector<Real> spliced_vertices(const ArraySurface<Real, Index>& surface, const Splice& splice) {
    std::vector<Real> vertices = kept_rows(surface.positions(), 3, surface.vertex_count(),
                                           splice.vertices_gone, splice.new_vertex_count());
    vertices.insert(vertices.end(), splice.positions.begin(), splice.positions.end());
    return vertices;
}

template <class Real, class Index>
std::vector<Index> spliced_faces(const ArraySurface<Real, Index>& surface, const Splice& splice) {
    std::vector<Index> faces = kept_rows(surface.corners(), 3, surface.face_count(),
                                         splice.faces_gone, splice.faces.size());
    for (const auto& face : splice.faces) {
        faces.insert(faces.end(), face.begin(), face.end());
    }
    const Renumbering renumbering(surface.vertex_count(), splice.vertices_gone);
    for (Index& corner : faces) {
        corner = static_cast<Index>(renumbering(static_cast<std::uint64_t>(corner)));
    }
    return faces;
}

/// An attribute: rows that stay, then mixed ones, or the normals of the new vertices.
template <class T>
std::vector<T> spliced_rows(const T* rows, std::size_t width, std::size_t count, bool normals,
                            const Splice& splice) {
    std::vector<T> result =
        kept_rows(rows, width, count, splice.vertices_gone, splice.new_vertex_count());
    for (std::size_t k = 0; k < splice.new_vertex_count(); ++k) {
        const std::size_t begin = result.size();
        for (std::size_t column = 0; column < width; ++column) {
            result.push_back(rounded<T>(mixed(splice, k, [&](std::uint32_t vertex) {
                return static_cast<double>(rows[vertex * width + column]);
            })));
        }
        if (normals) {
            const T* n = &result[begin];
            const std::array<double, 3> normal = normal_of(
                splice, k,
                {static_cast<double>(n[0]), static_cast<double>(n[1]), static_cast<double>(n[2])});
            std::transform(normal.begin(), normal.end(),
                           result.begin() + static_cast<std::ptrdiff_t>(begin), rounded<T>);
        }
    }
    return result;
}

template <class T>
bool holds(const py::array& array) {
    return py::isinstance<py::array_t<T>>(array);
}

template <class T, class... Others>
py::array spliced_attribute(const py::array& rows, bool normals, const Splice& splice) {
    if (holds<T>(rows)) {
        const std::size_t width = rows.ndim() == 2 ? static_cast<std::size_t>(rows.shape(1)) : 1;
        std::vector<T> values;
        {
            const py::gil_scoped_release unlocked;
            values = spliced_rows(static_cast<const T*>(rows.data()), width,
                                  static_cast<std::size_t>(rows.shape(0)), normals, splice);
        }
        return array_of(std::move(values), rows.ndim() == 2 ? width : 0);
    }
    if constexpr (sizeof...(Others) > 0) {
        return spliced_attribute<Others...>(rows, normals, splice);
    } else {
        throw InputError("an attribute's numbers are of a type that is not known here");
    }
}

template <class Real, class Index>
py::tuple repair_typed(const ArraySurface<Real, Index>& surface, const FloatRows& markers,
                       const std::vector<py::array>& attributes, const std::vector<bool>& normals,
                       const py::dict& options, const py::object& progress) {
    Splice splice;
    std::vector<Real> vertices;
    std::vector<Index> faces;
    RepairRun run = run_repair(surface, markers_from(markers), options, progress,
                               [&](const Splice& made, RepairReport&) {
                                   splice = made;
                                   vertices = spliced_vertices(surface, splice);
                                   faces = spliced_faces(surface, splice);
                               });
    py::list columns;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        columns.append(
            spliced_attribute<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                              std::uint32_t, std::int64_t, std::uint64_t, float, double>(
                attributes[i], normals[i], splice));
    }
    return py::make_tuple(array_of(std::move(vertices), 3), array_of(std::move(faces), 3), columns,
                          std::move(run));
}

} // namespace

py::tuple repair_arrays(const py::array& vertices, const py::array& faces, const FloatRows& markers,
                        const std::vector<py::array>& attributes, const std::vector<bool>& normals,
                        const py::dict& options, const py::object& progress) {
    const auto repair = [&](auto real, auto index) {
        using Arrays = ArraySurface<decltype(real), decltype(index)>;
        return repair_typed(Arrays(vertices, faces, !attributes.empty()), markers, attributes,
                            normals, options, progress);
    };
    if (holds<float>(vertices)) {
        return holds<std::int32_t>(faces) ? repair(float{}, std::int32_t{})
                                          : repair(float{}, std::int64_t{});
    }
    return holds<std::int32_t>(faces) ? repair(double{}, std::int32_t{})
                                      : repair(double{}, std::int64_t{});
}

} // namespace kelvane_python
