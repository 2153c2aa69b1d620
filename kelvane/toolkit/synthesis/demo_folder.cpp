#include "kelvane/toolkit/synthesis/demo_folder.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"

#include <system_error>

namespace KVN::toolkit {

void write_demo(const std::filesystem::path& folder, const SyntheticScan& scan) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw SystemError(folder.string() + ": cannot be made: " + error.message());
    }
    write_scan(folder / "scan.ply", scan.marked);
    write_scan(folder / "truth.ply", scan.truth);
    write_markers(folder / "markers.csv", scan.markers);
}

} // namespace KVN::toolkit
