#include "toolkit_support.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/synthesis/portable_random.hpp"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <limits>
#include <tuple>

#include <sys/resource.h>

using namespace KVN::toolkit;

namespace {

bool same_bits(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), 4 * a.size()) == 0;
}

template <class T>
void put(std::string& bytes, T value, bool big_endian = false) {
    char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    if (big_endian) {
        std::reverse(raw, raw + sizeof(T));
    }
    bytes.append(raw, sizeof(T));
}

/// A binary PLY file of `scan` with foreign properties and an element that nobody knows.
template <class Coordinate>
std::string foreign_ply(const Scan& scan, bool big_endian) {
    const std::string type = sizeof(Coordinate) == 8 ? "double" : "float";
    std::string bytes = "ply\nformat ";
    bytes += big_endian ? "binary_big_endian" : "binary_little_endian";
    bytes += " 1.0\ncomment made by hand\nelement vertex " + std::to_string(scan.vertex_count()) +
             "\nproperty uchar quality\nproperty " + type + " x\nproperty " + type +
             " y\nproperty " + type + " z\nproperty float confidence\nelement face " +
             std::to_string(scan.face_count()) +
             "\nproperty uchar flag\nproperty list uchar int vertex_index\n"
             "element edge 1\nproperty int vertex1\nend_header\n";
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        put<std::uint8_t>(bytes, 7);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            put<Coordinate>(bytes, scan.positions[3 * v + axis], big_endian);
        }
        put(bytes, 0.5F, big_endian);
    }
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        put<std::uint8_t>(bytes, 1);
        put<std::uint8_t>(bytes, 3);
        for (std::size_t c = 0; c < 3; ++c) {
            put(bytes, scan.triangles[3 * f + c], big_endian);
        }
    }
    put<std::int32_t>(bytes, 1, big_endian);
    return bytes;
}

const std::string text_header = "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\n"
                                "property float y\nproperty float z\nelement face ";
const std::string text_rest = "\nproperty list uchar int vertex_indices\nend_header\n"
                              "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";

} // namespace

// STL reorders vertices by first use; the square's are in that order already.
TEST(ScanFiles, EveryFormatBringsTheBitsBack) {
    const test::Folder folder;
    const Scan scan = test::square();
    for (const char* name : {"a.ply", "a.PLY", "a.stl", "a.obj", "a.off"}) {
        write_scan(folder / name, scan);
        const Scan read = read_scan(folder / name);
        EXPECT_EQ(read.triangles, scan.triangles) << name;
        EXPECT_TRUE(same_bits(read.positions, scan.positions)) << name;
        EXPECT_EQ(read.short_faces, 0) << name;
    }
}

TEST(ScanFiles, PlyOfEitherByteOrderAndWidth) {
    const test::Folder folder;
    const Scan scan = test::square();
    const std::string files[] = {foreign_ply<float>(scan, false), foreign_ply<float>(scan, true),
                                 foreign_ply<double>(scan, false), foreign_ply<double>(scan, true)};
    for (const std::string& bytes : files) {
        const Scan read = read_scan(folder.put("a.ply", bytes));
        EXPECT_EQ(read.triangles, scan.triangles);
        EXPECT_TRUE(same_bits(read.positions, scan.positions));
    }
}

// Text with more digits than a float has is rounded once, to the nearest float.
TEST(ScanFiles, TextIsRoundedRight) {
    const test::Folder folder;
    PortableRandom random(11);
    for (const char* name : {"a.ply", "a.obj"}) {
        std::string text = "ply\nformat ascii 1.0\nelement vertex 999\nproperty float x\n"
                           "property float y\nproperty float z\nelement face 1\n"
                           "property list uchar int vertex_indices\nend_header\n";
        const bool is_ply = std::string(name) == "a.ply";
        text = is_ply ? text : "";
        std::vector<float> expected;
        for (int i = 0; i < 999; ++i) {
            text += is_ply ? "" : "v";
            for (int axis = 0; axis < 3; ++axis) {
                char digits[40];
                std::snprintf(digits, sizeof digits, " %.17g", random.normal() * 100.0);
                text += digits;
                expected.push_back(std::strtof(digits, nullptr));
            }
            text += "\n";
        }
        const Scan read = read_scan(folder.put(name, text + (is_ply ? "3 0 1 2\n" : "f 1 2 3\n")));
        EXPECT_TRUE(same_bits(read.positions, expected)) << name;
    }
}

