#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/synthesis/portable_random.hpp"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <utility>

namespace KVN::toolkit {

namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr double two_pi = 6.283185307179586;
constexpr double smallest_sticker = 2.0; // radii, mm
constexpr double largest_sticker = 3.5;
constexpr double gap = 4.0;         // between stickers, and from a sticker inside to the rim, mm
constexpr double middle_part = 0.4; // of a sticker's radius, where faces may be missing

/// The true surface: height over the plane, a sum of sines with wavelengths of 48 to 70 mm.
double height(const Vector2d& p) {
    return 2.4 * std::sin(two_pi * p.x() / 48.0) * std::cos(two_pi * p.y() / 62.0) +
           1.1 * std::sin(two_pi * (0.6 * p.x() + 0.8 * p.y()) / 70.0 + 0.7);
}

Vector3d surface_point(const Vector2d& p) {
    return {p.x(), p.y(), height(p)};
}

/// Unit normal by central differences, over a step that is short against all wavelengths.
Vector3d surface_normal(const Vector2d& p) {
    constexpr double h = 1e-3;
    const double dx = (height(p + Vector2d(h, 0)) - height(p - Vector2d(h, 0))) / (2 * h);
    const double dy = (height(p + Vector2d(0, h)) - height(p - Vector2d(0, h))) / (2 * h);
    return Vector3d(-dx, -dy, 1.0).normalized();
}

/// The lower and upper rim wave a little, so that markers there meet no straight line.
double rim_wave(double x) {
    return 1.5 * std::sin(two_pi * x / 37.0);
}

/// Half the panel's depth at x.
double half_depth(const DemoOptions& options, double x) {
    return 0.5 * options.depth + rim_wave(x);
}

struct Sticker {
    Marker marker;
    MarkerKind kind;
    Vector2d centre;
    double radius;
    double thickness;
    bool hollow; ///< faces are missing in its middle
};

/// The panel's points and triangles without stickers.
struct Panel {
    std::vector<Vector2d> parameters; ///< where on the panel each point was taken
    std::vector<Vector3d> points;     ///< with noise
    std::vector<std::int32_t> triangles;
};

std::vector<Vector2d> jittered_grid(const DemoOptions& options, int columns, int rows,
                                    PortableRandom& random) {
    std::vector<Vector2d> grid;
    for (int j = 0; j <= rows; ++j) {
        for (int i = 0; i <= columns; ++i) {
            // Points of the rim move along it only.
            const double jitter = 0.3 * options.spacing;
            const double du = i == 0 || i == columns ? 0.0 : random.uniform(-jitter, jitter);
            const double dv = j == 0 || j == rows ? 0.0 : random.uniform(-jitter, jitter);
            const double x = (double(i) / columns - 0.5) * options.width + du;
            const double v = 2.0 * j / rows - 1.0 + 2.0 * dv / options.depth;
            grid.emplace_back(x, v * half_depth(options, x));
        }
    }
    return grid;
}

Panel make_panel(const DemoOptions& options, PortableRandom& random) {
    const int columns = static_cast<int>(std::lround(options.width / options.spacing));
    const int rows = static_cast<int>(std::lround(options.depth / options.spacing));
    Panel panel;
    panel.parameters = jittered_grid(options, columns, rows, random);
    for (const Vector2d& p : panel.parameters) {
        const double noise = options.noise * random.normal();
        panel.points.push_back(surface_point(p) + noise * surface_normal(p));
    }
    for (int j = 0; j < rows; ++j) {
        for (int i = 0; i < columns; ++i) {
            const std::int32_t a = j * (columns + 1) + i; // lower left corner of the cell
            const std::int32_t b = a + 1;
            const std::int32_t c = b + columns + 1;
            const std::int32_t d = c - 1;
            const bool rising = random.uniform() < 0.5;
            const bool at_rim = i == 0 || j == 0 || i == columns - 1 || j == rows - 1;
            if (options.ragged_rim && at_rim && random.uniform() < 0.3) {
                continue;
            }
            if (rising) {
                panel.triangles.insert(panel.triangles.end(), {a, b, c, a, c, d});
            } else {
                panel.triangles.insert(panel.triangles.end(), {a, b, d, b, c, d});
            }
        }
    }
    return panel;
}

/// The marker as a measuring system reports it: its place is off by some hundredths of a
/// millimetre.
Marker measured(const Vector3d& centre, const Vector3d& normal, double radius,
                PortableRandom& random) {
    const Vector3d tilt(random.normal(), random.normal(), random.normal());
    const Vector3d shift(random.normal(), random.normal(), random.normal());
    const Vector3d c = centre + 0.01 * shift;
    const Vector3d n = (normal + 0.003 * tilt).normalized();
    return {float(c.x()), float(c.y()), float(c.z()), float(n.x()),
            float(n.y()), float(n.z()), float(radius)};
}

Sticker make_sticker(const Vector2d& centre, double radius, MarkerKind kind, bool hollow,
                     PortableRandom& random) {
    Sticker sticker{{}, kind, centre, radius, random.uniform(0.1, 0.2), hollow};
    sticker.marker = measured(surface_point(centre) + sticker.thickness * surface_normal(centre),
                              surface_normal(centre), radius, random);
    return sticker;
}

bool is_clear(const std::vector<Sticker>& stickers, const Vector2d& centre, double radius) {
    return std::all_of(stickers.begin(), stickers.end(), [&](const Sticker& other) {
        return (other.centre - centre).norm() > other.radius + radius + gap;
    });
}

/// Places stickers one after the other, each clear of those before it.
class StickerPlacer {
  public:
    StickerPlacer(const DemoOptions& options, PortableRandom& random)
        : options_(options), random_(random) {}

