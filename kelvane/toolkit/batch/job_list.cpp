#include "kelvane/toolkit/batch/job_list.hpp"

#include "kelvane/toolkit/scan/formats/source_file.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"
#include "kelvane/toolkit/standard_stream.hpp"

#include <algorithm>
#include <map>
#include <string_view>

namespace KVN::toolkit {

namespace fs = std::filesystem;

namespace {

constexpr const char* required_columns[] = {"scan", "markers", "output"};
constexpr const char* output_options[] = {"report", "page"};

/// The field in quotes at the beginning of `rest`, which is moved to what follows it.
std::string quoted_field(const TextLines& lines, std::string_view& rest) {
    std::string field;
    for (std::size_t i = 1; i < rest.size(); ++i) {
        if (rest[i] != '"') {
            field += rest[i];
        } else if (i + 1 < rest.size() && rest[i + 1] == '"') {
            field += rest[++i];
        } else {
            rest = trimmed(rest.substr(i + 1));
            if (!rest.empty() && rest.front() != ',') {
                lines.fail("has text behind a quoted field");
            }
            return field;
        }
    }
    lines.fail("has a quote without end");
}

std::vector<std::string> split(const TextLines& lines) {
    std::vector<std::string> fields;
    std::string_view rest = lines.text();
    while (true) {
        rest = trimmed(rest);
        if (!rest.empty() && rest.front() == '"') {
            fields.push_back(quoted_field(lines, rest));
        } else {
            const std::size_t end = std::min(rest.find(','), rest.size());
            fields.emplace_back(trimmed(rest.substr(0, end)));
            rest.remove_prefix(end);
        }
        if (rest.empty()) {
            return fields;
        }
        rest.remove_prefix(1); // the comma
    }
}

/// The next line that is no comment. '#' within a line may belong to a name.
bool next_line(TextLines& lines) {
    while (lines.next()) {
        if (lines.text().front() != '#') {
            return true;
        }
    }
    return false;
}

std::vector<std::string> read_header(TextLines& lines, const SourceFile& source) {
    if (!next_line(lines)) {
        source.fail("has no header line");
    }
    std::vector<std::string> names = split(lines);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (std::find(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(i), names[i]) !=
            names.begin() + static_cast<std::ptrdiff_t>(i)) {
            lines.fail("the column " + toolkit::quoted(names[i]) + " stands there twice");
        }
    }
    for (const char* name : required_columns) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            lines.fail("the column " + toolkit::quoted(name) + " is missing");
        }
    }
    return names;
}

BatchJob read_job(const TextLines& lines, const std::vector<std::string>& names) {
    const std::vector<std::string> fields = split(lines);
    if (fields.size() != names.size()) {
        lines.fail("has " + std::to_string(fields.size()) + " fields, where " +
                   std::to_string(names.size()) + " belong");
    }
    BatchJob job;
    job.line = lines.line_number();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == "scan") {
            job.scan = fields[i];
        } else if (names[i] == "markers") {
            job.markers = fields[i];
        } else if (names[i] == "output") {
            job.output = fields[i];
        } else if (!fields[i].empty()) {
            job.options.emplace_back(names[i], fields[i]);
        }
    }
    if (job.scan.empty() || job.output.empty()) {
        lines.fail(job.scan.empty() ? "names no scan" : "names no output");
    }
    const auto files = job.outputs();
    if (is_standard_stream(job.scan) || is_standard_stream(job.markers) ||
        std::any_of(files.begin(), files.end(), is_standard_stream)) {
        lines.fail("names a standard stream, which jobs cannot share");
    }
    return job;
}

fs::path real_place(const fs::path& file) {
    std::error_code ignored; // a place that cannot be looked at is told by the job that needs it
    const fs::path place = fs::weakly_canonical(fs::absolute(file, ignored), ignored);
    return place.empty() ? file.lexically_normal() : place;
}

void check_outputs_apart(const std::vector<BatchJob>& jobs, const SourceFile& source) {
    std::map<fs::path, std::size_t> written;
    for (const BatchJob& job : jobs) {
        for (const fs::path& output : job.outputs()) {
            const auto [known, fresh] = written.emplace(real_place(output), job.line);
            if (!fresh) {
                source.fail("line " + std::to_string(job.line) + ": " + output.string() +
                            " is an output of line " + std::to_string(known->second) + " too");
            }
        }
    }
    for (const BatchJob& job : jobs) {
        for (const fs::path& input : {job.scan, job.markers}) {
            const auto known = input.empty() ? written.end() : written.find(real_place(input));
            if (known != written.end()) {
                source.fail("line " + std::to_string(job.line) + ": " + input.string() +
                            " is overwritten by line " + std::to_string(known->second));
            }
        }
    }
}

} // namespace

std::string BatchJob::text() const {
    std::string text =
        "scan=" + scan.string() + "\nmarkers=" + markers.string() + "\noutput=" + output.string();
    auto sorted = options; // the order of columns changes nothing
    std::sort(sorted.begin(), sorted.end());
    for (const auto& [name, value] : sorted) {
        text += "\n" + name + "=" + value;
    }
    return text;
}

std::vector<fs::path> BatchJob::outputs() const {
    std::vector<fs::path> files{output};
    for (const char* name : output_options) {
        const std::string file = option(name);
        if (!file.empty()) {
            files.emplace_back(file);
        }
    }
    return files;
}

std::string BatchJob::option(const std::string& name) const {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const auto& entry) { return entry.first == name; });
    return found == options.end() ? "" : found->second;
}

std::vector<BatchJob> read_job_list(const fs::path& file) {
    const SourceFile source = load_source(file);
    TextLines lines(source, '\0');
    const std::vector<std::string> names = read_header(lines, source);
    std::vector<BatchJob> jobs;
    while (next_line(lines)) {
        jobs.push_back(read_job(lines, names));
    }
    check_outputs_apart(jobs, source);
    return jobs;
}

} // namespace KVN::toolkit
