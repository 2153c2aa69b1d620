#include "kelvane/toolkit/find/painted_markers.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/find/vertex_grid.hpp"
#include "kelvane/toolkit/find/vertex_normals.hpp"
#include "kelvane/toolkit/windows/surface.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace KVN::toolkit {

namespace {

// Measured on scans with painted markers among blotches, lines and shading; see find_benchmark.
constexpr double seed_spacing = 0.35;     // radii between places that are tried
constexpr double finest_step = 0.04;      // radii, of the climb
constexpr double worth_a_climb = 0.35;    // correlation; true places begin well above
constexpr double least_correlation = 0.8; // lower, and blotches pass
constexpr double apart = 1.6;             // radii between two markers
constexpr double contrast_share = 0.65;   // of the median of the most alike: paint is alike
constexpr std::size_t most_alike = 8;
constexpr double blurred_step = 0.35;    // edges around the step that are left out
constexpr double least_facing = 0.5;     // 60 degrees
constexpr double least_edges = 2.8;      // per radius
constexpr std::size_t least_points = 12; // of a pattern, to speak of likeness

/// Brightness per vertex, or nothing where a colour is missing.
std::vector<float> brightness(const Scan& scan) {
    const char* const names[3] = {"red", "green", "blue"};
    const float weights[3] = {0.299F, 0.587F, 0.114F}; // ITU-R BT.601
    std::vector<float> sum(scan.vertex_count(), 0.0F);
    for (int c = 0; c < 3; ++c) {
        const auto found =
            std::find_if(scan.vertex_properties.begin(), scan.vertex_properties.end(),
                         [&](const Property& property) { return property.name == names[c]; });
        if (found == scan.vertex_properties.end()) {
            throw InputError(std::string("the scan has no vertex colours: no property ") +
                             names[c]);
        }
        std::visit(
            [&](const auto& values) {
                for (std::size_t v = 0; v < sum.size() && v < values.size(); ++v) {
                    sum[v] += weights[c] * static_cast<float>(values[v]);
                }
            },
            found->values);
    }
    return sum;
}

struct Candidate {
    Eigen::Vector3d centre;
    Eigen::Vector3d normal;
    double correlation = -1.0;
    double contrast = 0.0;
};

class Painted {
  public:
    Painted(const Scan& scan, const PaintedMarkerOptions& options, double edge)
        : options_(options), edge_(edge), bright_(brightness(scan)),
          grid_(scan.positions, options.radius) {
        const std::vector<char> all(scan.vertex_count(), 1);
        normals_ = vertex_normals(scan, all);
        for (Eigen::Vector3d& normal : normals_) {
            normal.stableNormalize();
        }
        points_.reserve(scan.vertex_count());
        for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
            points_.push_back(position_of(scan, static_cast<std::int32_t>(v)));
        }
    }

    std::vector<Candidate> climbed() const {
        std::vector<Candidate> tops;
        for (const std::int32_t seed :
             VertexGrid(flat_positions(), seed_spacing * options_.radius).one_per_cell()) {
            const auto v = static_cast<std::size_t>(seed);
            Candidate candidate = scored(points_[v], normals_[v]);
            if (candidate.correlation >= worth_a_climb) {
                candidate = climb(candidate);
                if (candidate.correlation >= least_correlation) {
                    tops.push_back(candidate);
                }
            }
        }
        return tops;
    }

  private:
    std::vector<float> flat_positions() const {
        std::vector<float> flat;
        flat.reserve(3 * points_.size());
        for (const Eigen::Vector3d& p : points_) {
            for (int k = 0; k < 3; ++k) {
                flat.push_back(static_cast<float>(p[k]));
            }
        }
        return flat;
    }

    template <class Visit>
    void facing_points(const Eigen::Vector3d& centre, const Eigen::Vector3d& normal,
                       const Visit& visit) const {
        grid_.around(centre, [&](std::int32_t at) {
            const auto v = static_cast<std::size_t>(at);
            const Eigen::Vector3d offset = points_[v] - centre;
            const double height = offset.dot(normal);
            const double across2 = offset.squaredNorm() - height * height;
            const double r = options_.radius;
            if (across2 < r * r && std::fabs(height) < r &&
                normals_[v].dot(normal) >= least_facing) {
                visit(v, std::sqrt(std::max(across2, 0.0)), height);
            }
        });
    }

    /// The place near `centre` on the surface with the normal of what faces its way, and its score.
    Candidate scored(const Eigen::Vector3d& centre, const Eigen::Vector3d& normal) const {
        Candidate candidate{centre, normal, -1.0, 0.0};
        Eigen::Vector3d mean_normal = Eigen::Vector3d::Zero();
        double height = 0.0;
        int near = 0;
        facing_points(centre, normal, [&](std::size_t v, double across, double h) {
            if (across < 0.5 * options_.radius) {
                mean_normal += normals_[v];
                height += h;
                ++near;
            }
        });
        if (near == 0 || mean_normal.norm() == 0.0) {
            return candidate;
        }
        candidate.normal = mean_normal.normalized();
        candidate.centre = centre + (height / near) * normal;
        score(candidate);
        return candidate;
    }

