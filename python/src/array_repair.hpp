// Repairs of scans that are numpy arrays.
#pragma once

#include "conversions.hpp"

namespace kelvane_python {

/// Repairs rows of `vertices` (float32 or float64) and of `faces` (int32 or int64); `attributes`
/// are arrays with a row per vertex, and `normals` tells which of them are normals. All arrays are
/// C-contiguous, in the machine's byte order, and stay as they are.
///
/// Returns vertices, faces, attributes and the run. Rows that stay keep their bits and their order
/// and come first. Positions are narrowed to float for the work, and those of new vertices are
/// widened.
py::tuple repair_arrays(const py::array& vertices, const py::array& faces, const FloatRows& markers,
                        const std::vector<py::array>& attributes, const std::vector<bool>& normals,
                        const py::dict& options, const py::object& progress);

} // namespace kelvane_python
