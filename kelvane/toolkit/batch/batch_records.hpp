// What a batch remembers of its jobs, so that it can be stopped and begun again at any time.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/toolkit/batch/job_list.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace KVN::toolkit {

/// How a job ended.
enum class JobState {
    done,
    bad_input, ///< the job's files or options are at fault
    refused,   ///< the system refused: no space, no permission, no memory
};

/// The name as it stands above.
KELVANE_EXPORT const char* to_string(JobState state);

/// What a job has come to.
struct JobResult {
    JobState state = JobState::done; ///< how it ended
    std::string message;             ///< one line, of a job that failed
    int repaired = 0;                ///< markers
    int unrepaired = 0;              ///< markers
    double seconds = 0.0;            ///< of wall time
    std::string report;              ///< JSON object, of a job that is done
};

/// Files as they were at some moment: size and time of the last change by name.
using FileStates = std::map<std::string, std::string>;

/// A folder with a small file per job, named after the job's output. A record is written whole or
/// not at all and only after the job's own files, and it holds for a job only as long as the line
/// of the list says the same, the version of the program is the same and all files that were read
/// or written have kept size and time. So what is complete by its record is complete, whatever was
/// killed when. Processes that work on different jobs may share the folder.
class KELVANE_EXPORT BatchRecords {
  public:
    /// Makes the folder if need be; throws SystemError if the system refuses.
    BatchRecords(std::filesystem::path folder, std::string version);

    /// Where the records are.
    const std::filesystem::path& folder() const { return folder_; }

    /// The result of a job that need not be done again, or of its last failure.
    std::optional<JobResult> find(const BatchJob& job) const;

    /// The state of a job's inputs before it is done, for finish().
    static FileStates inputs_of(const BatchJob& job);
    /// Notes the end of the job.
    void finish(const BatchJob& job, const FileStates& inputs, const JobResult& result) const;

  private:
    std::filesystem::path file_of(const BatchJob& job) const;

    std::filesystem::path folder_;
    std::string version_;
};

} // namespace KVN::toolkit
