#include "kelvane/toolkit/job/progress.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <utility>

namespace KVN::toolkit {

namespace {

struct StageEntry {
    const char* name;
    double begins; ///< fraction of the whole that is done when the stage begins
};

// Shares of a run with some twenty markers on 100,000 faces and two threads, rounded.
constexpr StageEntry stages[stage_count] = {
    {"build", 0.0},      {"removal", 0.15}, {"discovery", 0.2}, {"fill", 0.22},
    {"insertion", 0.72}, {"fairing", 0.75}, {"normals", 0.93},  {"output", 0.98},
};

} // namespace

const char* to_string(Stage stage) {
    return stages[static_cast<int>(stage)].name;
}

Progress::Progress(Listener listener) : listener_(std::move(listener)) {}

void Progress::begin(Stage stage) {
    const int place = static_cast<int>(stage);
    if (place <= reached_) {
        return;
    }
    reached_ = place;
    fraction_.store(stages[place].begins);
    if (listener_) {
        listener_(stage, stages[place].begins);
    }
}

void Progress::finish() {
    if (fraction_.load() >= 1.0) {
        return;
    }
    reached_ = stage_count - 1;
    fraction_.store(1.0);
    if (listener_) {
        listener_(Stage::output, 1.0);
    }
}

void Progress::check() const {
    if (cancelled()) {
        throw Cancelled();
    }
}

} // namespace KVN::toolkit
