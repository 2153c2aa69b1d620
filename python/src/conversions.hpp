// Between Python's values and the toolkit's. All of it with the interpreter's lock held.
#pragma once

#include "kelvane/toolkit/find/marker_finding.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/job/marker_repair.hpp"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <utility>
#include <vector>

namespace kelvane_python {

namespace py = pybind11;
using FloatRows = py::array_t<float, py::array::c_style | py::array::forcecast>;

/// Rows of x, y, z, nx, ny, nz, radius. Throws InputError for what read_markers() refuses: another
/// shape, a value that is not finite, a normal of length 0, a radius that is not above 0.
std::vector<KVN::Marker> markers_from(const FloatRows& rows);
FloatRows rows_of(const std::vector<KVN::Marker>& markers);

/// Rows of x, y, z, radius.
std::vector<KVN::toolkit::Block> blocks_from(const FloatRows& rows);

/// A dictionary of the members of RepairOptions by their names; the method by its own. Throws
/// TypeError for a value that does not fit.
KVN::toolkit::RepairOptions repair_options_from(const py::dict& values);
/// Their "page_markers": how many markers a page is to show; all for None or without an entry.
std::size_t page_markers_from(const py::dict& values);
/// The same for FindOptions.
KVN::toolkit::FindOptions find_options_from(const py::dict& values);

/// A listener that looks for signals, so that Ctrl-C stops a run, and tells `progress`, a callable
/// or None, which must outlive it. What Python raises passes through the run. Takes the lock.
KVN::toolkit::Progress::Listener listener_for(const py::object& progress);

/// Rows of `width` values, or single values with `width` 0, without a copy.
template <class T>
py::array array_of(std::vector<T>&& values, std::size_t width) {
    auto kept = std::make_unique<std::vector<T>>(std::move(values));
    T* data = kept->data();
    std::vector<std::size_t> shape{kept->size() / std::max<std::size_t>(width, 1)};
    if (width > 0) {
        shape.push_back(width);
    }
    const py::capsule owner(kept.release(),
                            [](void* p) { delete static_cast<std::vector<T>*>(p); });
    return py::array_t<T>(shape, data, owner);
}

} // namespace kelvane_python