    std::vector<Sticker> run() {
        for (int i = 0; i < options_.on_rim; ++i) {
            place_on_rim(i);
        }
        if (options_.overlapping) {
            place_pair();
        }
        for (int i = 0; i < options_.inside; ++i) {
            const double radius = sticker_radius();
            add(free_place_inside(radius), radius, MarkerKind::inside, i % 3 == 1);
        }
        return std::move(stickers_);
    }

  private:
    static constexpr int attempts = 10000;

    double sticker_radius() { return random_.uniform(smallest_sticker, largest_sticker); }

    void add(const Vector2d& centre, double radius, MarkerKind kind, bool hollow) {
        stickers_.push_back(make_sticker(centre, radius, kind, hollow, random_));
    }

    [[noreturn]] static void no_room() {
        throw InputError("the synthetic panel has no room for so many markers");
    }

    Vector2d free_place_inside(double radius) {
        const double keep = radius + gap;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            const double x =
                random_.uniform(keep - 0.5 * options_.width, 0.5 * options_.width - keep);
            const double most = half_depth(options_, x) - keep - 1.0; // the rim is not straight
            Vector2d place(x, random_.uniform(-most, most));
            if (most > 0.0 && 0.5 * options_.width > keep && is_clear(stickers_, place, radius)) {
                return place;
            }
        }
        no_room();
    }

    /// Centre up to most of a radius away from the rim, on the four sides in turn.
    void place_on_rim(int i) {
        const double radius = sticker_radius();
        for (int attempt = 0; attempt < attempts; ++attempt) {
            const double inwards = random_.uniform(0.1, 0.8) * radius;
            const double side = i % 2 == 0 ? 1.0 : -1.0;
            Vector2d place;
            if (i % 4 < 2) {
                const double most = 0.5 * options_.width - radius - 2.0 * gap;
                place.x() = random_.uniform(-most, most);
                place.y() = side * (half_depth(options_, place.x()) - inwards);
            } else {
                const double most = 0.5 * options_.depth - radius - 2.0 * gap;
                place.x() = side * (0.5 * options_.width - inwards);
                place.y() = random_.uniform(-most, most);
            }
            if (is_clear(stickers_, place, radius)) {
                add(place, radius, MarkerKind::on_rim, false);
                return;
            }
        }
        no_room();
    }

    void place_pair() {
        const double radius = 2.5;
        const Vector2d first = free_place_inside(2.5 * radius);
        add(first, radius, MarkerKind::overlapping, false);
        add(first + Vector2d(1.3 * radius, 0.4 * radius), radius, MarkerKind::overlapping, false);
    }

