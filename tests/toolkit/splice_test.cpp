// A splice in arrays and in files of every kind: the file must read as the arrays do, and what the
// splice does not touch must be the same bytes.
#include "toolkit_support.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>

using namespace KVN::toolkit;

namespace {

constexpr int side = 9; // vertices along a side of the grid

/// Something binary or text with a record per vertex and per face.
struct FileKind {
    std::string extension;
    std::function<std::string(const Scan&)> make;
    bool renumbers = true; ///< STL names no vertices
};

template <class T>
void put(std::string& bytes, T value, bool big) {
    char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    if (big) {
        std::reverse(raw, raw + sizeof(T));
    }
    bytes.append(raw, sizeof(T));
}

/// A wavy grid whose triangles turn into each other's order once, so that numbers differ.
Scan grid() {
    Scan scan;
    for (int i = 0; i < side * side; ++i) {
        const float x = 0.1F * static_cast<float>(i % side);
        const float y = 0.1F * static_cast<float>(i / side);
        scan.positions.insert(scan.positions.end(), {x, y, x * y / 3.0F});
    }
    for (int i = 0; i + side + 1 < side * side; ++i) {
        if (i % side != side - 1) {
            scan.triangles.insert(scan.triangles.end(), {i, i + 1, i + side + 1});
            scan.triangles.insert(scan.triangles.end(), {i, i + side + 1, i + side});
        }
    }
    return scan;
}

/// Takes the vertex in the middle out and puts two new ones with three faces in.
Splice middle_splice() {
    Splice splice;
    const std::uint32_t gone = side * side / 2;
    splice.vertices_gone = {gone};
    splice.faces_gone = {0, 60}; // none of these at the middle, whose faces go with it
    splice.positions = {0.45F, 0.4F, 1.0F / 3.0F, 0.35F, 0.4F, 0.1F};
    splice.faces = {{gone - 1, gone + side, side * side},
                    {gone - 1, side * side, side * side + 1},
                    {0, side * side + 1, gone + 1}};
    splice.origin_begin = {0, 2, 3};
    splice.origin_vertex = {gone - 1, gone + 1, gone + side};
    splice.origin_weight = {0.25F, 0.75F, 1.0F};
    splice.face_origin = {5, 5, 100};
    splice.normals = {0.0F, 0.0F, 1.0F, 0.6F, 0.8F, 0.0F};
    return splice;
}

/// The same splice for a scan with other numbers of vertices, and so many of them.
Splice renamed(Splice splice, const std::vector<std::uint32_t>& now, std::uint64_t count) {
    splice.vertices_gone = {now[splice.vertices_gone[0]]};
    for (std::uint32_t& origin : splice.origin_vertex) {
        origin = now[origin];
    }
    for (auto& face : splice.faces) {
        for (std::uint32_t& corner : face) {
            corner = corner < now.size() ? now[corner] : std::uint32_t(corner - now.size() + count);
        }
    }
    return splice;
}

template <class Coordinate, class Index>
std::string ply_of(const Scan& scan, bool big, bool polygons) {
    std::string bytes = "ply\nformat binary_";
    bytes += big ? "big" : "little";
    bytes += "_endian 1.0\ncomment by hand  \nobj_info 7\nelement camera 1\nproperty short view\n"
             "element vertex " +
             std::to_string(scan.vertex_count()) + "\nproperty uchar red\n";
    for (const char* axis : {"x", "y", "z", "nx", "ny", "nz"}) {
        const bool wide = sizeof(Coordinate) == 8 && axis[1] == 0;
        bytes += std::string("property ") + (wide ? "double " : "float ") + axis + "\n";
    }
    bytes += "element face " + std::to_string(scan.face_count() + (polygons ? 1 : 0)) +
             "\nproperty list uchar ";
    bytes += sizeof(Index) == 2 ? "ushort" : "int";
    bytes += " vertex_indices\nproperty int tag\nelement edge 2\nproperty int vertex1\n"
             "property int vertex2\nend_header\n";
    put<std::int16_t>(bytes, 77, big);
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        put(bytes, static_cast<std::uint8_t>(3 * v), big);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            put(bytes, static_cast<Coordinate>(scan.positions[3 * v + axis]), big);
        }
        for (const float n : {0.0F, 0.6F, 0.8F}) {
            put(bytes, n, big);
        }
    }
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        put<std::uint8_t>(bytes, 3, big);
        for (std::size_t c = 0; c < 3; ++c) {
            put(bytes, static_cast<Index>(scan.triangles[3 * f + c]), big);
        }
        put(bytes, static_cast<std::int32_t>(1000 + f), big);
    }
    if (polygons) { // two corners, one of them gone
        put<std::uint8_t>(bytes, 2, big);
        put(bytes, static_cast<Index>(side * side / 2), big);
        put(bytes, static_cast<Index>(1), big);
        put<std::int32_t>(bytes, 1, big);
    }
    for (const std::int32_t corner : {0, side * side - 1, 3, side * side / 2}) {
        put(bytes, corner, big); // the second edge goes
    }
    return bytes + "behind";
}

