// Lists of repairs to be made.
#pragma once

#include "kelvane/export.hpp"

#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace KVN::toolkit {

/// One line of a list. Paths are as they stand there: relative to the working directory.
struct BatchJob {
    std::size_t line = 0;          ///< of the list, from 1
    std::filesystem::path scan;    ///< to be repaired
    std::filesystem::path markers; ///< empty: an option tells where markers come from
    std::filesystem::path output;  ///< to be written
    /// What the further columns say, without empty fields: names of options, without dashes, and
    /// their values.
    std::vector<std::pair<std::string, std::string>> options;

    /// The job as text, a line per column. Jobs with the same text do the same.
    std::string text() const;
    /// The output, and the files in the columns `report` and `page`.
    std::vector<std::filesystem::path> outputs() const;
    /// The value of an option, or "".
    std::string option(const std::string& name) const;
};

/// Reads a list as CSV: a header with `scan`, `markers`, `output` and names of options of a repair
/// in any order, then a job per line. Fields may stand in double quotes, with two of them for one.
/// Blanks around fields, blank lines, lines that begin with '#', a byte order mark and carriage
/// returns are let through.
///
/// Throws InputError with the line for a column that is missing or stands there twice, a wrong
/// number of fields, a quote without end, no scan or no output, an output that another job writes
/// too or that a job of the list reads (it could not be made again): then nothing should be begun.
/// Whether the options make sense is not looked at. Throws SystemError if the system refuses to
/// read.
KELVANE_EXPORT std::vector<BatchJob> read_job_list(const std::filesystem::path& file);

} // namespace KVN::toolkit
