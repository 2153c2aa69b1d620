#include "conversions.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace kelvane_python {

using namespace KVN::toolkit;

namespace {

constexpr std::size_t marker_width = 7;
constexpr std::size_t block_width = 4;

/// The values, row after row. All are finite and the last of each row, the radius, is above 0.
std::vector<float> checked(const FloatRows& rows, std::size_t width, const char* what) {
    if (rows.ndim() != 2 || rows.shape(1) != static_cast<py::ssize_t>(width)) {
        throw InputError(std::string(what) + "s must be rows of " + std::to_string(width) +
                         " numbers");
    }
    std::vector<float> values(rows.data(), rows.data() + rows.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool is_radius = i % width == width - 1;
        if (!std::isfinite(values[i]) || (is_radius && !(values[i] > 0))) {
            throw InputError(std::string(what) + " " + std::to_string(i / width + 1) +
                             (is_radius ? ": the radius must be a finite length above 0"
                                        : ": a value is not finite"));
        }
    }
    return values;
}

/// Takes the value of `name` into `member`, if there is one.
template <class T>
void take(const py::dict& values, const char* name, T& member) {
    if (values.contains(name)) {
        try {
            member = values[name].template cast<T>();
        } catch (const py::cast_error&) {
            throw py::type_error(std::string(name) + ": a value of another type is wanted");
        }
    }
}

Method method_called(const std::string& name) {
    std::string known;
    for (const MethodInfo& info : methods()) {
        if (name == info.name) {
            return info.method;
        }
        known += (known.empty() ? "" : ", ") + std::string(info.name);
    }
    throw InputError("no method is called '" + name + "'; there are " + known);
}

} // namespace

std::vector<KVN::Marker> markers_from(const FloatRows& rows) {
    const std::vector<float> values = checked(rows, marker_width, "marker");
    std::vector<KVN::Marker> markers;
    for (std::size_t i = 0; i < values.size(); i += marker_width) {
        const float* v = &values[i];
        if (v[3] == 0 && v[4] == 0 && v[5] == 0) {
            throw InputError("marker " + std::to_string(i / marker_width + 1) +
                             ": the normal has length 0");
        }
        markers.push_back({v[0], v[1], v[2], v[3], v[4], v[5], v[6]});
    }
    return markers;
}

FloatRows rows_of(const std::vector<KVN::Marker>& markers) {
    std::vector<float> values;
    for (const KVN::Marker& m : markers) {
        values.insert(values.end(), {m.x, m.y, m.z, m.nx, m.ny, m.nz, m.radius});
    }
    return array_of(std::move(values), marker_width);
}

std::vector<Block> blocks_from(const FloatRows& rows) {
    const std::vector<float> values = checked(rows, block_width, "block");
    std::vector<Block> blocks;
    for (std::size_t i = 0; i < values.size(); i += block_width) {
        blocks.push_back({values[i], values[i + 1], values[i + 2], values[i + 3]});
    }
    return blocks;
}

RepairOptions repair_options_from(const py::dict& values) {
    RepairOptions options;
    std::string method = to_string(options.method);
    take(values, "method", method);
    options.method = method_called(method);
    take(values, "marker_size", options.marker_size);
    take(values, "size_adjustable", options.size_adjustable);
    take(values, "resolution", options.resolution);
    take(values, "threads", options.threads);
    take(values, "flat_only", options.flat_only);
    take(values, "body_height", options.body_height);
    take(values, "leave_open", options.leave_open);
    take(values, "straight_rims", options.straight_rims);
    take(values, "whole_mesh", options.whole_mesh);
    return options;
}

std::size_t page_markers_from(const py::dict& values) {
    std::optional<std::size_t> most;
    take(values, "page_markers", most);
    return most.value_or(std::numeric_limits<std::size_t>::max());
}

FindOptions find_options_from(const py::dict& values) {
    FindOptions options;
    take(values, "radius", options.radius);
    take(values, "radius_min", options.radius_min);
    take(values, "radius_max", options.radius_max);
    take(values, "inner", options.inner);
    take(values, "dark_inside", options.dark_inside);
    return options;
}

Progress::Listener listener_for(const py::object& progress) {
    return [&progress](Stage stage, double done) {
        const py::gil_scoped_acquire lock;
        // A signal that comes when the output stands in its place is left to the interpreter.
        if (done < 1.0 && PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
        if (!progress.is_none()) {
            progress(to_string(stage), done);
        }
    };
}

} // namespace kelvane_python
