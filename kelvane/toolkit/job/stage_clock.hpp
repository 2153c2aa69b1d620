// The stages of a job as they pass: times for the report, news for the caller.
#pragma once

#include "kelvane/toolkit/job/marker_repair.hpp"

#include <algorithm>
#include <chrono>

namespace KVN::toolkit {

/// Notes how long each stage takes, all its turns together, and tells the caller's Progress.
class StageClock {
  public:
    StageClock(RepairReport& report, Progress* progress, bool may_stop)
        : report_(report), progress_(progress), may_stop_(may_stop) {}

    /// What begins from now on is of part `part` of `parts`.
    void set_part(std::size_t part, std::size_t parts) {
        part_ = part;
        parts_ = parts;
    }

    void begin(Stage stage) {
        end();
        if (progress_ != nullptr) {
            progress_->begin(stage, part_, parts_);
            if (may_stop_ || stage <= Stage::removal) {
                progress_->check();
            }
        }
        const auto known =
            std::find_if(report_.times.begin(), report_.times.end(),
                         [stage](const StageTime& time) { return time.stage == stage; });
        at_ = static_cast<std::size_t>(known - report_.times.begin());
        if (known == report_.times.end()) {
            report_.times.push_back({stage, 0.0});
        }
        running_ = true;
        started_ = Clock::now();
    }

    void end() {
        if (running_) {
            const std::chrono::duration<double> taken = Clock::now() - started_;
            report_.times[at_].seconds += taken.count();
            running_ = false;
        }
    }

  private:
    using Clock = std::chrono::steady_clock;
    RepairReport& report_;
    Progress* progress_;
    bool may_stop_; // also after the first face is deleted
    std::size_t part_ = 0;
    std::size_t parts_ = 1;
    bool running_ = false;
    std::size_t at_ = 0; // the running stage in the report
    Clock::time_point started_;
};

/// The stage of the job that a stage of the run belongs to.
inline Stage stage_of(RunStage stage) {
    switch (stage) {
    case RunStage::discovery:
        return Stage::discovery;
    case RunStage::fill:
        return Stage::fill;
    case RunStage::insertion:
        return Stage::insertion;
    case RunStage::fairing:
        return Stage::fairing;
    case RunStage::normals:
    case RunStage::done:
        break;
    }
    return Stage::normals;
}

/// Tells the clock of the run's stages.
inline std::function<void(RunStage)> ticking(StageClock& clock) {
    return [&clock](RunStage stage) {
        stage == RunStage::done ? clock.end() : clock.begin(stage_of(stage));
    };
}

} // namespace KVN::toolkit
