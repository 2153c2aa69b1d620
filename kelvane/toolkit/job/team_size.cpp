#include "kelvane/toolkit/job/team_size.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <atomic>
#include <future>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace KVN::toolkit {

namespace {

/// The largest team that was seen to start; the runtime keeps its threads.
std::atomic<int> seen{1};

/// Starts as many threads beside this one as a team has, all alive at once.
void try_team(int threads) {
    std::promise<void> all_started;
    const std::shared_future<void> end = all_started.get_future().share();
    std::vector<std::thread> team;
    team.reserve(static_cast<std::size_t>(threads));
    const auto join_all = [&] {
        all_started.set_value();
        for (std::thread& thread : team) {
            thread.join();
        }
    };
    try {
        for (int i = 1; i < threads; ++i) {
            team.emplace_back([end] { end.wait(); });
        }
    } catch (const std::system_error& error) {
        join_all();
        throw SystemError("the system starts no " + std::to_string(threads) +
                          " threads: " + error.code().message());
    } catch (...) {
        join_all();
        throw;
    }
    join_all();
}

} // namespace

TeamSize::TeamSize(int threads) : before_(omp_get_max_threads()) {
    if (threads > seen) {
        try_team(threads);
        seen = threads;
    }
    omp_set_num_threads(threads);
}

} // namespace KVN::toolkit