    const DemoOptions& options_;
    PortableRandom& random_;
    std::vector<Sticker> stickers_;
};

/// Raises the points under the stickers and notes the faces in the middle of hollow ones.
std::vector<Vector3d> raise(const Panel& panel, const std::vector<Sticker>& stickers, double noise,
                            PortableRandom& random) {
    std::vector<Vector3d> points = panel.points;
    for (const Sticker& sticker : stickers) {
        for (std::size_t v = 0; v < points.size(); ++v) {
            if ((panel.parameters[v] - sticker.centre).norm() < sticker.radius) {
                const double lift = sticker.thickness + noise * random.normal();
                points[v] += lift * surface_normal(panel.parameters[v]);
            }
        }
    }
    return points;
}

bool in_hollow_middle(const Panel& panel, const std::vector<Sticker>& stickers, std::size_t face) {
    return std::any_of(stickers.begin(), stickers.end(), [&](const Sticker& sticker) {
        for (std::size_t c = 0; c < 3; ++c) {
            const auto v = static_cast<std::size_t>(panel.triangles[3 * face + c]);
            if ((panel.parameters[v] - sticker.centre).norm() > middle_part * sticker.radius) {
                return false;
            }
        }
        return sticker.hollow;
    });
}

/// Points and triangles as a scan, without the points that no triangle uses.
Scan compact(const std::vector<Vector3d>& points, const std::vector<std::int32_t>& triangles) {
    std::vector<std::int32_t> place(points.size(), -1);
    for (const std::int32_t v : triangles) {
        place[static_cast<std::size_t>(v)] = 0;
    }
    Scan scan;
    for (std::size_t v = 0; v < points.size(); ++v) {
        if (place[v] == 0) {
            place[v] = static_cast<std::int32_t>(scan.vertex_count());
            for (int axis = 0; axis < 3; ++axis) {
                scan.positions.push_back(static_cast<float>(points[v][axis]));
            }
        }
    }
    for (const std::int32_t v : triangles) {
        scan.triangles.push_back(place[static_cast<std::size_t>(v)]);
    }
    return scan;
}

void check(const DemoOptions& options) {
    const bool lengths = std::isfinite(options.width) && std::isfinite(options.depth) &&
                         options.spacing > 0 && options.width >= 10 * options.spacing &&
                         options.depth >= 10 * options.spacing && options.noise >= 0 &&
                         std::isfinite(options.noise);
    constexpr double most_points = 5e7;
    if (!lengths || options.inside < 0 || options.on_rim < 0 ||
        options.width * options.depth / (options.spacing * options.spacing) > most_points) {
        throw InputError("the measures of the synthetic panel make no sense");
    }
}

} // namespace

SyntheticScan make_demo_scan(const DemoOptions& options) {
    check(options);
    PortableRandom random(options.seed);
    const Panel panel = make_panel(options, random);
    std::vector<Sticker> stickers = StickerPlacer(options, random).run();
    const std::vector<Vector3d> raised = raise(panel, stickers, options.noise, random);

    std::vector<std::int32_t> marked_triangles;
    for (std::size_t f = 0; 3 * f < panel.triangles.size(); ++f) {
        if (!in_hollow_middle(panel, stickers, f)) {
            marked_triangles.insert(marked_triangles.end(), &panel.triangles[3 * f],
                                    &panel.triangles[3 * f] + 3);
        }
    }
    SyntheticScan result;
    result.marked = compact(raised, marked_triangles);
    result.truth = compact(panel.points, panel.triangles);
    for (const Sticker& sticker : stickers) {
        result.markers.push_back(sticker.marker);
        result.kinds.push_back(sticker.kind);
    }
    if (options.off_surface) {
        const Vector3d far_above(0.0, 0.0, 50.0);
        result.markers.push_back(measured(far_above, Vector3d::UnitZ(), 2.5, random));
        result.kinds.push_back(MarkerKind::off_surface);
    }
    return result;
}

} // namespace KVN::toolkit
