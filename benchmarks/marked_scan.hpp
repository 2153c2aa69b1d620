// A scan with markers on it whose true surface is known.
#pragma once

#include "mesh_truth.hpp"
#include "outline.hpp"

#include "kelvane/repair/repair_markers.hpp"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace KVN::bench {

struct MarkedScan {
    std::string name;
    TriangleMesh mesh; ///< with the stickers on it
    std::vector<Marker> markers;
    /// Added to every marker's radius for the cut; none: the toolkit's own choice.
    std::optional<double> margin;
    std::shared_ptr<const TruthSurface> truth;
    Outline outline; ///< of the true surface; empty where it has no rim

    std::vector<Vector3d> centres() const;
};

/// The scans in the subfolders of `folder`, by name: each holds marked.ply, truth.ply and
/// markers.csv; folders without these are passed over. The margin comes from `margins` under the
/// subfolder's name, else from a file `margin` in it that holds one number. Throws what the
/// toolkit's readers throw.
std::vector<MarkedScan> read_marked_scans(const std::filesystem::path& folder,
                                          const std::map<std::string, double>& margins);

} // namespace KVN::bench