std::string text_of(const Scan& scan, const std::string& head, const std::string& vertex,
                    const std::string& vertex_end, const std::string& face, int first) {
    std::string text = head;
    for (std::size_t v = 0; v < scan.vertex_count(); ++v) {
        char line[96];
        std::snprintf(line, sizeof line, "%s%.9g %.9g\t%.9g%s", vertex.c_str(),
                      double(scan.positions[3 * v]), double(scan.positions[3 * v + 1]),
                      double(scan.positions[3 * v + 2]), vertex_end.c_str());
        text += line;
    }
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        text += face;
        for (std::size_t c = 0; c < 3; ++c) {
            text += std::to_string(scan.triangles[3 * f + c] + first) + (c < 2 ? "  " : "\n");
        }
    }
    return text;
}

std::string counts(const Scan& scan) {
    return std::to_string(scan.vertex_count()) + " " + std::to_string(scan.face_count());
}

std::string ascii_stl_of(const Scan& scan) {
    std::string text = "\xEF\xBB\xBFsolid grid\n";
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        text += " facet normal 0 0 1\n outer loop\n";
        for (std::size_t c = 0; c < 3; ++c) {
            const float* p = &scan.positions[3 * std::size_t(scan.triangles[3 * f + c])];
            char line[96];
            std::snprintf(line, sizeof line, "  vertex %.9g %.9g %.9g\n", double(p[0]),
                          double(p[1]), double(p[2]));
            text += line;
        }
        text += " endloop\n endfacet\n";
    }
    return text + "endsolid grid\n\n";
}

/// The last facet has no area and stands at the vertex that middle_splice() takes out.
std::string binary_stl_of(const Scan& scan) {
    std::vector<std::int32_t> triangles = scan.triangles;
    triangles.insert(triangles.end(), {side * side / 2, 1, 1});
    std::string bytes = "not solid" + std::string(71, '.');
    put(bytes, static_cast<std::uint32_t>(triangles.size() / 3), false);
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        bytes += std::string(12, 'n'); // kept whatever it says
        for (std::size_t c = 0; c < 9; ++c) {
            put(bytes, scan.positions[3 * std::size_t(triangles[i + c / 3]) + c % 3], false);
        }
        put(bytes, static_cast<std::uint16_t>(i), false);
    }
    return bytes;
}

