#include "kelvane/fill/disc/disc_mesh.hpp"

#include <algorithm>
#include <numeric>

namespace Mesh_M::fill {
bool DiscMesh::assign(const Patch& patch) {
    border = patch.borderCount;
    points = patch.points;
    sizes.assign(points.size(), 0.0);
    origins.clear();
    origins.reserve(3 * patch.triangles.size());
    for (const Triangle& triangle : patch.triangles) {
        for (int i = 0; i < 3; ++i) {
            const int corner = triangle[i];
            if (corner < 0 || corner >= point_count() || corner == triangle[(i + 1) % 3]) {
                return false;
            }
            origins.push_back(corner);
        }
    }
    const int triangle_count = static_cast<int>(patch.triangles.size());
    // Euler characteristic of a disc with all its border points: F = 2 V - 2 - k.
    return border >= 3 && border <= point_count() &&
           triangle_count == 2 * point_count() - 2 - border && pair_half_edges() &&
           has_single_fans() && is_connected();
}

/// Half-edges sorted by their origins by counting: those from point p begin at places[p].
void DiscMesh::sort_by_origin(std::vector<int>& places, std::vector<int>& sorted) const {
    places.assign(points.size() + 1, 0);
    for (const int point : origins) {
        ++places[point];
    }
    std::partial_sum(places.begin(), places.end(), places.begin());
    sorted.resize(origins.size());
    for (int h = half_edge_count() - 1; h >= 0; --h) {
        sorted[--places[origin(h)]] = h;
    }
}

bool DiscMesh::pair_half_edges() {
    std::vector<int> places, sorted;
    sort_by_origin(places, sorted);
    twins.assign(origins.size(), none);
    outgoings.assign(points.size(), none);
    int loose = 0;
    for (int h = 0; h < half_edge_count(); ++h) {
        const int a = origin(h), b = target(h);
        const auto end = sorted.begin() + places[b + 1];
        const auto found = std::find_if(sorted.begin() + places[b], end,
                                        [&](int other) { return target(other) == a; });
        if (found != end) {
            twins[h] = *found;
        } else if (is_border(a) && b == (a + 1) % border) {
            outgoings[a] = h;
            ++loose;
        } else {
            return false;
        }
    }
    for (int h = 0; h < half_edge_count(); ++h) {
        if (twins[h] != none && twins[twins[h]] != h) {
            return false; // an edge that more than two triangles share
        }
        if (outgoings[origin(h)] == none) {
            outgoings[origin(h)] = h;
        }
    }
    return loose == border &&
           std::find(outgoings.begin(), outgoings.end(), none) == outgoings.end();
}

/// Whether the triangles at each point form one fan: then what a walk meets there is all there is.
bool DiscMesh::has_single_fans() const {
    int met = 0;
    for (int point = 0; point < point_count(); ++point) {
        for_each_triangle(point, [&](int) { ++met; });
    }
    return met == half_edge_count();
}

bool DiscMesh::is_connected() const {
    std::vector<char> reached(points.size(), 0);
    std::vector<int> open{0};
    reached[0] = 1;
    std::size_t count = 0;
    while (!open.empty()) {
        const int point = open.back();
        open.pop_back();
        ++count;
        for_each_neighbour(point, [&](int neighbour) {
            if (!reached[neighbour]) {
                reached[neighbour] = 1;
                open.push_back(neighbour);
            }
        });
    }
    return count == points.size();
}

Patch DiscMesh::extract() const {
    Patch patch;
    patch.borderCount = border;
    std::vector<int> numbers(points.size(), none);
    for (int point = 0; point < point_count(); ++point) {
        if (is_alive(point)) {
            numbers[point] = static_cast<int>(patch.points.size());
            patch.points.push_back(points[point]);
        }
    }
    for (int h = 0; h < half_edge_count(); h += 3) {
        if (is_used(h)) {
            patch.triangles.push_back(
                {numbers[origins[h]], numbers[origins[h + 1]], numbers[origins[h + 2]]});
        }
    }
    return patch;
}

int DiscMesh::degree(int point) const {
    int count = 0;
    for_each_neighbour(point, [&](int) { ++count; });
    return count;
}

bool DiscMesh::are_joined(int a, int b) const {
    bool joined = false;
    for_each_neighbour(a, [&](int neighbour) { joined |= neighbour == b; });
    return joined;
}

void DiscMesh::join(int h, int other) {
    if (h != none) {
        twins[h] = other;
    }
    if (other != none) {
        twins[other] = h;
    }
}

void DiscMesh::claim(int h) {
    if (h != none && (!is_border(origins[h]) || twins[h] == none)) {
        outgoings[origins[h]] = h;
    }
}

/// Makes h the edge a -> b of a triangle (a, b, c) whose other two edges meet `out_bc` and
/// `out_ca`.
void DiscMesh::set_triangle(int h, const Triangle& corners, int out_bc, int out_ca) {
    const int bc = next(h), ca = previous(h);
    origins[h] = corners[0];
    origins[bc] = corners[1];
    origins[ca] = corners[2];
    join(bc, out_bc);
    join(ca, out_ca);
    claim(h);
    claim(bc);
    claim(ca);
}

bool DiscMesh::flip(int h) {
    const int other = twins[h];
    if (other == none) {
        return false;
    }
    const int a = origin(h), b = target(h), c = apex(h), d = apex(other);
    if (c == d || are_joined(c, d)) {
        return false;
    }
    const int out_bc = twins[next(h)], out_ca = twins[previous(h)];
    const int out_ad = twins[next(other)], out_db = twins[previous(other)];
    set_triangle(h, {c, d, b}, out_db, out_bc);
    set_triangle(other, {d, c, a}, out_ca, out_ad);
    return true;
}

int DiscMesh::split(int h, const Point& position, double size) {
    const int other = twins[h];
    if (other == none) {
        return none;
    }
    const int a = origin(h), b = target(h), c = apex(h), d = apex(other);
    const int out_bc = twins[next(h)], out_ca = twins[previous(h)];
    const int out_ad = twins[next(other)], out_db = twins[previous(other)];
    const int m = point_count();
    points.push_back(position);
    sizes.push_back(size);
    outgoings.push_back(h);
    const int front = half_edge_count(), back = front + 3;
    origins.resize(origins.size() + 6, none);
    twins.resize(origins.size(), none);
    // Four triangles around m; h and `other` stay the halves that begin or end at a.
    join(front, back);
    set_triangle(h, {a, m, c}, previous(back), out_ca);
    set_triangle(other, {m, a, d}, out_ad, next(front));
    set_triangle(front, {b, m, d}, previous(other), out_db);
    set_triangle(back, {m, b, c}, out_bc, next(h));
    return m;
}

bool DiscMesh::may_collapse(int h) const {
    const int v = origin(h), u = target(h);
    if (is_border(v)) {
        return false;
    }
    int common = 0;
    for_each_neighbour(v, [&](int neighbour) { common += are_joined(neighbour, u) ? 1 : 0; });
    const auto can_lose_triangle = [&](int point) { return is_border(point) || degree(point) > 3; };
    return common == 2 && can_lose_triangle(apex(h)) && can_lose_triangle(apex(twins[h]));
}

bool DiscMesh::collapse(int h) {
    if (!may_collapse(h)) {
        return false;
    }
    const int v = origin(h), u = target(h), other = twins[h];
    const int from_u = twins[next(h)], to_c = twins[previous(h)];
    const int from_d = twins[next(other)], to_d = twins[previous(other)];
    std::vector<int> moving;
    for_each_triangle(v, [&](int edge) { moving.push_back(edge); });
    for (const int edge : moving) {
        origins[edge] = u;
    }
    for (const int side : {h, other}) {
        origins[side] = origins[next(side)] = origins[previous(side)] = none;
        twins[side] = twins[next(side)] = twins[previous(side)] = none;
    }
    outgoings[v] = none;
    join(to_c, from_u);
    join(from_d, to_d);
    for (const int edge : {to_c, from_u, from_d, to_d}) {
        claim(edge);
    }
    return true;
}

} // namespace Mesh_M::fill
