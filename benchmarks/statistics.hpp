// Figures out of many. All take at least one value.
#pragma once

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace KVN::bench {

inline double sum(std::vector<double> values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

inline double mean(std::vector<double> values) {
    return sum(values) / static_cast<double>(values.size());
}

inline double largest(std::vector<double> values) {
    return *std::max_element(values.begin(), values.end());
}

/// The middle value, or the mean of the two in the middle.
inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return (values[(n - 1) / 2] + values[n / 2]) / 2;
}

/// Of values above 0.
inline double geometric_mean(std::vector<double> values) {
    for (double& v : values) {
        v = std::log(v);
    }
    return std::exp(mean(std::move(values)));
}

} // namespace KVN::bench
