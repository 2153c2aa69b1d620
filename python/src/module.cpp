// The module kelvane._kelvane: the toolkit as the package around it calls it. Arguments are checked
// and documented there.
#include "array_repair.hpp"
#include "conversions.hpp"
#include "repair_run.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/block_cut.hpp"
#include "kelvane/toolkit/measure/marker_deviation.hpp"
#include "kelvane/toolkit/report/report_json.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/synthesis/demo_folder.hpp"
#include "kelvane/toolkit/synthesis/unlisted_markers.hpp"

#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <tuple>

namespace kelvane_python {

using namespace KVN::toolkit;
using Unlocked = py::call_guard<py::gil_scoped_release>;

namespace {

RepairRun repair(const std::string& file, const FloatRows& markers, const std::string& output,
                 const py::dict& options, const py::object& progress) {
    std::unique_ptr<OpenScan> scan;
    {
        const py::gil_scoped_release unlocked;
        check_scan_output(output);
        scan = open_scan(file);
    }
    return run_repair(FileSurface(*scan), markers_from(markers), options, progress,
                      [&](const Splice& splice, RepairReport& report) {
                          report.not_kept = write_spliced(*scan, splice, output);
                      });
}

/// Rows of the markers, and of residual, edges and confidence.
py::tuple find(const std::string& file, bool holes, const py::dict& values) {
    const FindOptions options = find_options_from(values);
    std::vector<FoundMarker> found;
    {
        const py::gil_scoped_release unlocked;
        const Scan scan = read_scan(file);
        found = holes ? find_holes(scan, options) : find_colour(scan, options);
    }
    std::vector<double> figures;
    for (const FoundMarker& f : found) {
        figures.insert(figures.end(), {f.residual, static_cast<double>(f.edges), f.confidence});
    }
    return py::make_tuple(rows_of(markers_of(found)), array_of(std::move(figures), 3));
}

/// The report, and what the output's format could not hold.
std::tuple<std::string, std::vector<std::string>>
cut(const std::string& file, const FloatRows& blocks, const std::string& output) {
    const std::vector<Block> spheres = blocks_from(blocks);
    const py::gil_scoped_release unlocked;
    check_scan_output(output);
    const CutReport report = cut_file(*open_scan(file), spheres, output);
    return {to_json(report), report.not_kept};
}

std::string info(const std::string& file) {
    return to_json(scan_info(read_scan(file)));
}

std::string compare(const std::string& file, const std::string& truth, const FloatRows& markers,
                    std::optional<double> marker_size) {
    const std::vector<KVN::Marker> places = markers_from(markers);
    const py::gil_scoped_release unlocked;
    return to_json(marker_deviations(read_scan(file), read_scan(truth), places, marker_size));
}

void demo(const std::string& folder, std::uint64_t seed, bool ragged_rim, bool bodies) {
    DemoOptions options;
    options.seed = seed;
    options.ragged_rim = ragged_rim;
    const SyntheticScan scan = make_demo_scan(options);
    write_demo(folder, bodies ? with_other_markers(scan, seed) : scan);
}

FloatRows block_rows(const std::string& file) {
    std::vector<float> values;
    for (const Block& block : read_blocks(file)) {
        values.insert(values.end(), {block.x, block.y, block.z, block.radius});
    }
    return array_of(std::move(values), 4);
}

void bind_errors(py::module_& module) {
    py::register_exception<InputError>(module, "InputError", PyExc_ValueError);
    py::register_exception_translator([](std::exception_ptr error) {
        try {
            std::rethrow_exception(error);
        } catch (const SystemError& refused) {
            PyErr_SetString(PyExc_OSError, refused.what());
        }
    });
}

} // namespace

PYBIND11_MODULE(_kelvane, module) {
    bind_errors(module);
    bind_repair_run(module);
    module.attr("__version__") = KELVANE_VERSION;
    module.def("methods", [] {
        std::vector<std::pair<std::string, std::string>> names;
        for (const MethodInfo& info : methods()) {
            names.emplace_back(info.name, info.help);
        }
        return names;
    });
    module.def("repair", &repair);
    module.def("repair_arrays", &repair_arrays);
    module.def("find", &find);
    module.def("cut", &cut);
    module.def("info", &info, Unlocked());
    module.def("compare", &compare);
    module.def("demo", &demo, Unlocked());
    module.def("read_markers", [](const std::string& file) { return rows_of(read_markers(file)); });
    module.def("write_markers", [](const std::string& file, const FloatRows& rows) {
        write_markers(file, markers_from(rows));
    });
    module.def("read_blocks", &block_rows);
}

} // namespace kelvane_python
