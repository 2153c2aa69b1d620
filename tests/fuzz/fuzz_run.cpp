// Turns bytes into a small sheet with holes, pinches, fins, duplicate, turned and degenerate faces
// and vertices that are nowhere, with markers on it, and looks whether its repair by every method
// keeps all promises.
#include "tests/fuzz/bytes.hpp"
#include "tests/support/promises.hpp"

#include <limits>

namespace {

using namespace KVN::toolkit;

Scan sheet(int size, float relief) {
    Scan scan;
    for (int y = 0; y <= size; ++y) {
        for (int x = 0; x <= size; ++x) {
            const float z = relief * static_cast<float>((7 * x + 3 * y + x * y) % 5);
            scan.positions.insert(scan.positions.end(),
                                  {static_cast<float>(x), static_cast<float>(y), z});
            const int v = y * (size + 1) + x;
            if (x < size && y < size) {
                for (const int corner : {v, v + 1, v + size + 2, v, v + size + 2, v + size + 1}) {
                    scan.triangles.push_back(corner);
                }
            }
        }
    }
    return scan;
}

void add_face(Scan& scan, int a, int b, int c) {
    scan.triangles.insert(scan.triangles.end(), {a, b, c});
}

void spoil(Scan& scan, fuzz::Bytes& bytes) {
    const int vertices = static_cast<int>(scan.vertex_count());
    const auto face =
        3 * static_cast<std::size_t>(bytes.below(static_cast<int>(scan.face_count())));
    const int a = scan.triangles[face], b = scan.triangles[face + 1], c = scan.triangles[face + 2];
    const int other = bytes.below(vertices);
    float* place = &scan.positions[3 * static_cast<std::size_t>(other)];
    switch (bytes.byte() % 8) {
    case 0: // a hole, and with others pinches
        scan.triangles.erase(scan.triangles.begin() + static_cast<std::ptrdiff_t>(face),
                             scan.triangles.begin() + static_cast<std::ptrdiff_t>(face) + 3);
        break;
    case 1: // duplicate
        add_face(scan, b, c, a);
        break;
    case 2: // turned over
        std::swap(scan.triangles[face], scan.triangles[face + 1]);
        break;
    case 3: // degenerate
        add_face(scan, a, b, a);
        break;
    case 4: // fin, or a sliver across the sheet
        add_face(scan, a, b, other);
        break;
    case 5: // nowhere
        place[bytes.byte() % 3] = bytes.coin() ? std::numeric_limits<float>::quiet_NaN()
                                               : std::numeric_limits<float>::infinity();
        break;
    case 6: // two vertices in one place
        std::copy_n(&scan.positions[3 * static_cast<std::size_t>(a)], 3, place);
        break;
    case 7: // up or down
        place[2] += 8.0F * (bytes.real() - 0.5F);
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int most_faults = 60;
    fuzz::Bytes bytes(data, size);
    const int edges = 5 + bytes.byte() % 8;
    Scan scan = sheet(edges, 0.3F * bytes.real());
    RepairOptions options;
    options.leave_open = bytes.coin();
    options.flat_only = bytes.coin();
    options.straight_rims = bytes.coin();
    options.size_adjustable = bytes.coin();
    if (bytes.coin()) {
        options.marker_size = 2.0F * bytes.real();
    }
    std::vector<KVN::Marker> markers;
    for (int i = bytes.byte() % 4; i >= 0; --i) {
        const auto width = static_cast<float>(edges);
        const float x = width * bytes.real(), y = width * bytes.real();
        markers.push_back(
            {x, y, bytes.real(), bytes.real() - 0.5F, 0.0F, 1.0F, 0.3F + 2.5F * bytes.real()});
    }
    for (int i = 0; i < most_faults && !bytes.empty() && scan.face_count() > 1; ++i) {
        spoil(scan, bytes);
    }
    for (const MethodInfo& method : methods()) {
        options.method = method.method;
        fuzz::expect_none(test::checked_repair(scan, markers, options).broken);
    }
    return 0;
}
