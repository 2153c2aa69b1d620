// A fuzzer's bytes as a band of triangles around a hole.
#pragma once

#include "tests/fuzz/bytes.hpp"

#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace fuzz {

struct Band {
    int loop = 0;                              ///< points of the hole's border, the first ones
    std::vector<std::array<float, 3>> points;  ///< the outer ring behind the border
    std::vector<std::array<int, 3>> triangles; ///< wound as seen from above
};

/// A ring of 3 to 24 edges of length 1, then points moved by steps of a grid, up to `most_steps`
/// (a power of two) of a quarter each, where they coincide and align at will, and triangles left
/// out, doubled, turned over, or put across the ring. None has all its corners on the border.
inline Band band_of(Bytes& bytes, int most_steps) {
    Band band;
    const int n = band.loop = 3 + bytes.byte() % 22;
    const int steps = most_steps >> (bytes.byte() % 6);
    for (int i = 0; i < 2 * n; ++i) {
        const float radius = static_cast<float>(n) / 6.28319F + (i < n ? 0.0F : 1.0F);
        const float angle = 6.28319F * static_cast<float>(i % n) / static_cast<float>(n);
        band.points.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0F});
        for (float& coordinate : band.points.back()) {
            coordinate += steps == 0 ? 0.0F : 0.25F * static_cast<float>(bytes.byte() % steps);
        }
    }
    for (int i = 0; i < n; ++i) {
        const int j = (i + 1) % n;
        band.triangles.push_back({j, i, n + i});
        band.triangles.push_back({j, n + i, n + j});
    }
    while (!bytes.empty()) {
        const auto f = static_cast<std::size_t>(bytes.byte()) % band.triangles.size();
        std::array<int, 3> triangle = band.triangles[f];
        switch (bytes.byte() % 4) {
        case 0:
            if (band.triangles.size() > 1) {
                band.triangles.erase(band.triangles.begin() + static_cast<std::ptrdiff_t>(f));
            }
            break;
        case 1:
            std::swap(band.triangles[f][0], band.triangles[f][1]);
            break;
        case 2:
            triangle[2] = n + bytes.byte() % n;
            band.triangles.push_back(triangle);
            break;
        case 3:
            band.triangles.push_back(triangle);
            break;
        }
    }
    return band;
}

} // namespace fuzz
