#include "kelvane/toolkit/synthesis/raised_bodies.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/synthesis/portable_random.hpp"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace KVN::toolkit {

namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr double pi = 3.14159265358979323846;
constexpr double rounding = 0.2;    // mm, of upper edges
constexpr double hole_share = 0.15; // of the faces of a ragged body
constexpr int speck_count = 4;

/// A body's shape: its outline turned about the axis, as (distance from the axis, height).
struct Shape {
    std::vector<Vector2d> outline; ///< from the foot to the top
    double height = 0;             ///< of the marker's centre as it is listed
    double shadow = 0;             ///< radius of what the scanner does not see of the surface
    bool seated = true;            ///< joined to the surface
    bool ragged = false;
    int specks = 0;
};

Shape disc(double r, double height) {
    return {{{r, 0}, {r, height - rounding}, {r - rounding, height}, {0, height}}, height};
}

void add_arc(Shape& shape, double r, double centre, double from_angle, double to_angle) {
    constexpr int pieces = 48;
    for (int i = 0; i <= pieces; ++i) {
        const double angle = from_angle + (to_angle - from_angle) * i / pieces; // from below
        shape.outline.emplace_back(r * std::sin(angle), centre - r * std::cos(angle));
    }
}

Shape dome(double r, double height) {
    Shape shape;
    add_arc(shape, r, 0, pi / 2, pi);
    for (Vector2d& p : shape.outline) {
        p.y() *= height / r;
    }
    shape.height = height;
    return shape;
}

Shape shape_of(BodyKind kind, double r) {
    constexpr double ball_height = 5;
    Shape shape;
    switch (kind) {
    case BodyKind::disc_1:
        return disc(r, 1);
    case BodyKind::disc_3:
        return disc(r, 3);
    case BodyKind::disc_8:
        return disc(r, 8);
    case BodyKind::undercut:
        shape = disc(r, 3);
        shape.outline[0].y() = 1.5;
        shape.outline.insert(shape.outline.begin(), {{0.7 * r, 0}, {0.7 * r, 1.3}});
        return shape;
    case BodyKind::leaning:
        shape = disc(0.75 * r, 3);
        shape.outline.front().x() = r;
        return shape;
    case BodyKind::dome:
        return dome(r, 3);
    case BodyKind::ball_seated:
        add_arc(shape, r, 0.8 * r, std::asin(0.6), pi);
        shape.height = 0.8 * r;
        return shape;
    case BodyKind::ball_stalk:
        shape.outline.emplace_back(0.35 * r, 0);
        add_arc(shape, r, ball_height, std::asin(0.35), pi);
        shape.height = ball_height;
        return shape;
    case BodyKind::ball_hidden:
        add_arc(shape, r, ball_height, 0.42 * pi, pi);
        shape.height = ball_height;
        shape.shadow = 0.5 * r;
        shape.seated = false;
        return shape;
    case BodyKind::ragged_disc:
        shape = disc(r, 3);
        shape.ragged = true;
        return shape;
    case BodyKind::ragged_dome:
        shape = dome(r, 3);
        shape.ragged = true;
        return shape;
    case BodyKind::specks:
        shape = disc(r, 1);
        shape.specks = speck_count;
        return shape;
    }
    return shape;
}

/// The outline in steps of about one edge.
std::vector<Vector2d> resampled(const std::vector<Vector2d>& outline, double edge) {
    double length = 0;
    for (std::size_t i = 0; i + 1 < outline.size(); ++i) {
        length += (outline[i + 1] - outline[i]).norm();
    }
    const int steps = std::max(2, static_cast<int>(std::lround(length / edge)));
    std::vector<Vector2d> points{outline.front()};
    double walked = 0;
    std::size_t piece = 0;
    for (int step = 1; step < steps; ++step) {
        const double target = length * step / steps;
        double size = (outline[piece + 1] - outline[piece]).norm();
        while (walked + size < target && piece + 2 < outline.size()) {
            walked += size;
            ++piece;
            size = (outline[piece + 1] - outline[piece]).norm();
        }
        const double share = size > 0 ? (target - walked) / size : 0;
        points.push_back(outline[piece] + share * (outline[piece + 1] - outline[piece]));
    }
    points.push_back(outline.back());
    return points;
}

/// A closed row of vertices around the axis, anticlockwise seen from above.
struct Ring {
    std::vector<std::int32_t> vertices;
    std::vector<double> angles;
};

/// Sets one body after the other onto a scan.
class BodyBuilder {
  public:
    BodyBuilder(Scan scan, const BodyOptions& options)
        : scan_(std::move(scan)), options_(options), random_(options.seed) {}

