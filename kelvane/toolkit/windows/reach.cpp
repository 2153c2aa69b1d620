#include "kelvane/toolkit/windows/reach.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace KVN::toolkit {

namespace {

// Most points of a scan lie in no capsule: cells well below a capsule's width tell that without a
// look at any of them.
constexpr double cells_per_width = 4.0;
constexpr double most_cells_along = 8.0; // a capsule, which may be far longer than wide
constexpr double most_cells = 1 << 18;   // a million bytes of grid

bool is_finite(const Capsule& capsule) {
    double sum = capsule.radius;
    for (int k = 0; k < 3; ++k) {
        sum += static_cast<double>(capsule.from[k]) + capsule.to[k];
    }
    return std::isfinite(sum);
}

bool inside(const Capsule& capsule, const float* point) {
    double along = 0.0;
    double length2 = 0.0;
    double axis[3];
    double offset[3];
    for (int k = 0; k < 3; ++k) {
        axis[k] = static_cast<double>(capsule.to[k]) - capsule.from[k];
        offset[k] = static_cast<double>(point[k]) - capsule.from[k];
        along += axis[k] * offset[k];
        length2 += axis[k] * axis[k];
    }
    const double t = length2 > 0.0 ? std::clamp(along / length2, 0.0, 1.0) : 0.0;
    double distance2 = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double d = offset[k] - t * axis[k];
        distance2 += d * d;
    }
    return distance2 <= capsule.radius * capsule.radius;
}

/// Cells per axis of a grid over a box of this size, roughly cubes with the given side or more.
std::array<int, 3> cells_over(const std::array<double, 3>& extent, double side) {
    for (;; side *= 1.5) {
        std::array<double, 3> cells{1.0, 1.0, 1.0};
        for (std::size_t k = 0; k < 3; ++k) {
            cells[k] = side > 0.0 ? std::max(1.0, std::ceil(extent[k] / side)) : 1.0;
        }
        if (cells[0] * cells[1] * cells[2] <= most_cells) {
            return {static_cast<int>(cells[0]), static_cast<int>(cells[1]),
                    static_cast<int>(cells[2])};
        }
    }
}

} // namespace

Reach::Reach(const std::vector<Capsule>& capsules) {
    for (std::size_t i = 0; i < capsules.size(); ++i) {
        if (is_finite(capsules[i])) {
            capsules_.push_back(capsules[i]);
            places_.push_back(static_cast<std::uint32_t>(i));
        }
    }
    lower_.fill(std::numeric_limits<double>::infinity());
    upper_.fill(-std::numeric_limits<double>::infinity());
    const auto low = [](const Capsule& c, int k) {
        return static_cast<double>(std::min(c.from[k], c.to[k])) - c.radius;
    };
    const auto high = [](const Capsule& c, int k) {
        return static_cast<double>(std::max(c.from[k], c.to[k])) + c.radius;
    };
    double widest = 0.0;
    double longest = 0.0;
    for (const Capsule& c : capsules_) {
        for (int k = 0; k < 3; ++k) {
            lower_[k] = std::min(lower_[k], low(c, k));
            upper_[k] = std::max(upper_[k], high(c, k));
            longest = std::max(longest, high(c, k) - low(c, k));
        }
        widest = std::max(widest, 2.0 * c.radius);
    }
    std::array<double, 3> extent{};
    for (std::size_t k = 0; k < 3 && !capsules_.empty(); ++k) {
        extent[k] = upper_[k] - lower_[k];
    }
    cells_ = cells_over(extent, std::max(widest / cells_per_width, longest / most_cells_along));
    for (std::size_t k = 0; k < 3; ++k) {
        per_cell_[k] = extent[k] > 0.0 ? cells_[k] / extent[k] : 0.0;
    }
    const auto each_cell = [&](const Capsule& c, const auto& visit) {
        for (int z = cell(low(c, 2), 2); z <= cell(high(c, 2), 2); ++z) {
            for (int y = cell(low(c, 1), 1); y <= cell(high(c, 1), 1); ++y) {
                for (int x = cell(low(c, 0), 0); x <= cell(high(c, 0), 0); ++x) {
                    visit((static_cast<std::size_t>(z) * cells_[1] + y) * cells_[0] + x);
                }
            }
        }
    };
    begin_.assign(static_cast<std::size_t>(cells_[0]) * cells_[1] * cells_[2] + 1, 0);
    for (const Capsule& c : capsules_) {
        each_cell(c, [&](std::size_t at) { ++begin_[at + 1]; });
    }
    for (std::size_t i = 1; i < begin_.size(); ++i) {
        begin_[i] += begin_[i - 1];
    }
    entries_.resize(begin_.back());
    std::vector<std::uint32_t> next(begin_.begin(), begin_.end() - 1);
    for (std::size_t i = 0; i < capsules_.size(); ++i) {
        each_cell(capsules_[i],
                  [&](std::size_t at) { entries_[next[at]++] = static_cast<std::uint32_t>(i); });
    }
}

int Reach::cell(double value, int axis) const {
    const double at = (value - lower_[axis]) * per_cell_[axis]; // not negative
    return at < cells_[axis] ? static_cast<int>(at) : cells_[axis] - 1;
}

template <class Visit>
bool Reach::any_of(const float* point, const Visit& visit) const {
    for (int k = 0; k < 3; ++k) {
        // False for a coordinate that is not a number as well.
        if (!(point[k] >= lower_[k] && point[k] <= upper_[k])) {
            return false;
        }
    }
    const std::size_t at =
        (static_cast<std::size_t>(cell(point[2], 2)) * cells_[1] + cell(point[1], 1)) * cells_[0] +
        cell(point[0], 0);
    for (std::uint32_t i = begin_[at]; i < begin_[at + 1]; ++i) {
        if (inside(capsules_[entries_[i]], point) && visit(entries_[i])) {
            return true;
        }
    }
    return false;
}

bool Reach::holds(const float* point) const {
    return any_of(point, [](std::uint32_t) { return true; });
}

void Reach::list(const float* point, std::vector<std::uint32_t>& capsules) const {
    capsules.clear();
    any_of(point, [&](std::uint32_t capsule) {
        capsules.push_back(places_[capsule]);
        return false;
    });
}

} // namespace KVN::toolkit
