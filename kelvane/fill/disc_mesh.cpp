#include "kelvane/fill/disc_mesh.hpp"

#include <algorithm>

namespace Mesh_M::fill {
namespace {

/// A half-edge filed under its ends in ascending order.
struct EdgeRecord {
    int low, high, halfEdge;

    bool operator<(const EdgeRecord& other) const {
        return low != other.low     ? low < other.low
               : high != other.high ? high < other.high
                                    : halfEdge < other.halfEdge;
    }
};

} // namespace

bool DiscMesh::assign(const Patch& patch) {
    border = patch.borderCount;
    points = patch.points;
    sizes.assign(points.size(), 0.0);
    origins.clear();
    for (const Triangle& triangle : patch.triangles) {
        for (int i = 0; i < 3; ++i) {
            const int corner = triangle[i];
            if (corner < 0 || corner >= pointCount() || corner == triangle[(i + 1) % 3]) {
                return false;
            }
            origins.push_back(corner);
        }
    }
    const int triangleCount = static_cast<int>(patch.triangles.size());
    // Euler characteristic of a disc with all its border points: F = 2 V - 2 - k.
    return border >= 3 && border <= pointCount() &&
           triangleCount == 2 * pointCount() - 2 - border && pairHalfEdges() && hasSingleFans() &&
           isConnected();
}

bool DiscMesh::pairHalfEdges() {
    std::vector<EdgeRecord> edges(origins.size());
    for (int h = 0; h < halfEdgeCount(); ++h) {
        edges[h] = {std::min(origin(h), target(h)), std::max(origin(h), target(h)), h};
    }
    std::sort(edges.begin(), edges.end());
    twins.assign(origins.size(), none);
    outgoings.assign(points.size(), none);
    int loose = 0;
    for (std::size_t i = 0; i < edges.size();) {
        std::size_t end = i + 1;
        while (end < edges.size() && edges[end].low == edges[i].low &&
               edges[end].high == edges[i].high) {
            ++end;
        }
        const int h = edges[i].halfEdge;
        if (end - i == 2 && origin(h) != origin(edges[i + 1].halfEdge)) {
            join(h, edges[i + 1].halfEdge);
        } else if (end - i == 1 && isBorder(origin(h)) && target(h) == (origin(h) + 1) % border) {
            outgoings[origin(h)] = h;
            ++loose;
        } else {
            return false;
        }
        i = end;
    }
    for (int h = 0; h < halfEdgeCount(); ++h) {
        if (outgoings[origin(h)] == none) {
            outgoings[origin(h)] = h;
        }
    }
    return loose == border &&
           std::find(outgoings.begin(), outgoings.end(), none) == outgoings.end();
}

/// Whether the triangles at each point form one fan: then what a walk meets there is all there is.
bool DiscMesh::hasSingleFans() const {
    int met = 0;
    for (int point = 0; point < pointCount(); ++point) {
        forEachTriangle(point, [&](int) { ++met; });
    }
    return met == halfEdgeCount();
}

bool DiscMesh::isConnected() const {
    std::vector<char> reached(points.size(), 0);
    std::vector<int> open{0};
    reached[0] = 1;
    std::size_t count = 0;
    while (!open.empty()) {
        const int point = open.back();
        open.pop_back();
        ++count;
        forEachNeighbour(point, [&](int neighbour) {
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
    for (int point = 0; point < pointCount(); ++point) {
        if (isAlive(point)) {
            numbers[point] = static_cast<int>(patch.points.size());
            patch.points.push_back(points[point]);
        }
    }
    for (int h = 0; h < halfEdgeCount(); h += 3) {
        if (isUsed(h)) {
            patch.triangles.push_back(
                {numbers[origins[h]], numbers[origins[h + 1]], numbers[origins[h + 2]]});
        }
    }
    return patch;
}

int DiscMesh::degree(int point) const {
    int count = 0;
    forEachNeighbour(point, [&](int) { ++count; });
    return count;
}

bool DiscMesh::areJoined(int a, int b) const {
    bool joined = false;
    forEachNeighbour(a, [&](int neighbour) { joined |= neighbour == b; });
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
    if (h != none && (!isBorder(origins[h]) || twins[h] == none)) {
        outgoings[origins[h]] = h;
    }
}

/// Makes h the edge a -> b of a triangle (a, b, c) whose other two edges meet `outBc` and `outCa`.
void DiscMesh::setTriangle(int h, const Triangle& corners, int outBc, int outCa) {
    const int bc = next(h), ca = previous(h);
    origins[h] = corners[0];
    origins[bc] = corners[1];
    origins[ca] = corners[2];
    join(bc, outBc);
    join(ca, outCa);
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
    if (c == d || areJoined(c, d)) {
        return false;
    }
    const int outBc = twins[next(h)], outCa = twins[previous(h)];
    const int outAd = twins[next(other)], outDb = twins[previous(other)];
    setTriangle(h, {c, d, b}, outDb, outBc);
    setTriangle(other, {d, c, a}, outCa, outAd);
    return true;
}

int DiscMesh::split(int h, const Point& position, double size) {
    const int other = twins[h];
    if (other == none) {
        return none;
    }
    const int a = origin(h), b = target(h), c = apex(h), d = apex(other);
    const int outBc = twins[next(h)], outCa = twins[previous(h)];
    const int outAd = twins[next(other)], outDb = twins[previous(other)];
    const int m = pointCount();
    points.push_back(position);
    sizes.push_back(size);
    outgoings.push_back(h);
    const int front = halfEdgeCount(), back = front + 3;
    origins.resize(origins.size() + 6, none);
    twins.resize(origins.size(), none);
    // Four triangles around m; h and `other` stay the halves that begin or end at a.
    join(front, back);
    setTriangle(h, {a, m, c}, previous(back), outCa);
    setTriangle(other, {m, a, d}, outAd, next(front));
    setTriangle(front, {b, m, d}, previous(other), outDb);
    setTriangle(back, {m, b, c}, outBc, next(h));
    return m;
}

bool DiscMesh::mayCollapse(int h) const {
    const int v = origin(h), u = target(h);
    if (isBorder(v)) {
        return false;
    }
    int common = 0;
    forEachNeighbour(v, [&](int neighbour) { common += areJoined(neighbour, u) ? 1 : 0; });
    const auto canLoseTriangle = [&](int point) { return isBorder(point) || degree(point) > 3; };
    return common == 2 && canLoseTriangle(apex(h)) && canLoseTriangle(apex(twins[h]));
}

bool DiscMesh::collapse(int h) {
    if (!mayCollapse(h)) {
        return false;
    }
    const int v = origin(h), u = target(h), other = twins[h];
    const int fromU = twins[next(h)], toC = twins[previous(h)];
    const int fromD = twins[next(other)], toD = twins[previous(other)];
    std::vector<int> moving;
    forEachTriangle(v, [&](int edge) { moving.push_back(edge); });
    for (const int edge : moving) {
        origins[edge] = u;
    }
    for (const int side : {h, other}) {
        origins[side] = origins[next(side)] = origins[previous(side)] = none;
        twins[side] = twins[next(side)] = twins[previous(side)] = none;
    }
    outgoings[v] = none;
    join(toC, fromU);
    join(fromD, toD);
    for (const int edge : {toC, fromU, fromD, toD}) {
        claim(edge);
    }
    return true;
}

} // namespace Mesh_M::fill