TEST(ScanFiles, UnusedAndNotFiniteVerticesStayInPlace) {
    const test::Folder folder;
    Scan scan = test::square();
    scan.positions[3] = std::numeric_limits<float>::quiet_NaN();
    scan.positions[4] = -std::numeric_limits<float>::infinity();
    scan.positions.insert(scan.positions.begin(), {9.0F, 9.0F, 9.0F}); // used by no face
    scan.triangles = {1, 2, 3, 1, 3, 4};
    for (const char* name : {"a.ply", "a.off"}) {
        write_scan(folder / name, scan);
        const Scan read = read_scan(folder / name);
        ASSERT_EQ(read.positions.size(), scan.positions.size()) << name;
        EXPECT_EQ(read.triangles, scan.triangles) << name;
        EXPECT_TRUE(std::isnan(read.positions[6])) << name;
        EXPECT_EQ(read.positions[7], scan.positions[7]) << name;
        EXPECT_EQ(read.positions[0], 9.0F) << name;
    }
}

TEST(ScanFiles, PolygonsBecomeFansAndWhatFilesInTheWildHoldIsForgiven) {
    const test::Folder folder;
    const std::string mark = "\xEF\xBB\xBF"; // of byte order
    const std::string square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";
    const std::string off = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";
    const std::tuple<const char*, const char*, std::string> files[] = {
        {"polygons", "a.ply", text_header + "3" + text_rest + "2 0 1\n4 0 1 2 3\n1 3\n"},
        {"polygons", "a.off", "OFF # a comment\n4 3 0\n" + off + "2 0 1\n4 0 1 2 3\n1 3\n"},
        {"corners and groups", "a.obj",
         "o thing\nv 0 0 0\nv 1 0 0\nvt 0 0\nv 1 1 0\nv 0 1 0\nf 1 2\nf 1/1 2/1 3/1 -1/1\nf 4"},
        {"more normals than vertices", "a.obj",
         square +
             "vn 0 0 1\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\nf 1\nf 2\nf 1//5 2//5 3//5 4//5"},
        {"lines of blanks and mark", "a.obj",
         mark + square + " \t\n\n\r\nf 1\r\nf 2\r\nf 1 2 3 4\r\n"},
        {"tabs, comments, exponents", "a.obj",
         "mtllib .\nmtllib\nv\t0e0 0 .0#x\nv 1.0E+00 0 0 1 0 0\nv +1 1 -0\nv 0 1 0\nf 1\nf 2\n"
         "f\t1\t2\t3 4 # x"},
        {"continued", "a.obj", square + "f 1\nf 2\nf 1 2\\\n 3 \\\r\n4\n"},
        {"header and counts in a line", "a.off",
         mark + "COFF 4 3 0\r\n\n0 0 0 255 0 0 1\n1 0 0\n1 1 0\n"
                "0 1 0\n1 0\n1 0\n4 0 1 2 3 0.5 0 0"},
    };
    for (const auto& [what, name, bytes] : files) {
        SCOPED_TRACE(std::string(name) + ": " + what);
        const Scan read = read_scan(folder.put(name, bytes));
        EXPECT_EQ(read.triangles, (std::vector<std::int32_t>{0, 1, 2, 0, 2, 3}));
        EXPECT_EQ(read.positions, (std::vector<float>{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
        EXPECT_EQ(read.short_faces, 2);
    }
}

TEST(ScanFiles, StlCornersAreWeldedWhereTheyAreEqual) {
    const test::Folder folder;
    const std::string facet = "facet normal 0 0 1\nouter loop\n";
    const std::string end = "endloop\nendfacet\n";
    const Scan read = read_scan(folder.put(
        "a.stl", "solid part\n" + facet + "vertex 0 0 0\nvertex 1 0 0\nvertex 1 1 0\n" + end +
                     facet + "vertex 0 0 0\nvertex 1 1 0\nvertex 0 1.0e0 0\n" + end + facet +
                     "vertex 0 0 0\nvertex 0 0 0\nvertex 1 1 0\n" + end + "endsolid part\n"));
    EXPECT_EQ(read.vertex_count(), 4U);
    EXPECT_EQ(read.triangles, (std::vector<std::int32_t>{0, 1, 2, 0, 2, 3}));
    EXPECT_EQ(read.short_faces, 1);
}

TEST(ScanFiles, NumbersBehindCoordinatesBecomeProperties) {
    const test::Folder folder;
    using Bytes = std::vector<std::uint8_t>;
    using Floats = std::vector<float>;
    struct Row {
        const char* name;
        std::string bytes;
        std::vector<std::string> names;
        Property::Values last;
    };
    const std::string face = "3 0 1 2\n";
    const Row rows[] = {
        {"a.obj",
         "v 0 0 0 1 0 .5 # c\nv 1 0 0 0 0 0\nv 1 1 0 1 1 1\nf 1 2 3\n",
         {"red", "green", "blue"},
         Floats{0.5F, 0.0F, 1.0F}},
        {"one without.obj", "v 0 0 0 1 0 .5\nv 1 0 0\nv 1 1 0 1 1 1\nf 1 2 3\n", {}, {}},
        {"a.off",
         "COFF\n3 1 0\n0 0 0 255 0 0 1\n1 0 0 0 0 1 1\n1 1 0 9 9 9 0\n" + face,
         {"red", "green", "blue", "alpha"},
         Bytes{1, 1, 0}},
        {"both.off",
         "CNOFF 3 1 0\n0 0 0 0 0 1 7 8 9\n1 0 0 0 0 1 7 8 9\n1 1 0 0 0 1 7 8 9\n" + face,
         {"nx", "ny", "nz", "red", "green", "blue"},
         Bytes{9, 9, 9}},
        {"untold.off", "OFF\n3 1 0\n0 0 0 2 2 2\n1 0 0 2 2 2\n1 1 0 2 2 2\n" + face, {}, {}},
    };
    for (const Row& row : rows) {
        const Scan read = read_scan(folder.put(row.name, row.bytes));
        std::vector<std::string> names;
        for (const Property& property : read.vertex_properties) {
            names.push_back(property.name);
        }
        EXPECT_EQ(names, row.names) << row.name;
        if (!names.empty()) {
            EXPECT_EQ(read.vertex_properties.back().values, row.last) << row.name;
        }
    }
}

TEST(ScanFiles, FailedWriteKeepsTheOldFileAndLeavesNothing) {
    const test::Folder folder;
    Scan large;
    for (int i = 0; i < 30000; ++i) {
        large.positions.insert(large.positions.end(), {float(i), 1.0F, 2.0F});
    }
    large.triangles = {0, 1, 2};
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    auto* const old_handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const char* name : {"a.ply", "a.obj", "a.off"}) {
        folder.put(name, "old");
        const std::size_t entries = folder.entries();
        const rlimit small{100000, before.rlim_max}; // stands for a full disk
        setrlimit(RLIMIT_FSIZE, &small);
        EXPECT_THROW(write_scan(folder / name, large), SystemError) << name;
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(test::content(folder / name), "old") << name;
        EXPECT_EQ(folder.entries(), entries) << name;
    }
    std::signal(SIGXFSZ, old_handler);
}

TEST(ScanFiles, OutputThatCannotBeIsRefusedBeforehand) {
    const test::Folder folder;
    EXPECT_THROW(check_scan_output(folder / "a.xyz"), InputError);
    EXPECT_THROW(check_scan_output(folder / "missing" / "a.ply"), SystemError);
    test::fs::create_directory(folder / "dir.ply");
    EXPECT_THROW(check_scan_output(folder / "dir.ply"), InputError);
    check_scan_output(folder / "a.ply");
    EXPECT_EQ(folder.entries(), 1U);
}
