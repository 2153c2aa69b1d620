#include "kelvane/repair/parallel_holes.hpp"

#include <algorithm>
#include <numeric>

namespace KVN {

std::vector<int> balanced_order(const std::vector<double>& costs, int threads) {
    const std::size_t count = costs.size();
    std::vector<int> dearest(count);
    std::iota(dearest.begin(), dearest.end(), 0);
    if (threads < 2 || count < 2) {
        return dearest;
    }
    std::stable_sort(dearest.begin(), dearest.end(), [&](int a, int b) {
        return costs[static_cast<std::size_t>(a)] > costs[static_cast<std::size_t>(b)];
    });
    const std::size_t teams = std::min(count, static_cast<std::size_t>(threads));
    struct Block {
        std::size_t room; // a static schedule gives the first blocks one more
        double cost = 0.0;
        std::vector<int> holes;
    };
    std::vector<Block> blocks(teams);
    for (std::size_t t = 0; t < teams; ++t) {
        blocks[t].room = count / teams + (t < count % teams ? 1 : 0);
    }
    for (const int hole : dearest) {
        Block* least = nullptr;
        for (Block& block : blocks) {
            if (block.holes.size() < block.room && (least == nullptr || block.cost < least->cost)) {
                least = &block;
            }
        }
        least->holes.push_back(hole);
        least->cost += costs[static_cast<std::size_t>(hole)];
    }
    std::vector<int> order;
    order.reserve(count);
    for (const Block& block : blocks) {
        order.insert(order.end(), block.holes.begin(), block.holes.end());
    }
    return order;
}

} // namespace KVN