    Marker add(const RaisedBody& body) {
        const Marker& foot = body.foot;
        centre_ = Vector3d(foot.x, foot.y, foot.z);
        z_ = Vector3d(foot.nx, foot.ny, foot.nz).normalized();
        x_ = z_.unitOrthogonal();
        y_ = z_.cross(x_);
        shape_ = shape_of(body.kind, foot.radius);
        Ring ring;
        if (shape_.seated || shape_.shadow > 0) {
            ring = cut(shape_.seated ? shape_.outline.front().x() + 0.5 * options_.edge
                                     : shape_.shadow);
        }
        build(shape_.seated ? ring : Ring());
        for (int i = 0; i < shape_.specks; ++i) {
            add_speck(foot.radius);
        }
        const Vector3d listed = centre_ + shape_.height * z_;
        return {float(listed.x()), float(listed.y()), float(listed.z()), foot.nx,
                foot.ny,           foot.nz,           foot.radius};
    }

    /// The scan without the vertices that no face uses any more.
    Scan finish() const {
        std::vector<std::int32_t> place(scan_.vertex_count(), -1);
        for (const std::int32_t v : scan_.triangles) {
            place[static_cast<std::size_t>(v)] = 0;
        }
        Scan result;
        for (std::size_t v = 0; v < place.size(); ++v) {
            if (place[v] == 0) {
                place[v] = static_cast<std::int32_t>(result.vertex_count());
                result.positions.insert(result.positions.end(), &scan_.positions[3 * v],
                                        &scan_.positions[3 * v] + 3);
            }
        }
        for (const std::int32_t v : scan_.triangles) {
            result.triangles.push_back(place[static_cast<std::size_t>(v)]);
        }
        return result;
    }

  private:
    Vector3d local(std::int32_t v) const {
        const float* p = &scan_.positions[3 * static_cast<std::size_t>(v)];
        const Vector3d d = Vector3d(p[0], p[1], p[2]) - centre_;
        return {x_.dot(d), y_.dot(d), z_.dot(d)};
    }

    /// Not the other side of a thin sheet.
    bool faces_up(const std::int32_t* t) const {
        const Vector3d a = local(t[0]);
        return (local(t[1]) - a).cross(local(t[2]) - a).z() > 0;
    }

    std::int32_t add_vertex(const Vector3d& at) {
        const Vector3d noise(random_.normal(), random_.normal(), random_.normal());
        const Vector3d p =
            centre_ + at.x() * x_ + at.y() * y_ + at.z() * z_ + options_.noise * noise;
        const auto index = static_cast<std::int32_t>(scan_.vertex_count());
        for (int axis = 0; axis < 3; ++axis) {
            scan_.positions.push_back(static_cast<float>(p[axis]));
        }
        return index;
    }

    void add_face(std::int32_t a, std::int32_t b, std::int32_t c) {
        if (!shape_.ragged || random_.uniform() >= hole_share) {
            scan_.triangles.insert(scan_.triangles.end(), {a, b, c});
        }
    }

    /// Takes the faces within `radius` of the axis off the scan and returns their outline.
    Ring cut(double radius) {
        std::vector<std::int32_t> kept;
        std::map<std::int32_t, std::int32_t> next; // edges of the faces that go
        std::map<std::pair<std::int32_t, std::int32_t>, int> gone;
        for (std::size_t f = 0; f < scan_.triangles.size(); f += 3) {
            const std::int32_t* t = &scan_.triangles[f];
            const bool inside =
                faces_up(t) && std::any_of(t, t + 3, [&](std::int32_t v) {
                    const Vector3d p = local(v);
                    return p.head<2>().norm() <= radius && std::fabs(p.z()) <= radius;
                });
            if (!inside) {
                kept.insert(kept.end(), t, t + 3);
                continue;
            }
            for (int i = 0; i < 3; ++i) {
                gone[{t[i], t[(i + 1) % 3]}] = 1;
            }
        }
        scan_.triangles = std::move(kept);
        std::size_t outer = 0;
        for (const auto& [edge, one] : gone) {
            if (gone.count({edge.second, edge.first}) == 0) {
                next[edge.first] = edge.second;
                ++outer;
            }
        }
        Ring ring;
        for (std::int32_t v = next.empty() ? 0 : next.begin()->first; ring.vertices.size() < outer;
             v = next[v]) {
            const Vector3d p = local(v);
            ring.vertices.push_back(v);
            ring.angles.push_back(std::atan2(p.y(), p.x()));
        }
        if (next.size() != outer || outer < 3 ||
            next[ring.vertices.back()] != ring.vertices.front()) {
            throw InputError("a body does not fit onto the scan");
        }
        return ring;
    }

    /// Height of the surface at the foot, from the nearest vertex of its outline.
    double foot_height(const Ring& foot, double angle) const {
        double best = 10, height = 0;
        for (std::size_t i = 0; i < foot.vertices.size(); ++i) {
            const double away = std::fabs(std::remainder(foot.angles[i] - angle, 2 * pi));
            if (away < best) {
                best = away;
                height = local(foot.vertices[i]).z();
            }
        }
        return height;
    }

