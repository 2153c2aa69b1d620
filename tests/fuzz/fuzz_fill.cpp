// Turns bytes into a border loop on a small grid, where points coincide and align at will.
#include "tests/fill/patch_faults.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t most_points = 200;
    if (size < 2) {
        return 0;
    }
    // The first byte sets how far one coordinate may reach, from a grid of 2 up to one of 256
    // steps.
    const int mask = (2 << (data[0] % 8)) - 1;
    const double step = data[0] & 128 ? 1e-3 : 1.0;
    std::vector<double> border;
    for (std::size_t i = 1; i < size && i <= 3 * most_points; ++i) {
        border.push_back(step * (data[i] & mask));
    }
    border.resize(border.size() / 3 * 3);
    Mesh_M::MyOFFDataNew patch;
    if (Mesh_M::Orbrel::fillHoleWithoutFair(border, patch) == 0) {
        const std::string fault = fault_of(border, patch);
        if (!fault.empty()) {
            std::fprintf(stderr, "%s\n", fault.c_str());
            std::abort();
        }
    } else if (!patch.points.empty() || !patch.faces.empty()) {
        std::abort();
    }
    return 0;
}
