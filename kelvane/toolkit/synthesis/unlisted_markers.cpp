#include "kelvane/toolkit/synthesis/unlisted_markers.hpp"

#include "kelvane/toolkit/synthesis/portable_random.hpp"
#include "kelvane/toolkit/synthesis/raised_bodies.hpp"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace KVN::toolkit {

namespace {

/// A marker's frame: coordinates across its normal, and along it.
struct Frame {
    explicit Frame(const Marker& m) : centre(m.x, m.y, m.z) {
        axes.col(2) = Eigen::Vector3d(m.nx, m.ny, m.nz).normalized();
        axes.col(0) = axes.col(2).unitOrthogonal();
        axes.col(1) = axes.col(2).cross(axes.col(0));
    }
    Eigen::Vector3d local(const float* p) const {
        return axes.transpose() * (Eigen::Vector3d(p[0], p[1], p[2]) - centre);
    }

    Eigen::Vector3d centre;
    Eigen::Matrix3d axes;
};

/// In radii, across the normal.
bool holds(HoleShape shape, double x, double y) {
    const double rad = std::hypot(x, y);
    switch (shape) {
    case HoleShape::disc:
        return rad < 1.0;
    case HoleShape::ellipse:
        return std::hypot(x, y / 0.6) < 1.0;
    case HoleShape::slit:
        return std::fabs(x) < 1.0 && std::fabs(y) < 0.25;
    case HoleShape::double_disc:
        return std::min(std::hypot(x - 0.55, y), std::hypot(x + 0.55, y)) < 0.7;
    case HoleShape::square:
        return std::max(std::fabs(x), std::fabs(y)) < 1.0;
    case HoleShape::blob:
        return rad < 1.0 + 0.25 * std::sin(4.0 * std::atan2(y, x));
    }
    return false;
}

struct Blotch {
    Eigen::Vector3d centre;
    double radius;
    double light;
};

/// The brightness of the ground: shading, blotches, lines.
class Ground {
  public:
    Ground(const Scan& scan, double size, PortableRandom& random)
        : phase_(random.uniform(0.0, 6.0)) {
        constexpr std::size_t blotches = 40;
        for (std::size_t i = 0; i < blotches && scan.vertex_count() > 0; ++i) {
            const auto v = static_cast<std::size_t>(random.uniform() *
                                                    static_cast<double>(scan.vertex_count()));
            const float* p = &scan.positions[3 * v];
            blotches_.push_back(
                {{p[0], p[1], p[2]}, size * random.uniform(0.4, 1.6), random.uniform(-90.0, 90.0)});
        }
    }

    double at(const float* p) const {
        double light = 128.0 + 25.0 * std::sin(0.05 * p[0] + 0.03 * p[1] + phase_);
        for (const Blotch& blotch : blotches_) {
            if ((Eigen::Vector3d(p[0], p[1], p[2]) - blotch.centre).norm() < blotch.radius) {
                light += blotch.light;
            }
        }
        const double line = std::fmod(std::fabs(p[0] + 0.37 * p[1]), 23.0);
        return line < 0.8 ? light - 60.0 : light;
    }

  private:
    double phase_;
    std::vector<Blotch> blotches_;
};

} // namespace

void paint_markers(Scan& scan, const std::vector<Marker>& markers, std::uint64_t seed) {
    PortableRandom random(seed);
    double size = 1.0;
    std::vector<Frame> frames;
    for (const Marker& m : markers) {
        frames.emplace_back(m);
        size = std::max(size, static_cast<double>(m.radius));
    }
    const Ground ground(scan, size, random);
    std::vector<std::uint8_t> grey(scan.vertex_count());
    for (std::size_t v = 0; v < grey.size(); ++v) {
        const float* p = &scan.positions[3 * v];
        double light = ground.at(p);
        for (std::size_t m = 0; m < markers.size(); ++m) {
            const Eigen::Vector3d local = frames[m].local(p);
            const double rad = local.head<2>().norm() / markers[m].radius;
            if (rad < 1.0 && std::fabs(local.z()) < markers[m].radius) {
                light = rad < 0.6 ? 225.0 : 30.0;
            }
        }
        light += 8.0 * random.normal();
        grey[v] = static_cast<std::uint8_t>(std::lround(std::clamp(light, 0.0, 255.0)));
    }
    for (const char* name : {"red", "green", "blue"}) {
        scan.vertex_properties.push_back({name, grey});
    }
}

void cut_hole(Scan& scan, const Marker& place, HoleShape shape) {
    const Frame frame(place);
    const double r = place.radius;
    std::vector<char> inside(scan.vertex_count(), 0);
    for (std::size_t v = 0; v < inside.size(); ++v) {
        const Eigen::Vector3d local = frame.local(&scan.positions[3 * v]);
        inside[v] = std::fabs(local.z()) < r && holds(shape, local.x() / r, local.y() / r) ? 1 : 0;
    }
    std::vector<std::int32_t> kept;
    kept.reserve(scan.triangles.size());
    for (std::size_t t = 0; t < scan.triangles.size(); t += 3) {
        const std::int32_t* v = &scan.triangles[t];
        if (std::none_of(v, v + 3, [&](std::int32_t i) {
                return inside[static_cast<std::size_t>(i)] != 0;
            })) {
            kept.insert(kept.end(), v, v + 3);
        }
    }
    scan.triangles = std::move(kept);
    scan.face_properties.clear();
}

SyntheticScan with_other_markers(const SyntheticScan& demo, std::uint64_t seed) {
    SyntheticScan made;
    made.truth = demo.truth;
    std::vector<RaisedBody> bodies;
    std::vector<Marker> painted;
    std::vector<Marker> holes;
    for (std::size_t i = 0; i < demo.markers.size(); ++i) {
        if (demo.kinds[i] != MarkerKind::inside) {
            continue;
        }
        made.markers.push_back(demo.markers[i]);
        made.kinds.push_back(MarkerKind::inside);
        switch (made.markers.size() % 3) {
        case 0:
            holes.push_back(demo.markers[i]);
            break;
        case 1:
            bodies.push_back({static_cast<BodyKind>(bodies.size() % body_kinds), demo.markers[i]});
            break;
        default:
            painted.push_back(demo.markers[i]);
        }
    }
    BodyOptions options;
    options.seed = seed;
    RaisedScan raised = raise_bodies(demo.truth, bodies, options);
    for (std::size_t b = 0; b < bodies.size(); ++b) {
        made.markers[3 * b] = raised.markers[b];
    }
    made.marked = std::move(raised.scan);
    for (const Marker& hole : holes) {
        cut_hole(made.marked, hole, HoleShape::disc);
    }
    paint_markers(made.marked, painted, seed);
    return made;
}

} // namespace KVN::toolkit