    void build(const Ring& foot) {
        const std::vector<Vector2d> outline = resampled(shape_.outline, options_.edge);
        const double top = outline.back().y();
        Ring below = foot;
        for (const Vector2d& p : outline) {
            const int count =
                p.x() < 0.3 * options_.edge
                    ? 1
                    : std::max(4, static_cast<int>(std::lround(2 * pi * p.x() / options_.edge)));
            Ring ring;
            const double start = random_.uniform(-pi, pi);
            for (int i = 0; i < count; ++i) {
                const double jitter = count > 1 ? random_.uniform(-0.2, 0.2) : 0.0;
                const double angle = start + 2 * pi * (i + jitter) / count;
                const double lift =
                    foot.vertices.empty() ? 0 : foot_height(foot, angle) * (1 - p.y() / top);
                ring.angles.push_back(angle);
                ring.vertices.push_back(
                    add_vertex({p.x() * std::cos(angle), p.x() * std::sin(angle), p.y() + lift}));
            }
            if (!below.vertices.empty()) {
                join(below, ring);
            }
            below = std::move(ring);
        }
    }

    /// Angles of a ring from `from` on, one more than it has vertices.
    static std::vector<double> unrolled(const Ring& ring, std::size_t first, double from) {
        std::vector<double> angles;
        double angle = from + std::remainder(ring.angles[first] - from, 2 * pi);
        for (std::size_t i = 0; i <= ring.angles.size(); ++i) {
            angles.push_back(angle);
            const std::size_t a = (first + i) % ring.angles.size();
            const std::size_t b = (a + 1) % ring.angles.size();
            angle += std::remainder(ring.angles[b] - ring.angles[a], 2 * pi);
        }
        return angles;
    }

    /// A strip of faces between two rings, always on from the one that is behind.
    void join(const Ring& low, const Ring& high) {
        const auto nearest =
            std::min_element(high.angles.begin(), high.angles.end(), [&](double a, double b) {
                return std::fabs(std::remainder(a - low.angles[0], 2 * pi)) <
                       std::fabs(std::remainder(b - low.angles[0], 2 * pi));
            });
        const auto first = static_cast<std::size_t>(nearest - high.angles.begin());
        const std::vector<double> a = unrolled(low, 0, low.angles[0]);
        const std::vector<double> b = unrolled(high, first, low.angles[0]);
        const std::size_t lows = low.vertices.size();
        const std::size_t highs = high.vertices.size() == 1 ? 0 : high.vertices.size();
        for (std::size_t i = 0, j = 0; i < lows || j < highs;) {
            const std::int32_t l = low.vertices[i % lows];
            const std::int32_t h = high.vertices[(first + j) % high.vertices.size()];
            if (j == highs || (i < lows && a[i + 1] <= b[j + 1])) {
                add_face(l, low.vertices[++i % lows], h);
            } else {
                ++j;
                add_face(l, high.vertices[(first + j) % high.vertices.size()], h);
            }
        }
    }

    void add_speck(double radius) {
        const double angle = random_.uniform(-pi, pi);
        const double away = radius * random_.uniform(0.0, 0.7);
        const Vector3d middle(away * std::cos(angle), away * std::sin(angle),
                              shape_.height + random_.uniform(0.6, 3.0));
        Ring ring;
        constexpr int corners = 5;
        for (int i = 0; i < corners; ++i) {
            const double around = 2 * pi * i / corners;
            ring.angles.push_back(around);
            ring.vertices.push_back(add_vertex(
                middle + 0.4 * options_.edge * Vector3d(std::cos(around), std::sin(around), 0)));
        }
        join(ring, {{add_vertex(middle)}, {0.0}});
    }

    Scan scan_;
    const BodyOptions& options_;
    PortableRandom random_;
    // Of the body at work: its frame on the scan, and its shape.
    Vector3d centre_, x_, y_, z_;
    Shape shape_;
};

} // namespace

const char* to_string(BodyKind kind) {
    constexpr const char* names[body_kinds] = {
        "disc_1",      "disc_3",     "disc_8",      "undercut",    "leaning",     "dome",
        "ball_seated", "ball_stalk", "ball_hidden", "ragged_disc", "ragged_dome", "specks"};
    return names[static_cast<int>(kind)];
}

RaisedScan raise_bodies(const Scan& scan, const std::vector<RaisedBody>& bodies,
                        const BodyOptions& options) {
    BodyBuilder builder(scan, options);
    RaisedScan result;
    for (const RaisedBody& body : bodies) {
        result.markers.push_back(builder.add(body));
    }
    result.scan = builder.finish();
    return result;
}

} // namespace KVN::toolkit
