#include "repair_run.hpp"

#include "conversions.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/repair_plan.hpp"
#include "kelvane/toolkit/report/report_json.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace kelvane_python {

using namespace KVN::toolkit;

namespace {

Patch patch_of(const MarkerReport& marker, const Surface& surface, const Splice& splice) {
    Patch patch;
    if (marker.first_new_face < 0) {
        return patch;
    }
    std::map<std::uint64_t, std::int32_t> places; // a vertex of the repaired scan -> the patch's
    for (int f = 0; f < marker.new_faces; ++f) {
        for (const std::uint64_t corner :
             splice.faces[static_cast<std::size_t>(marker.first_new_face + f)]) {
            const auto [known, is_new] =
                places.emplace(corner, static_cast<std::int32_t>(patch.points.size() / 3));
            if (is_new) {
                patch.points.resize(patch.points.size() + 3);
                float* const place = &*patch.points.end() - 3;
                if (corner < surface.vertex_count()) {
                    surface.positions_into(corner, 1, place);
                } else {
                    const std::uint64_t at = 3 * (corner - surface.vertex_count());
                    std::copy_n(splice.positions.begin() + static_cast<std::ptrdiff_t>(at), 3,
                                place);
                }
            }
            patch.faces.push_back(known->second);
        }
    }
    return patch;
}

void write_run_page(const RepairRun& run, const std::string& file, const std::string& title) {
    if (run.page.most_views == 0) {
        throw InputError("the run has kept nothing for a page: page_markers was 0");
    }
    write_page(file, run.page, run.report, run.markers, title);
}

py::tuple patch_arrays(const RepairRun& run, std::size_t marker) {
    Patch patch = run.patches.at(marker);
    return py::make_tuple(array_of(std::move(patch.points), 3),
                          array_of(std::move(patch.faces), 3));
}

} // namespace

RepairRun run_repair(const Surface& surface, std::vector<KVN::Marker> markers,
                     const py::dict& options, const py::object& progress,
                     const std::function<void(const Splice&, RepairReport&)>& output) {
    RepairRun run;
    run.markers = std::move(markers);
    run.options = repair_options_from(options);
    run.page.most_views = page_markers_from(options);
    run.options.page = run.page.most_views > 0 ? &run.page : nullptr;
    Progress listener(listener_for(progress));
    const py::gil_scoped_release unlocked;
    run.report = repair_surface(surface, run.markers, run.options, &listener,
                                [&](const Splice& splice, RepairReport& report) {
                                    for (const MarkerReport& marker : report.markers) {
                                        run.patches.push_back(patch_of(marker, surface, splice));
                                    }
                                    output(splice, report);
                                });
    run.options.page = nullptr; // which is about to move
    return run;
}

void bind_repair_run(py::module_& module) {
    py::class_<RepairRun>(module, "Run")
        .def("json",
             [](const RepairRun& run) { return to_json(run.report, run.markers, run.options); })
        .def("markers", [](const RepairRun& run) { return rows_of(run.markers); })
        .def("words",
             [](const RepairRun& run, std::size_t marker) {
                 return describe(run.report.markers.at(marker).outcome);
             })
        .def("patch", &patch_arrays)
        .def("write_page", &write_run_page, py::call_guard<py::gil_scoped_release>());
}

} // namespace kelvane_python
