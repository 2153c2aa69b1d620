#include "kelvane/patch/cotangent_weights.hpp"

#include "kelvane/kernel/record_words.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace KVN {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

constexpr double cotangent_limit = 19.1; // cotangent of 3 degrees
constexpr double smallest_normal = std::numeric_limits<double>::min();

double clamped(double cotangent) {
    return std::min(std::max(cotangent, -cotangent_limit), cotangent_limit);
}

// A difference of two positions, in single precision.
using Vector = MemS::Point3v<float>;

Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double dot(const Vector& a, const Vector& b) {
    return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
           static_cast<double>(a.z) * b.z;
}

// Length of the cross product: components in single precision, length in double.
double cross_length(const Vector& a, const Vector& b) {
    const Vector c(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
    return std::sqrt(dot(c, c));
}

// The share of a triangle's area that goes to its corner `v`, with p and q the two others.
double area_share(const _vert* v, const _vert* p, const _vert* q) {
    const Vector a = p->pos - v->pos;
    const Vector b = q->pos - v->pos;
    const Vector c = q->pos - p->pos;
    const double s = cross_length(a, b); // twice the triangle's area
    if (!(s > smallest_normal)) {
        return 0.0;
    }
    const double dv = dot(a, b);
    const double dp = -dot(a, c);
    const double dq = dot(b, c);
    if (dv < 0.0) {
        return 0.25 * s;
    }
    if (dp < 0.0 || dq < 0.0) {
        return 0.125 * s;
    }
    return 0.125 * (dot(a, a) * clamped(dq / s) + dot(b, b) * clamped(dp / s));
}

} // namespace

double edge_weight(const _edge* e) {
    double sum = 0.0;
    for (int i = 0; i < e->faceCount; ++i) {
        const _face* f = e->faces[i];
        const _vert* w = f->verts[2];
        for (int k = 1; k >= 0; --k) {
            if (!Mesh_R::is_end(e, f->verts[k])) {
                w = f->verts[k];
            }
        }
        const Vector p = e->end->pos - w->pos;
        const Vector q = e->start->pos - w->pos;
        const double s = cross_length(p, q);
        if (s > smallest_normal) {
            sum += clamped(dot(p, q) / s);
        }
    }
    return sum;
}

double mixed_area(const _vert* v) {
    if (v->faceCount < 2) {
        return 0.0;
    }
    double area = 0.0;
    for (int i = 0; i < v->faceCount; ++i) {
        _vert* const* corners = v->faces[i]->verts;
        for (int k = 0; k < 3; ++k) {
            if (corners[k] == v) {
                area += area_share(v, corners[(k + 1) % 3], corners[(k + 2) % 3]);
                break;
            }
        }
    }
    return area;
}

} // namespace KVN
