#include "kelvane/toolkit/batch/batch_report.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace KVN::toolkit {

namespace {

using Json = nlohmann::ordered_json;

constexpr int schema = 1;

const char* state_name(const BatchReport::Entry& entry) {
    return entry.result ? to_string(entry.result->state) : "missing";
}

/// A field, in quotes where the reader of a list needs them.
std::string field(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos && text.rfind('#', 0) != 0) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + "\"";
}

std::string seconds_text(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", seconds);
    return text;
}

Json entry_json(const BatchReport::Entry& entry) {
    Json json = {{"line", entry.job->line},
                 {"scan", entry.job->scan.string()},
                 {"markers", entry.job->markers.string()},
                 {"output", entry.job->output.string()},
                 {"options", Json::object()},
                 {"state", state_name(entry)}};
    for (const auto& [name, value] : entry.job->options) {
        json["options"][name] = value;
    }
    if (entry.result) {
        const JobResult& result = *entry.result;
        json["seconds"] = std::stod(seconds_text(result.seconds));
        if (result.state == JobState::done) {
            json["report"] = Json::parse(result.report);
        } else {
            json["message"] = result.message;
        }
    }
    return json;
}

} // namespace

std::size_t BatchReport::missing() const {
    return static_cast<std::size_t>(std::count_if(
        entries.begin(), entries.end(), [](const Entry& entry) { return !entry.result; }));
}

std::size_t BatchReport::count(JobState state) const {
    return static_cast<std::size_t>(
        std::count_if(entries.begin(), entries.end(), [state](const Entry& entry) {
            return entry.result && entry.result->state == state;
        }));
}

bool BatchReport::markers_left() const {
    return std::any_of(entries.begin(), entries.end(), [](const Entry& entry) {
        return entry.result && entry.result->unrepaired > 0;
    });
}

std::string BatchReport::csv() const {
    std::string text = "line,scan,markers,output,state,repaired,unrepaired,seconds,message\n";
    for (const Entry& entry : entries) {
        const JobResult result = entry.result.value_or(JobResult{});
        text += std::to_string(entry.job->line) + "," + field(entry.job->scan.string()) + "," +
                field(entry.job->markers.string()) + "," + field(entry.job->output.string()) + "," +
                state_name(entry) + "," + std::to_string(result.repaired) + "," +
                std::to_string(result.unrepaired) + "," + seconds_text(result.seconds) + "," +
                field(result.message) + "\n";
    }
    return text;
}

std::string BatchReport::json() const {
    Json jobs = Json::array();
    for (const Entry& entry : entries) {
        jobs.push_back(entry_json(entry));
    }
    const Json all = {{"schema", schema},
                      {"done", count(JobState::done)},
                      {"bad_input", count(JobState::bad_input)},
                      {"refused", count(JobState::refused)},
                      {"missing", missing()},
                      {"jobs", jobs}};
    return all.dump(2) + "\n";
}

BatchReport report_batch(const std::vector<BatchJob>& jobs, const BatchRecords& records) {
    BatchReport report;
    for (const BatchJob& job : jobs) {
        report.entries.push_back({&job, records.find(job)});
    }
    return report;
}

} // namespace KVN::toolkit
