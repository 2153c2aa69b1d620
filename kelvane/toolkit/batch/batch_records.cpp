#include "kelvane/toolkit/batch/batch_records.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <fstream>

#include <sys/stat.h>

namespace KVN::toolkit {

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::ordered_json;

constexpr int record_schema = 1; // another number, and older records do not count
constexpr JobState states[] = {JobState::done, JobState::bad_input, JobState::refused};

/// "size seconds.nanoseconds", or "" of a file that is not there.
std::string state_of(const fs::path& file) {
    struct stat state {};
    if (::stat(file.c_str(), &state) != 0) {
        return "";
    }
    char text[96];
    std::snprintf(text, sizeof text, "%lld %lld.%09ld", static_cast<long long>(state.st_size),
                  static_cast<long long>(state.st_mtim.tv_sec), state.st_mtim.tv_nsec);
    return text;
}

FileStates states_of(const std::vector<fs::path>& files) {
    FileStates all;
    for (const fs::path& file : files) {
        if (!file.empty()) {
            all[file.string()] = state_of(file);
        }
    }
    return all;
}

bool unchanged(const Json& files) {
    for (const auto& entry : files.items()) {
        if (entry.value() != state_of(entry.key()) || entry.value() == "") {
            return false;
        }
    }
    return true;
}

std::optional<JobState> parse_state(const std::string& name) {
    for (const JobState state : states) {
        if (name == to_string(state)) {
            return state;
        }
    }
    return {};
}

/// FNV-1a, 64 bits: names of records must be the same for every build.
std::uint64_t hash_of(const std::string& text) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    }
    return hash;
}

/// The record as it stands, or null: one that cannot be read is as good as none.
Json load(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    Json record = in ? Json::parse(in, nullptr, false) : Json();
    const bool sound = record.is_object() && record.value("schema", 0) == record_schema;
    return sound ? record : Json();
}

} // namespace

const char* to_string(JobState state) {
    switch (state) {
    case JobState::done:
        return "done";
    case JobState::bad_input:
        return "bad_input";
    case JobState::refused:
        return "refused";
    }
    return "";
}

BatchRecords::BatchRecords(fs::path folder, std::string version)
    : folder_(std::move(folder)), version_(std::move(version)) {
    std::error_code error;
    fs::create_directories(folder_, error);
    if (error) {
        throw SystemError(folder_.string() + ": cannot be made: " + error.message());
    }
}

fs::path BatchRecords::file_of(const BatchJob& job) const {
    char name[32];
    std::snprintf(name, sizeof name, "%016llx.json",
                  static_cast<unsigned long long>(hash_of(job.output.string())));
    return folder_ / name;
}

std::optional<JobResult> BatchRecords::find(const BatchJob& job) const {
    const Json record = load(file_of(job));
    if (record.is_null() || record["job"] != job.text()) {
        return {};
    }
    const std::optional<JobState> state = parse_state(record.value("state", ""));
    if (!state) {
        return {};
    }
    if (*state == JobState::done && (record["version"] != version_ || !unchanged(record["read"]) ||
                                     !unchanged(record["written"]))) {
        return {};
    }
    return JobResult{*state,
                     record["message"],
                     record["repaired"],
                     record["unrepaired"],
                     record["seconds"],
                     record["report"].is_null() ? "" : record["report"].dump()};
}

FileStates BatchRecords::inputs_of(const BatchJob& job) {
    return states_of({job.scan, job.markers});
}

void BatchRecords::finish(const BatchJob& job, const FileStates& inputs,
                          const JobResult& result) const {
    const Json record = {{"schema", record_schema},
                         {"job", job.text()},
                         {"version", version_},
                         {"state", to_string(result.state)},
                         {"message", result.message},
                         {"repaired", result.repaired},
                         {"unrepaired", result.unrepaired},
                         {"seconds", result.seconds},
                         {"read", inputs},
                         {"written", states_of(job.outputs())},
                         {"report", result.report.empty() ? Json() : Json::parse(result.report)}};
    write_text(file_of(job), record.dump(2) + "\n");
}

} // namespace KVN::toolkit
