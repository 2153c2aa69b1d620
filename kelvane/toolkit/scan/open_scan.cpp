#include "kelvane/toolkit/scan/open_scan.hpp"

#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"

#include <algorithm>
#include <optional>

namespace KVN::toolkit {

namespace {

/// `splice` for the arrays of `scan`, whose face records are its triangles.
Splice by_triangles(const OpenScan& scan, Splice splice) {
    if (scan.all_triangles()) {
        return splice;
    }
    std::vector<std::int32_t> corners;
    std::vector<std::uint64_t> records;
    scan.corners_into(0, scan.face_count(), corners, records);
    const std::vector<std::uint64_t> gone = std::move(splice.faces_gone);
    splice.faces_gone.clear();
    for (std::size_t t = 0; t < records.size(); ++t) {
        if (std::binary_search(gone.begin(), gone.end(), records[t])) {
            splice.faces_gone.push_back(t);
        }
    }
    for (std::uint64_t& origin : splice.face_origin) {
        const auto first = std::lower_bound(records.begin(), records.end() - 1, origin);
        origin = static_cast<std::uint64_t>(first - records.begin());
    }
    return splice;
}

/// "vertex properties red, green, blue", if there are any.
void name_properties(const char* of, const std::vector<Property>& properties,
                     std::vector<std::string>& names) {
    std::string list;
    for (const Property& property : properties) {
        list += (list.empty() ? " " : ", ") + property.name;
    }
    if (!list.empty()) {
        names.push_back(std::string("the ") + of + " properties" + list);
    }
}

} // namespace

OpenScan::~OpenScan() = default;

std::unique_ptr<OpenScan> open_scan(const std::filesystem::path& file) {
    return scan_format(file).open(file);
}

std::vector<std::string> write_spliced(const OpenScan& scan, const Splice& splice,
                                       const std::filesystem::path& output) {
    check_splice(splice, scan.vertex_count(), scan.face_count());
    require_faces(output, scan.face_count() - splice.faces_gone.size() + splice.faces.size());
    const ScanFormat& target = scan_format(output);
    if (&target == &scan_format(scan.path())) {
        OutputFile out(output);
        scan.splice_into(out, splice);
        out.commit();
        return {};
    }
    Scan arrays = scan.to_scan();
    Splice for_arrays = by_triangles(scan, splice);
    scan.renumber_for_arrays(arrays, for_arrays);
    apply_splice(arrays, for_arrays);
    std::vector<std::string> lost = scan.beyond_arrays();
    if (!target.keeps_properties) {
        name_properties("vertex", arrays.vertex_properties, lost);
        name_properties("face", arrays.face_properties, lost);
    }
    write_scan(output, arrays);
    for (std::string& what : lost) {
        what = output.string() + ": " + what + " cannot be kept in " + target.name;
    }
    return lost;
}

} // namespace KVN::toolkit
