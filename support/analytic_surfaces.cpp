#include "support/analytic_surfaces.hpp"

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <cmath>

namespace support {

namespace {

constexpr double pi = 3.14159265358979323846;

class Sphere : public AnalyticSurface {
  public:
    explicit Sphere(double r) : radius(r) {}
    Domain domain() const override { return {0, 2 * pi, -pi / 2, pi / 2, true, false}; }
    Vector3d point(double u, double v) const override { return radius * normal(u, v); }
    Vector3d normal(double u, double v) const override {
        return {std::cos(v) * std::cos(u), std::cos(v) * std::sin(u), std::sin(v)};
    }
    double length_u(double v) const override { return 2 * pi * radius * std::cos(v); }
    double length_v() const override { return pi * radius; }
    SurfacePoint closest(const Vector3d& p) const override {
        const Vector3d n = p.normalized();
        return {radius * n, n};
    }

  private:
    double radius;
};

class Torus : public AnalyticSurface {
  public:
    Torus(double major_, double minor_) : major(major_), minor(minor_) {}
    Domain domain() const override { return {0, 2 * pi, 0, 2 * pi, true, true}; }
    Vector3d point(double u, double v) const override {
        return major * Vector3d(std::cos(u), std::sin(u), 0) + minor * normal(u, v);
    }
    Vector3d normal(double u, double v) const override {
        return {std::cos(v) * std::cos(u), std::cos(v) * std::sin(u), std::sin(v)};
    }
    double length_u(double v) const override { return 2 * pi * (major + minor * std::cos(v)); }
    double length_v() const override { return 2 * pi * minor; }
    SurfacePoint closest(const Vector3d& p) const override {
        const Vector3d middle = major * Vector3d(p.x(), p.y(), 0).normalized();
        const Vector3d n = (p - middle).normalized();
        return {middle + minor * n, n};
    }

  private:
    double major, minor;
};

class Cylinder : public AnalyticSurface {
  public:
    Cylinder(double r, double h) : radius(r), height(h) {}
    Domain domain() const override { return {0, 2 * pi, -height / 2, height / 2, true, false}; }
    Vector3d point(double u, double v) const override {
        return {radius * std::cos(u), radius * std::sin(u), v};
    }
    Vector3d normal(double u, double) const override { return {std::cos(u), std::sin(u), 0}; }
    double length_u(double) const override { return 2 * pi * radius; }
    double length_v() const override { return height; }
    SurfacePoint closest(const Vector3d& p) const override {
        const Vector3d n = Vector3d(p.x(), p.y(), 0).normalized();
        return {radius * n + Vector3d(0, 0, p.z()), n};
    }

  private:
    double radius, height;
};

// z = f(x, y) over a rectangle around the origin.
class HeightField : public AnalyticSurface {
  public:
    HeightField(double w, double d) : width(w), depth(d) {}
    Domain domain() const override {
        return {-width / 2, width / 2, -depth / 2, depth / 2, false, false};
    }
    Vector3d point(double u, double v) const override { return {u, v, at(u, v).f}; }
    Vector3d normal(double u, double v) const override {
        const Heights h = at(u, v);
        return Vector3d(-h.fx, -h.fy, 1).normalized();
    }
    double length_u(double) const override { return width; }
    double length_v() const override { return depth; }

    // Newton's method on the gradient of half the squared distance, begun at the foot point. Near
    // the surface, closer than its radii of curvature, it meets the closest point.
    SurfacePoint closest(const Vector3d& p) const override {
        Eigen::Vector2d s(p.x(), p.y());
        for (int step = 0; step < 30; ++step) {
            const Heights h = at(s.x(), s.y());
            const double up = h.f - p.z();
            const Eigen::Vector2d gradient(s.x() - p.x() + up * h.fx, s.y() - p.y() + up * h.fy);
            Eigen::Matrix2d hessian;
            hessian(0, 0) = 1 + h.fx * h.fx + up * h.fxx;
            hessian(1, 1) = 1 + h.fy * h.fy + up * h.fyy;
            hessian(0, 1) = hessian(1, 0) = h.fx * h.fy + up * h.fxy;
            const Eigen::Vector2d move = hessian.inverse() * gradient;
            s -= move;
            if (move.squaredNorm() < 1e-26) {
                break;
            }
        }
        return {point(s.x(), s.y()), normal(s.x(), s.y())};
    }

  protected:
    struct Heights {
        double f, fx, fy, fxx, fxy, fyy; // value, first and second derivatives
    };
    virtual Heights at(double x, double y) const = 0;

  private:
    double width, depth;
};

class Saddle : public HeightField {
  public:
    using HeightField::HeightField;

  protected:
    Heights at(double x, double y) const override {
        constexpr double k = 1.0 / 60;
        return {k * (x * x - y * y), 2 * k * x, -2 * k * y, 2 * k, 0, -2 * k};
    }
};

class Waves : public HeightField {
  public:
    using HeightField::HeightField;

  protected:
    Heights at(double x, double y) const override {
        constexpr double a = 3, kx = 2 * pi / 45, ky = 2 * pi / 60;
        const double sx = std::sin(kx * x), cx = std::cos(kx * x);
        const double sy = std::sin(ky * y), cy = std::cos(ky * y);
        return {a * sx * cy,
                a * kx * cx * cy,
                -a * ky * sx * sy,
                -a * kx * kx * sx * cy,
                -a * kx * ky * cx * sy,
                -a * ky * ky * sx * cy};
    }
};

} // namespace

std::shared_ptr<const AnalyticSurface> sphere_surface(double radius) {
    return std::make_shared<Sphere>(radius);
}

std::shared_ptr<const AnalyticSurface> torus_surface(double major, double minor) {
    return std::make_shared<Torus>(major, minor);
}

std::shared_ptr<const AnalyticSurface> cylinder_surface(double radius, double height) {
    return std::make_shared<Cylinder>(radius, height);
}

std::shared_ptr<const AnalyticSurface> saddle_surface(double width, double depth) {
    return std::make_shared<Saddle>(width, depth);
}

std::shared_ptr<const AnalyticSurface> wave_surface(double width, double depth) {
    return std::make_shared<Waves>(width, depth);
}

} // namespace support
