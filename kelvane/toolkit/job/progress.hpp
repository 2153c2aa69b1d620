// How far a job is, and the way to stop it.
#pragma once

#include "kelvane/export.hpp"

#include <atomic>
#include <cstddef>
#include <functional>

namespace KVN::toolkit {

/// The stages of a repair, in order.
enum class Stage { build, removal, discovery, fill, insertion, fairing, normals, output };
constexpr int stage_count = 8;

/// The stage in words, e.g. "fairing".
KELVANE_EXPORT const char* to_string(Stage stage);

/// Follows one job. The fraction done only grows, whatever order the stages are told in: each stage
/// has a fixed share of the whole, measured on scans of some 100,000 faces. A stage that is told
/// too late moves nothing and is not passed on. A job that goes through the stages part by part
/// shares them out among its parts; of those after the first only steps of a hundredth are told.
///
/// The job calls begin(), check() and finish() on its own thread; cancel(), cancelled() and
/// fraction() may be called from any thread, and from within the listener.
class KELVANE_EXPORT Progress {
  public:
    /// Told on the job's thread when a stage begins and, with `done` 1, when the job is finished.
    using Listener = std::function<void(Stage stage, double done)>;

    /// No listener: only to be cancelled.
    explicit Progress(Listener listener = {});

    /// Asks the job to stop; it does so before the next stage begins.
    void cancel() noexcept { cancel_.store(true); }
    bool cancelled() const noexcept { return cancel_.load(); } ///< somebody has asked to stop

    /// Between 0 and 1; 1 only when the job is finished.
    double fraction() const noexcept { return fraction_.load(); }

    /// The job enters `stage` of its part `part` of `parts`; the output is of all of them.
    void begin(Stage stage, std::size_t part = 0, std::size_t parts = 1);
    /// The job is finished.
    void finish();
    /// Throws Cancelled after cancel().
    void check() const;

  private:
    Listener listener_;
    std::atomic<bool> cancel_{false};
    std::atomic<double> fraction_{0.0};
    bool begun_ = false;
};

} // namespace KVN::toolkit