const std::map<std::string, FileKind>& kinds() {
    static const std::map<std::string, FileKind> all = {
        {"ply_little", {".ply", [](const Scan& s) { return ply_of<float, int>(s, false, false); }}},
        {"ply_big", {".ply", [](const Scan& s) { return ply_of<double, int>(s, true, false); }}},
        {"ply_polygons",
         {".ply", [](const Scan& s) { return ply_of<double, std::uint16_t>(s, false, true); }}},
        {"ply_text",
         {".ply",
          [](const Scan& s) {
              return text_of(s,
                             "ply\nformat ascii 1.0\ncomment kept\nelement vertex " +
                                 std::to_string(s.vertex_count()) +
                                 "\nproperty float x\nproperty float y\nproperty double z\n"
                                 "property uchar red\nelement face " +
                                 std::to_string(s.face_count()) +
                                 "\nproperty list uchar int vertex_index\nend_header\n",
                             "", " 200\n", "3 ", 0);
          }}},
        {"obj",
         {".obj",
          [](const Scan& s) {
              return text_of(s, "# made by hand\nmtllib a.mtl\nvt 0 0\n", "v ", " 0.5 0.25 1\n",
                             "f ", 1);
          }}},
        {"obj_crlf",
         {".obj",
          [](const Scan& s) { return text_of(s, "\r\n", "v ", " # c\r\n", "f \\\r\n", 1); }}},
        {"off",
         {".off",
          [](const Scan& s) {
              return text_of(s, "COFF # kept\n" + counts(s) + " 0\n", "", " 255 0 9 255\n", "3 ",
                             0);
          }}},
        {"stl", {".stl", binary_stl_of, false}},
        {"stl_text", {".stl", ascii_stl_of, false}},
    };
    return all;
}

} // namespace

class SplicedKind : public testing::TestWithParam<std::string> {};

TEST_P(SplicedKind, ReadsAsTheSplicedArrays) {
    const test::Folder folder;
    const FileKind& kind = kinds().at(GetParam());
    const test::fs::path file = folder.put("in" + kind.extension, kind.make(grid()));
    const auto scan = open_scan(file);
    Scan arrays = scan->to_scan();
    Splice splice = middle_splice();
    Splice for_arrays = splice;
    if (!kind.renumbers) { // numbers are those of first use in STL: find the vertices by place
        std::vector<std::uint32_t> in_arrays(side * side);
        std::vector<std::uint32_t> in_file(side * side);
        for (std::size_t i = 0; i < arrays.triangles.size(); ++i) {
            const auto v = std::size_t(grid().triangles[i]);
            in_arrays[v] = std::uint32_t(arrays.triangles[i]);
            in_file[v] = scan->loose_corners() ? std::uint32_t(i) : in_arrays[v];
        }
        splice = renamed(splice, in_file, scan->vertex_count());
        for_arrays = renamed(for_arrays, in_arrays, arrays.vertex_count());
    }
    EXPECT_TRUE(write_spliced(*scan, splice, folder / ("out" + kind.extension)).empty());
    const std::string other = kind.extension == ".off" ? "other.obj" : "other.off";
    write_spliced(*scan, splice, folder / other);
    apply_splice(arrays, for_arrays);
    EXPECT_EQ(read_scan(folder / other).triangles, arrays.triangles);
    const Scan read = read_scan(folder / ("out" + kind.extension));
    EXPECT_EQ(read.short_faces, 0);
    ASSERT_EQ(read.face_count(), arrays.face_count());
    if (kind.renumbers) {
        EXPECT_EQ(read.positions, arrays.positions);
        EXPECT_EQ(read.triangles, arrays.triangles);
    }
    for (std::size_t i = 0; i < arrays.triangles.size(); ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            ASSERT_EQ(read.positions[3 * std::size_t(read.triangles[i]) + axis],
                      arrays.positions[3 * std::size_t(arrays.triangles[i]) + axis]);
        }
    }
    for (const auto& properties : {&Scan::vertex_properties, &Scan::face_properties}) {
        ASSERT_EQ((read.*properties).size(), (arrays.*properties).size());
        for (std::size_t p = 0; p < (read.*properties).size(); ++p) {
            EXPECT_EQ((read.*properties)[p].values, (arrays.*properties)[p].values)
                << (read.*properties)[p].name;
        }
    }
}

