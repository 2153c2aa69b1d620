#include "kelvane/fill/continuation/surface_samples.hpp"

#include <algorithm>

namespace Mesh_M::fill {

SurfaceSamples pick_rings(const SurfaceSamples& samples, int first, int last,
                          std::size_t greatest) {
    std::vector<std::size_t> indices;
    for (std::size_t i = 0; i < samples.rings.size(); ++i) {
        if (samples.rings[i] >= first && samples.rings[i] <= last) {
            indices.push_back(i);
        }
    }
    const std::size_t count = std::min(indices.size(), greatest);
    SurfaceSamples picked;
    std::vector<double> heights;
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = indices[k * indices.size() / count];
        picked.places.push_back(samples.places[i]);
        picked.rings.push_back(samples.rings[i]);
        heights.push_back(samples.heights[static_cast<Eigen::Index>(i)]);
    }
    picked.heights = Eigen::Map<const Eigen::VectorXd>(heights.data(),
                                                       static_cast<Eigen::Index>(heights.size()));
    return picked;
}

} // namespace Mesh_M::fill
