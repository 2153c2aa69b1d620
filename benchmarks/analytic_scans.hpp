// Marked scans of surfaces with a formula: irregular meshes with raised stickers, made on the spot.
#pragma once

#include "marked_scan.hpp"

#include "support/analytic_surfaces.hpp"

#include <memory>
#include <string>
#include <vector>

namespace KVN::bench {

struct AnalyticOptions {
    double edge = 0.7;  ///< mean edge length aimed at
    double noise = 0.0; ///< standard deviation along the normal
    double margin = 1.0;
    double radius = 2.5;  ///< of the markers on a panel
    bool stickers = true; ///< false: bare surfaces without markers
};

/// A marker by the surface's parameters; radius in mm.
struct MarkerPlace {
    double u, v;
    double radius;
};

/// A scan of any surface with a formula: an irregular mesh, noise, stickers. The surface is its
/// truth. The same mesh on every run.
MarkedScan make_scan(std::string name, std::shared_ptr<const support::AnalyticSurface> surface,
                     const std::vector<MarkerPlace>& places, const AnalyticOptions& options);

/// Sphere of radius 25, torus of radii 40 and 16, open cylinder of radius 25, saddle and wavy
/// panel, each with a handful of markers; the cylinder and the wavy panel have one on their open
/// rim. The same meshes on every run.
std::vector<MarkedScan> analytic_scans(const AnalyticOptions& options);

/// A wavy panel of about `faces` faces, as nearly square as its waves allow, with `markers` markers
/// spread evenly over it, none near the rim.
MarkedScan large_panel(int faces, int markers, const AnalyticOptions& options);

} // namespace KVN::bench