// The other way round: what was spliced in is taken out again, which must bring the bytes of all
// records back that the first splice left alone.
TEST_P(SplicedKind, KeepsTheBytesOfWhatItLeavesAlone) {
    const test::Folder folder;
    const FileKind& kind = kinds().at(GetParam());
    const std::string before = kind.make(grid());
    const test::fs::path file = folder.put("in" + kind.extension, before);
    write_spliced(*open_scan(file), {}, folder / ("same" + kind.extension));
    EXPECT_EQ(test::content(folder / ("same" + kind.extension)), before);

    Splice more; // adds a face and a vertex
    more.positions = {0.5F, 0.5F, 7.0F};
    more.faces = {{0, 1, std::uint32_t(open_scan(file)->vertex_count())}};
    write_spliced(*open_scan(file), more, folder / ("more" + kind.extension));
    const auto larger = open_scan(folder / ("more" + kind.extension));
    EXPECT_EQ(larger->face_count(), open_scan(file)->face_count() + 1);
    Splice less;
    less.vertices_gone = {std::uint32_t(larger->vertex_count() - 1)};
    write_spliced(*larger, less, folder / ("again" + kind.extension));
    EXPECT_EQ(test::content(folder / ("again" + kind.extension)), before);
}

// What belongs to a record goes with it and what names it follows, written out by hand: groups and
// materials, corners counted from the end, edges, normals, colours; the last line lacks its end.
TEST(SplicedText, CarriesWhatBelongsToTheRecords) {
    Splice splice;
    splice.vertices_gone = {2};
    splice.faces_gone = {0};
    splice.positions = {0.5F, 0.5F, 1.0F};
    splice.faces = {{0, 1, 5}, {1, 3, 5}};
    splice.origin_begin = {0, 2};
    splice.origin_vertex = {0, 1};
    splice.origin_weight = {0.5F, 0.5F};
    splice.face_origin = {0, 1};
    struct Row {
        const char* name;
        std::string before;
        std::string after;
    };
    const std::string head = "ply\nformat ascii 1.0\nelement vertex ";
    const std::string properties = "\nproperty float nx\nproperty float ny\nproperty float nz\n"
                                   "property double x\nproperty double y\nproperty double z\n"
                                   "property list uchar int ids\nelement face ";
    const std::string rest = "\nproperty list uchar int vertex_indices\nproperty uchar tag\n"
                             "element edge ";
    const std::string end = "\nproperty int vertex1\nproperty int vertex2\nend_header\n";
    const Row rows[] = {
        {"a.obj",
         "o part\nv 0 0 0 0 0 1\nv 1 0 0 1 1 1\nv 5 5 5\nv 1 1 0 1 1 1\nv 0 1 0 0 0 0\nvt 0 0\n"
         "g a\nusemtl red\nf 1/1 2/1 4/1\ng b\nf -5/1 -2//7 -1\nf 2 3 4\nl 1 3\nl 4 5\np -1",
         "o part\nv 0 0 0 0 0 1\nv 1 0 0 1 1 1\nv 1 1 0 1 1 1\nv 0 1 0 0 0 0\nvt 0 0\n"
         "g a\nusemtl red\ng b\nf -4/1 -2//7 -1\nl 3 4\np -1\n"
         "v 0.5 0.5 1 0.5 0.5 1\ng a\nf 1 2 5\ng b\nf 2 3 5\n"},
        {"a.ply",
         head + "5" + properties + "3" + rest + "2" + end +
             "1 0 0 0 0 0 1 9\n0 1 0 0.10 0 0 0\n0 0 1 5 5 5 0\n0 0 1 1 1 0 0\n0 0 1 0 1 0 0\n"
             "3 0 1 3 7\n3 0 3 4 8\n3 1 2 3 9\n0 4\n2 1",
         head + "5" + properties + "3" + rest + "1" + end +
             "1 0 0 0 0 0 1 9\n0 1 0 0.10 0 0 0\n0 0 1 1 1 0 0\n0 0 1 0 1 0 0\n"
             "0.70710677 0.70710677 0 0.5 0.5 1 1 9\n3 0 2 3 8\n3 0 1 4 7\n3 1 2 4 8\n0 3\n"},
        {"a.off",
         "NCOFF\n5 3 0\n0 0 0 1 0 0 0 0 10 255\n1 0 0 0 1 0 10 1 20 255\n\n5 5 5\n1 1 0 0 0 1\n"
         "0 1 0\n3 0 1 3 7\n3 0 3 4 # c\n3 1 2 3",
         "NCOFF\n5 3 0\n0 0 0 1 0 0 0 0 10 255\n1 0 0 0 1 0 10 1 20 255\n1 1 0 0 0 1\n0 1 0\n"
         "0.5 0.5 1 0.70710677 0.70710677 0 5 1 15 255\n3 0 2 3 # c\n3 0 1 4 7\n3 1 2 4\n"},
    };
    const test::Folder folder;
    for (const Row& row : rows) {
        const auto scan = open_scan(folder.put(row.name, row.before));
        write_spliced(*scan, splice, folder / row.name); // over itself
        EXPECT_EQ(test::content(folder / row.name), row.after) << row.name;
    }
}

