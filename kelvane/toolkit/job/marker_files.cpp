#include "kelvane/toolkit/job/marker_files.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/output_file.hpp"
#include "kelvane/toolkit/scan/formats/source_file.hpp"
#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace KVN::toolkit {

namespace {

using Names = std::vector<std::string>;

// Levels of arrays and objects: a list of markers has three. Values are copied and freed by
// recursion, so that a file of brackets would overflow the stack.
constexpr int deepest_json = 50;

/// One record of a list: its values in the order of the names that were asked for.
struct Record {
    std::string place; ///< "line 3" or "record 2", for messages
    std::vector<float> values;
};

[[noreturn]] void fail_at(const SourceFile& source, const std::string& place,
                          const std::string& what) {
    source.fail(place + ": " + what);
}

/// Checks that a value is finite and lets it through.
float finite(const SourceFile& source, const std::string& place, const std::string& name,
             float value) {
    if (!std::isfinite(value)) {
        fail_at(source, place, name + " is not finite");
    }
    return value;
}

std::vector<std::string_view> split_fields(std::string_view line) {
    std::vector<std::string_view> fields;
    std::size_t begin = 0;
    while (true) {
        const std::size_t end = line.find(',', begin);
        fields.push_back(trimmed(line.substr(begin, end - begin)));
        if (end == std::string_view::npos) {
            return fields;
        }
        begin = end + 1;
    }
}

/// For each column of the header, the place of its name in `names`.
std::vector<std::size_t> parse_header(const TextLines& lines, const Names& names) {
    std::vector<std::size_t> columns;
    for (const std::string_view field : split_fields(lines.text())) {
        const auto found = std::find(names.begin(), names.end(), field);
        if (found == names.end()) {
            lines.fail(toolkit::quoted(field) + " is no column that belongs here");
        }
        const auto place = static_cast<std::size_t>(found - names.begin());
        if (std::find(columns.begin(), columns.end(), place) != columns.end()) {
            lines.fail("the column " + toolkit::quoted(field) + " stands there twice");
        }
        columns.push_back(place);
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (std::find(columns.begin(), columns.end(), i) == columns.end()) {
            lines.fail("the column " + toolkit::quoted(names[i]) + " is missing");
        }
    }
    return columns;
}

std::vector<Record> read_csv(const SourceFile& source, const Names& names) {
    const bool marked = source.bytes.compare(0, 3, "\xEF\xBB\xBF") == 0; // byte order mark
    TextLines lines(source, '#', marked ? 3 : 0);
    if (!lines.next()) {
        source.fail("has no header line");
    }
    const std::vector<std::size_t> columns = parse_header(lines, names);
    std::vector<Record> records;
    while (lines.next()) {
        const std::vector<std::string_view> fields = split_fields(lines.text());
        if (fields.size() != columns.size()) {
            lines.fail("has " + std::to_string(fields.size()) + " fields, where " +
                       std::to_string(columns.size()) + " belong");
        }
        Record record{"line " + std::to_string(lines.line_number()), {}};
        record.values.resize(names.size());
        for (std::size_t i = 0; i < columns.size(); ++i) {
            float value = 0.0F;
            const std::string& name = names[columns[i]];
            if (!parse_number(fields[i], value)) {
                lines.fail(name + " is no number: " + toolkit::quoted(fields[i]));
            }
            record.values[columns[i]] = finite(source, record.place, name, value);
        }
        records.push_back(std::move(record));
    }
    return records;
}

nlohmann::json parse_json(const SourceFile& source) {
    const auto bound_depth = [&source](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
        if (depth > deepest_json) {
            source.fail("is nested more than " + std::to_string(deepest_json) + " levels deep");
        }
        return true;
    };
    try {
        return nlohmann::json::parse(source.bytes, bound_depth);
    } catch (const nlohmann::json::exception& error) {
        const std::string text = error.what(); // "[json.exception...] parse error at line 1, ..."
        const std::size_t start = text.find("] ");
        source.fail("is no JSON: " + text.substr(start == std::string::npos ? 0 : start + 2));
    }
}

std::vector<Record> read_json(const SourceFile& source, const Names& names, const char* member) {
    nlohmann::json all = parse_json(source);
    if (all.is_object() && all.contains(member)) {
        all = nlohmann::json(all[member]);
    }
    if (!all.is_array()) {
        source.fail(std::string("holds neither an array nor an object with an array '") + member +
                    "'");
    }
    std::vector<Record> records;
    for (const nlohmann::json& entry : all) {
        Record record{"record " + std::to_string(records.size() + 1), {}};
        if (!entry.is_object()) {
            fail_at(source, record.place, "is no object");
        }
        for (const auto& item : entry.items()) {
            if (std::find(names.begin(), names.end(), item.key()) == names.end()) {
                fail_at(source, record.place,
                        toolkit::quoted(item.key()) + " is no member that belongs here");
            }
        }
        for (const std::string& name : names) {
            if (!entry.contains(name) || !entry[name].is_number()) {
                fail_at(source, record.place, name + " is missing or no number");
            }
            const auto value = static_cast<float>(entry[name].get<double>());
            record.values.push_back(finite(source, record.place, name, value));
        }
        records.push_back(std::move(record));
    }
    return records;
}

std::vector<Record> read_records(const SourceFile& source, const Names& names, const char* member) {
    return lower_extension(source.name) == ".json" ? read_json(source, names, member)
                                                   : read_csv(source, names);
}

void require_radius(const SourceFile& source, const Record& record) {
    const float radius = record.values.back();
    if (!(radius > 0.0F)) {
        fail_at(source, record.place, "the radius, " + shortest(radius) + ", is not above 0");
    }
}

} // namespace

std::vector<Marker> read_markers(const std::filesystem::path& file) {
    const SourceFile source = load_source(file);
    std::vector<Marker> markers;
    for (const Record& record :
         read_records(source, {"x", "y", "z", "nx", "ny", "nz", "radius"}, "markers")) {
        const std::vector<float>& v = record.values;
        require_radius(source, record);
        if (v[3] == 0.0F && v[4] == 0.0F && v[5] == 0.0F) {
            fail_at(source, record.place, "the normal has length 0");
        }
        markers.push_back({v[0], v[1], v[2], v[3], v[4], v[5], v[6]});
    }
    return markers;
}

std::vector<Block> read_blocks(const std::filesystem::path& file) {
    const SourceFile source = load_source(file);
    std::vector<Block> blocks;
    for (const Record& record : read_records(source, {"x", "y", "z", "radius"}, "blocks")) {
        const std::vector<float>& v = record.values;
        require_radius(source, record);
        blocks.push_back({v[0], v[1], v[2], v[3]});
    }
    return blocks;
}

void write_markers(const std::filesystem::path& file, const std::vector<Marker>& markers) {
    OutputFile out(file);
    out.write("x,y,z,nx,ny,nz,radius\n");
    for (const Marker& m : markers) {
        std::string line;
        for (const float value : {m.x, m.y, m.z, m.nx, m.ny, m.nz, m.radius}) {
            line += (line.empty() ? "" : ",") + shortest(value);
        }
        out.write(line + "\n");
    }
    out.commit();
}

} // namespace KVN::toolkit