    void score(Candidate& candidate) const {
        const double step = options_.inner_share * options_.radius;
        double n = 0, sum = 0, sum2 = 0, inside = 0, inside_sum = 0;
        facing_points(candidate.centre, candidate.normal,
                      [&](std::size_t v, double across, double) {
                          if (std::fabs(across - step) < blurred_step * edge_) {
                              return;
                          }
                          const double b = bright_[v];
                          n += 1;
                          sum += b;
                          sum2 += b * b;
                          if (across < step) {
                              inside += 1;
                              inside_sum += b;
                          }
                      });
        const double outside = n - inside;
        if (n < static_cast<double>(least_points) || inside < 3 || outside < 3) {
            return;
        }
        const double variance = sum2 / n - (sum / n) * (sum / n);
        const double difference = inside_sum / inside - (sum - inside_sum) / outside;
        candidate.contrast = options_.dark_inside ? -difference : difference;
        // Pearson's correlation with a pattern of two values.
        candidate.correlation = variance > 0.0 ? candidate.contrast * std::sqrt(inside * outside) /
                                                     (n * std::sqrt(variance))
                                               : 0.0;
    }

    Candidate climb(Candidate best) const {
        for (double step = 0.5 * seed_spacing * options_.radius;
             step >= finest_step * options_.radius;) {
            const Eigen::Vector3d u = best.normal.unitOrthogonal();
            const Eigen::Vector3d w = best.normal.cross(u);
            Candidate higher = best;
            for (const auto& [a, b] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
                const Candidate tried = scored(best.centre + step * (a * u + b * w), best.normal);
                if (tried.correlation > higher.correlation) {
                    higher = tried;
                }
            }
            if (higher.correlation > best.correlation) {
                best = higher;
            } else {
                step *= 0.5;
            }
        }
        return best;
    }

    const PaintedMarkerOptions& options_;
    double edge_;
    std::vector<float> bright_;
    VertexGrid grid_;
    std::vector<Eigen::Vector3d> points_;
    std::vector<Eigen::Vector3d> normals_; ///< unit or zero
};

/// The strongest of those that lie too near to each other.
std::vector<Candidate> thinned(std::vector<Candidate> candidates, double radius) {
    std::stable_sort(
        candidates.begin(), candidates.end(),
        [](const Candidate& a, const Candidate& b) { return a.correlation > b.correlation; });
    std::vector<Candidate> kept;
    for (const Candidate& candidate : candidates) {
        const bool clear = std::none_of(kept.begin(), kept.end(), [&](const Candidate& other) {
            return (other.centre - candidate.centre).norm() < apart * radius;
        });
        if (clear) {
            kept.push_back(candidate);
        }
    }
    return kept;
}

/// Drops what has far less contrast than the most alike: a pattern in a texture is no paint.
void drop_faint(std::vector<Candidate>& candidates) {
    if (candidates.empty()) {
        return;
    }
    std::vector<double> contrasts;
    for (std::size_t i = 0; i < std::min(most_alike, candidates.size()); ++i) {
        contrasts.push_back(candidates[i].contrast);
    }
    std::sort(contrasts.begin(), contrasts.end());
    const double least = contrast_share * contrasts[contrasts.size() / 2];
    candidates.erase(
        std::remove_if(candidates.begin(), candidates.end(),
                       [&](const Candidate& candidate) { return candidate.contrast < least; }),
        candidates.end());
}

} // namespace

std::vector<FoundMarker> find_painted_markers(const Scan& scan,
                                              const PaintedMarkerOptions& options) {
    if (!(std::isfinite(options.radius) && options.radius > 0.0)) {
        throw InputError("the radius of the markers must be a finite length above 0");
    }
    if (!(options.inner_share > 0.0 && options.inner_share < 1.0)) {
        throw InputError("the inner disc must have between 0 and 1 of the radius");
    }
    const double edge = mean_side_length(ScanSurface(scan));
    if (options.radius < least_edges * edge) {
        throw InputError("the scan is too coarse for markers of this radius: its mean edge is " +
                         std::to_string(edge) + ", and the radius must be 2.8 times that");
    }
    std::vector<Candidate> candidates =
        thinned(Painted(scan, options, edge).climbed(), options.radius);
    drop_faint(candidates);
    std::vector<FoundMarker> found;
    for (const Candidate& candidate : candidates) {
        const Eigen::Vector3f c = candidate.centre.cast<float>();
        const Eigen::Vector3f n = candidate.normal.cast<float>();
        FoundMarker marker;
        marker.marker = {
            c.x(), c.y(), c.z(), n.x(), n.y(), n.z(), static_cast<float>(options.radius)};
        marker.confidence = candidate.correlation;
        found.push_back(marker);
    }
    return found;
}

} // namespace KVN::toolkit