TEST(SplicedFile, AnotherFormatSaysWhatItCannotKeep) {
    const test::Folder folder;
    const auto scan = open_scan(folder.put("a.ply", kinds().at("ply_polygons").make(grid())));
    EXPECT_EQ(write_spliced(*scan, middle_splice(), folder / "a.off").size(), 5U);
    Scan expected = scan->to_scan();
    apply_splice(expected, middle_splice());
    EXPECT_EQ(read_scan(folder / "a.off").triangles, expected.triangles);
    const auto stl = open_scan(folder.put("a.stl", kinds().at("stl_text").make(grid())));
    EXPECT_EQ(write_spliced(*stl, {}, folder / "b.ply").size(), 1U);
}

TEST(SplicedFile, RefusesWhatDoesNotFit) {
    const test::Folder folder;
    const Splice good = middle_splice();
    Scan scan = grid();
    const std::function<void(Splice&)> faults[] = {
        [](Splice& s) {
            s.vertices_gone = {2, 1};
        },
        [](Splice& s) { s.vertices_gone = {side * side}; },
        [](Splice& s) { s.faces_gone = {1000}; },
        [](Splice& s) { s.faces[0][0] = s.vertices_gone[0]; },
        [](Splice& s) { s.faces[0][0] = side * side + 2; },
        [](Splice& s) {
            s.origin_begin = {0, 3, 2};
        },
        [](Splice& s) { s.origin_vertex[0] = side * side; },
        [](Splice& s) { s.face_origin.pop_back(); },
        [](Splice& s) { s.normals = {0.0F}; },
    };
    for (const auto& fault : faults) {
        Splice bad = good;
        fault(bad);
        EXPECT_THROW(apply_splice(scan, bad), std::invalid_argument);
    }
    EXPECT_EQ(scan.positions, grid().positions);
    std::string bytes = kinds().at("ply_little").make(grid());
    const auto open = open_scan(folder.put("a.ply", bytes));
    test::fs::resize_file(folder / "a.ply", bytes.size() / 2); // by somebody else, meanwhile
    EXPECT_THROW(write_spliced(*open, good, folder / "b.ply"), InputError);
    EXPECT_FALSE(test::fs::exists(folder / "b.ply"));
}

INSTANTIATE_TEST_SUITE_P(Kinds, SplicedKind,
                         testing::Values("ply_little", "ply_big", "ply_polygons", "ply_text", "obj",
                                         "obj_crlf", "off", "stl", "stl_text"),
                         [](const auto& info) { return info.param; });
