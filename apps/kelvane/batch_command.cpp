#include "batch_display.hpp"
#include "commands.hpp"
#include "console.hpp"
#include "repair_job.hpp"

#include "kelvane/toolkit/batch/batch_report.hpp"
#include "kelvane/toolkit/batch/batch_run.hpp"
#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kelvane_command {

namespace {

using namespace KVN::toolkit;
namespace fs = std::filesystem;

struct Arguments {
    std::string jobs;
    std::string records; ///< empty: beside the list
    std::string shard;
    BatchOptions options;
    bool merge = false;
    bool strict = false;
    bool quiet = false;
};

/// The job's line as the arguments of a repair, read by the definitions that the command has.
RepairArguments arguments_of(const BatchJob& job) {
    RepairArguments arguments;
    CLI::App line;
    line.set_help_flag();
    add_repair_arguments(line, arguments);
    std::vector<std::string> words{"--output=" + job.output.string()};
    if (!job.markers.empty()) {
        words.push_back("--markers=" + job.markers.string());
    }
    for (const auto& [name, value] : job.options) {
        words.push_back("--" + name + "=" + value);
    }
    words.insert(words.end(), {"--", job.scan.string()});
    try {
        line.parse(std::vector<std::string>(words.rbegin(), words.rend())); // wants them reversed
    } catch (const CLI::ParseError& error) {
        throw InputError(error.what());
    }
    return arguments;
}

/// A column that no repair knows is at fault in every line: it is found before the first job.
void check_columns(const Arguments& arguments, const std::vector<BatchJob>& jobs) {
    RepairArguments unused;
    CLI::App line;
    line.set_help_flag();
    add_repair_arguments(line, unused);
    for (const BatchJob& job : jobs) {
        for (const auto& [name, value] : job.options) {
            if (line.get_option_no_throw("--" + name) == nullptr) {
                throw InputError(arguments.jobs + ": '" + name +
                                 "' is no column: repair has no --" + name);
            }
        }
    }
}

JobResult run_job(const BatchJob& job, int threads, Progress& progress) {
    RepairArguments arguments = arguments_of(job);
    if (arguments.options.threads == 0) {
        arguments.options.threads = threads;
    }
    const RepairRun run = run_repair(arguments, progress);
    JobResult result;
    result.repaired = run.report.repaired();
    result.unrepaired = static_cast<int>(run.report.markers.size()) - result.repaired;
    result.report = run.json;
    return result;
}

/// 3 if the system refused a job, else 2 if one had bad input, else 1 if something is left.
int status_of(const BatchReport& report, bool strict) {
    if (report.count(JobState::refused) > 0) {
        return 3;
    }
    if (report.count(JobState::bad_input) > 0) {
        return 2;
    }
    return report.missing() > 0 || (strict && report.markers_left()) ? 1 : 0;
}

/// The jobs of a shard.
std::vector<BatchJob> share_of(const std::vector<BatchJob>& jobs, const Shard& shard) {
    std::vector<BatchJob> share;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (shard.holds(i)) {
            share.push_back(jobs[i]);
        }
    }
    return share;
}

std::string summary(const BatchReport& report) {
    return std::to_string(report.count(JobState::done)) + " of " +
           std::to_string(report.entries.size()) + " jobs done, " +
           std::to_string(report.count(JobState::bad_input)) + " with bad input, " +
           std::to_string(report.count(JobState::refused)) + " refused by the system, " +
           std::to_string(report.missing()) + " missing\n";
}

/// Writes the report over all of the list and names what is missing.
int merge(const std::vector<BatchJob>& jobs, const BatchRecords& records,
          const Arguments& arguments) {
    const BatchReport report = report_batch(jobs, records);
    write_text(records.folder() / "report.csv", report.csv());
    write_text(records.folder() / "report.json", report.json());
    for (const BatchReport::Entry& entry : report.entries) {
        const std::string line = "line " + std::to_string(entry.job->line) + ": ";
        if (!entry.result) {
            print_error(line + entry.job->output.string() + " is missing");
        } else if (arguments.merge && entry.result->state != JobState::done) {
            print_error(line + entry.result->message);
        }
    }
    if (!arguments.quiet) {
        print_result(summary(report));
    }
    return status_of(report, arguments.strict);
}

int batch(const Arguments& arguments) {
    const std::vector<BatchJob> jobs = read_job_list(arguments.jobs);
    check_columns(arguments, jobs);
    const BatchRecords records(arguments.records.empty()
                                   ? fs::path(arguments.jobs).replace_extension(".batch")
                                   : fs::path(arguments.records),
                               KELVANE_VERSION);
    if (arguments.merge) {
        return merge(jobs, records, arguments);
    }
    BatchOptions options = arguments.options;
    options.shard = arguments.shard.empty() ? shard_of_array_task().value_or(Shard{})
                                            : parse_shard(arguments.shard);
    {
        BatchDisplay display(arguments.quiet);
        run_batch(
            jobs, records, options, run_job,
            [&](const BatchCounts& counts, const BatchJob* job, const JobResult& result) {
                display.show(counts, job, result);
            },
            display.whole());
    }
    if (options.shard.count == 1) {
        return merge(jobs, records, arguments);
    }
    const std::vector<BatchJob> share = share_of(jobs, options.shard);
    const BatchReport report = report_batch(share, records);
    if (!arguments.quiet) {
        print_result(summary(report));
    }
    return status_of(report, arguments.strict);
}

} // namespace

void add_batch(CLI::App& app, int& status) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("batch", "Repair all scans of a list");
    command
        ->add_option("jobs", arguments->jobs,
                     "CSV: scan,markers,output and columns named like options of repair")
        ->required();
    command->add_flag("--again", arguments->options.again, "Do again what is complete");
    command
        ->add_option("--threads", arguments->options.threads,
                     "Threads, and scans at the same time; 0 for all processors")
        ->check(CLI::NonNegativeNumber);
    command
        ->add_option("--memory", arguments->options.memory,
                     "What they may need together, such as 8GB (half of the machine's)")
        ->transform(CLI::AsSizeValue(false));
    command->add_option("--shard", arguments->shard,
                        "I/N, I from 0: every N-th job only (as the task of a Slurm array says)");
    command->add_flag("--merge", arguments->merge,
                      "Repair nothing: join the reports of all shards, name what is missing");
    command->add_option("--records", arguments->records,
                        "Folder for reports and what is done (JOBS.batch beside the list)");
    command->add_flag("--quiet", arguments->quiet, "No progress and no summary");
    command->add_flag("--strict", arguments->strict, "End with 1 if a marker is left unrepaired");
    command->footer("\nExample:\n  kelvane batch jobs.csv --memory 8GB");
    command->callback([arguments, &status] { status = batch(*arguments); });
}

} // namespace kelvane_command
