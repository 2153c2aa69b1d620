// A finished repair, with what its report shows.
#pragma once

#include "kelvane/toolkit/job/marker_repair.hpp"
#include "kelvane/toolkit/page/repair_page.hpp"
#include "kelvane/toolkit/scan/splice.hpp"
#include "kelvane/toolkit/windows/surface.hpp"

#include <pybind11/pybind11.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace kelvane_python {

namespace py = pybind11;

/// One marker's patch with the vertices that its faces name, new ones and those of its border.
struct Patch {
    std::vector<float> points;       ///< x, y, z per vertex
    std::vector<std::int32_t> faces; ///< three vertices of the patch each
};

/// What a repair was asked for and what it tells.
struct RepairRun {
    std::vector<KVN::Marker> markers;
    KVN::toolkit::RepairOptions options;
    KVN::toolkit::RepairReport report;
    std::vector<Patch> patches; ///< one per marker; empty where it has none of its own
    KVN::toolkit::RepairPage page;
};

/// Repairs `surface`; see repair_surface(), and repair_options_from() for `options`. Called with
/// the interpreter's lock held, which is let go for the run, also while `output` is called;
/// `progress` is a callable or None.
RepairRun run_repair(
    const KVN::toolkit::Surface& surface, std::vector<KVN::Marker> markers, const py::dict& options,
    const py::object& progress,
    const std::function<void(const KVN::toolkit::Splice&, KVN::toolkit::RepairReport&)>& output);

/// Names the class for Python.
void bind_repair_run(py::module_& module);

} // namespace kelvane_python
