#include "kelvane/repair/parallel_holes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <numeric>
#include <stdexcept>

namespace {

// What the dearest of the contiguous blocks costs that a static schedule hands out.
double dearest_block(const std::vector<int>& order, const std::vector<double>& costs, int threads) {
    double dearest = 0.0;
    const std::size_t count = order.size();
    std::size_t first = 0;
    for (std::size_t t = 0; t < static_cast<std::size_t>(threads); ++t) {
        const std::size_t length = count / threads + (t < count % threads ? 1 : 0);
        double cost = 0.0;
        for (std::size_t k = first; k < first + length; ++k) {
            cost += costs[static_cast<std::size_t>(order[k])];
        }
        dearest = std::max(dearest, cost);
        first += length;
    }
    return dearest;
}

TEST(ParallelHoles, BlocksOfTheOrderCostTheSame) {
    std::vector<double> costs;
    for (int i = 0; i < 41; ++i) {
        costs.push_back(i < 20 ? 400.0 + i : 9.0); // the dear ones all come first
    }
    for (const int threads : {1, 2, 3, 8, 64}) {
        std::vector<int> order = KVN::balanced_order(costs, threads);
        const double total = std::accumulate(costs.begin(), costs.end(), 0.0);
        EXPECT_LE(dearest_block(order, costs, threads), 1.25 * total / std::min(threads, 20) + 9.0)
            << threads;
        std::sort(order.begin(), order.end());
        for (int i = 0; i < 41; ++i) {
            ASSERT_EQ(order[static_cast<std::size_t>(i)], i) << threads;
        }
    }
    EXPECT_TRUE(KVN::balanced_order({}, 4).empty());
}

TEST(ParallelHoles, TheFirstExceptionReachesTheCallerAfterAllHoles) {
    std::vector<int> order(50);
    std::iota(order.begin(), order.end(), 0);
    for (const int threads : {0, 1, 4}) {
        std::vector<int> done(order.size(), 0);
        try {
            KVN::for_each_hole(order, threads, [&](int hole) {
                done[static_cast<std::size_t>(hole)] = 1;
                if (hole == 30) {
                    throw std::runtime_error("later");
                }
                if (hole == 7) {
                    throw std::bad_alloc();
                }
            });
            FAIL() << "nothing was thrown";
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(std::count(done.begin(), done.end(), 1), 50);
        }
    }
}

} // namespace
