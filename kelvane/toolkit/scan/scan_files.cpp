#include "kelvane/toolkit/scan/scan_files.hpp"

#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"

namespace KVN::toolkit {

Scan read_scan(const std::filesystem::path& file) {
    return open_scan(file)->to_scan();
}

void write_scan(const std::filesystem::path& file, const Scan& scan) {
    const ScanFormat& format = scan_format(file);
    require_faces(file, scan.face_count());
    OutputFile out(file);
    format.write(out, scan);
    out.commit();
}

void check_scan_output(const std::filesystem::path& file) {
    scan_format(file);
    const OutputFile probe(file); // leaves nothing behind without a commit
}

} // namespace KVN::toolkit
