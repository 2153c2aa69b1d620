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

constexpr double step_of_parts = 0.01;

} // namespace

const char* to_string(Stage stage) {
    return stages[static_cast<int>(stage)].name;
}

Progress::Progress(Listener listener) : listener_(std::move(listener)) {}

void Progress::begin(Stage stage, std::size_t part, std::size_t parts) {
    const double output = stages[stage_count - 1].begins;
    double done = stages[static_cast<int>(stage)].begins;
    double least_step = 0.0;
    if (parts > 1 && stage != Stage::output) {
        const double before = output * static_cast<double>(part);
        done = (before + done) / static_cast<double>(parts);
        least_step = part > 0 ? step_of_parts : 0.0;
    }
    if (begun_ && (done <= fraction_.load() || done < fraction_.load() + least_step)) {
        return;
    }
    begun_ = true;
    fraction_.store(done);
    if (listener_) {
        listener_(stage, done);
    }
}

void Progress::finish() {
    if (fraction_.load() >= 1.0) {
        return;
    }
    begun_ = true;
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
