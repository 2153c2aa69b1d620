// Sharing the holes of a run out to threads.
#pragma once

#include <exception>
#include <vector>

namespace KVN {

/// An order of the holes in which contiguous blocks of equal length, as a static schedule hands
/// them out to `threads` threads, cost about the same: the dearest hole left goes to the block with
/// the least in it that has room (Graham 1969). `costs` in any unit.
std::vector<int> balanced_order(const std::vector<double>& costs, int threads);

/// Runs `work(hole)` for all holes of `order` with a static schedule over `threads` threads (0 or
/// less: the runtime's default team). When calls throw, the holes go on and one exception, that of
/// the first in the order, is thrown again after the last of them.
template <class Work>
void for_each_hole(const std::vector<int>& order, int threads, const Work& work) {
    const int count = static_cast<int>(order.size());
    std::exception_ptr failure;
    int failed = count;
    const auto guarded = [&](int k) {
        try {
            work(order[static_cast<std::size_t>(k)]);
        } catch (...) {
#pragma omp critical(kelvane_hole_failure)
            if (k < failed) {
                failed = k;
                failure = std::current_exception();
            }
        }
    };
    if (threads > 0) {
#pragma omp parallel for schedule(static) num_threads(threads)
        for (int k = 0; k < count; ++k) {
            guarded(k);
        }
    } else {
#pragma omp parallel for schedule(static)
        for (int k = 0; k < count; ++k) {
            guarded(k);
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace KVN
