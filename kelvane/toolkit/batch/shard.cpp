#include "kelvane/toolkit/batch/shard.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <cstdint>
#include <cstdlib>

namespace KVN::toolkit {

namespace {

std::int64_t array_number(const char* name) {
    const std::string variable = std::string("SLURM_ARRAY_TASK_") + name;
    const char* text = std::getenv(variable.c_str());
    std::int64_t value = 0;
    if (text == nullptr || !parse_number(text, value) || value < 0) {
        throw InputError(variable + " is missing or no number; give --shard");
    }
    return value;
}

} // namespace

Shard parse_shard(const std::string& text) {
    const std::size_t slash = text.find('/');
    std::int64_t index = 0;
    std::int64_t count = 0;
    if (slash == std::string::npos || !parse_number(text.substr(0, slash), index) ||
        !parse_number(text.substr(slash + 1), count) || index < 0 || index >= count) {
        throw InputError("the shard " + toolkit::quoted(text) +
                         " is not I/N with I from 0 to N - 1, such as 0/8");
    }
    return {static_cast<std::size_t>(index), static_cast<std::size_t>(count)};
}

std::optional<Shard> shard_of_array_task() {
    if (std::getenv("SLURM_ARRAY_TASK_ID") == nullptr) {
        return {};
    }
    const std::int64_t id = array_number("ID");
    const std::int64_t first = array_number("MIN");
    const std::int64_t last = array_number("MAX");
    const std::int64_t step = array_number("STEP");
    const std::int64_t count = array_number("COUNT");
    // Slurm gives step 1 for lists of single numbers: only the count tells them from a series.
    // A series that begins further up is a part of an array that was submitted again: its tasks
    // would share out the whole list among themselves.
    if (step < 1 || first > 1 || id < first || id > last || (id - first) % step != 0 ||
        (last - first) / step + 1 != count) {
        throw InputError("the numbers of the job array are no whole series from 0 or 1 on, so "
                         "that they do not tell this task's share; give --shard");
    }
    return Shard{static_cast<std::size_t>((id - first) / step), static_cast<std::size_t>(count)};
}

} // namespace KVN::toolkit
