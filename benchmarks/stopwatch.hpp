// Elapsed wall-clock time.
#pragma once

#include <chrono>

namespace KVN::bench {

class Stopwatch {
  public:
    void restart() { begin = Clock::now(); }
    double seconds() const { return std::chrono::duration<double>(Clock::now() - begin).count(); }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point begin = Clock::now();
};

} // namespace KVN::bench
