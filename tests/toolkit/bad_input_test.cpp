// A corpus of bad input. Each case is given to the built command, which has to end with status 2,
// one line on standard error that names the file and the fault, nothing on standard output, and the
// old output as it was.
#include "toolkit_support.hpp"

#include "kelvane/toolkit/scan/scan_files.hpp"

#include <cstdint>
#include <cstring>
#include <ostream>
#include <vector>

namespace {

const std::string ply = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"
                        "property float y\nproperty float z\nelement face 1\n"
                        "property list uchar int vertex_indices\nend_header\n";
const std::string corners = "0 0 0\n1 0 0\n0 1 0\n";

std::string binary_ply(std::uint64_t vertices, std::uint64_t faces, const std::string& body) {
    return "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(vertices) +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
           std::to_string(faces) + "\nproperty list int int vertex_indices\nend_header\n" + body;
}

std::string words(const std::vector<std::int32_t>& values) {
    std::string bytes(4 * values.size(), '\0');
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

struct BadCase {
    std::string file; ///< its extension says whether it is a scan or a list of markers
    std::string content;
    std::string message; ///< part of the line, behind the name of the file
};

void PrintTo(const BadCase& bad, std::ostream* out) {
    *out << bad.file << ": " << bad.message;
}

std::vector<BadCase> bad_scans() {
    const std::vector<std::int32_t> zeros(9, 0);
    return {
        {"empty.ply", "", "is empty"},
        {"other.ply", "solid x\n", "does not begin with the line 'ply'"},
        {"noend.ply", "ply\nformat ascii 1.0\n", "the file ends within the header"},
        {"format.ply", "ply\nformat ebcdic 1.0\n", "line 2: 'ebcdic' is no format"},
        {"type.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty quad x\n",
         "line 4: 'quad' is no type"},
        {"noxyz.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nend_header\n0\n",
         "no coordinate y"},
        {"novert.ply", binary_ply(0, 1, words({3, 0, 0, 0})), "has no vertices"},
        {"noface.ply", binary_ply(3, 0, words(zeros)), "has no faces"},
        {"onlyshort.ply", ply + corners + "2 0 1\n", "has no faces"},
        {"greedy.ply", binary_ply(1000000000000, 1, words(zeros)),
         "promises 1000000000000 vertices"},
        {"greedy2.ply", binary_ply(3, 4000000000, words(zeros)), "promises 4000000000 records"},
        {"list.ply", binary_ply(3, 1, words(zeros) + words({2000000000, 0, 1, 2})),
         "face 0 has a list of 2000000000 entries"},
        {"neglist.ply", binary_ply(3, 1, words(zeros) + words({-3, 0, 1, 2})), "negative length"},
        {"cut.ply", binary_ply(3, 2, words(zeros) + words({3, 0, 1, 2, 3, 0})),
         "face 1 has a list of 3 entries"},
        {"cuttext.ply", ply + "0.000 0.000 0.000\n1 0 0\n3 0 1\n", "ends before face 0"},
        {"text.ply", ply + "0 0 0\n1 zero 0\n0 1 0\n3 0 1 2\n", "line 11: 'zero' is no number"},
        {"few.ply", ply + "0 0 0\n1 0\n0 1 0\n3 0 1 2\n", "line 11: the line ends"},
        {"many.ply", ply + "0 0 0\n1 0 0 5\n0 1 0\n3 0 1 2\n", "line 11: '5' is more"},
        {"index.ply", ply + corners + "3 0 1 3\n", "face 0 names vertex 3, but there are only 3"},
        {"negative.ply", ply + corners + "3 0 -1 2\n", "face 0 names vertex -1"},
        {"index.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n", "line 4: the face names vertex 4"},
        {"zero.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 0 1 2\n", "line 4: '0' is no corner"},
        {"back.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf -4 1 2\n", "line 4: the face names a vertex"},
        {"text.obj", "v 0 0 0\nv 1 x 0\n", "line 2: 'x' is no number"},
        {"noface.obj", "v 0 0 0\n", "has no faces"},
        {"far.obj", "v 0 0 0\nv 1 0 0\nf 1 2 \\\n4294967297\n",
         "line 3: the face names vertex 4294967297"},
        {"continued.obj", "v 0 0 \\\n", "line 1: the line ends"},
        {"many.ply", binary_ply(3000000000, 1, words(zeros)), "more than can be told apart"},
        {"binaryindex.ply", binary_ply(3, 1, words(zeros) + words({3, 0, 1, 3})),
         "face 0 names vertex 3"},
        {"nan.stl", std::string(80, 'x') + words({1}) + std::string(50, '\377'),
         "triangle 0 has a coordinate that is not finite"},
        {"cut.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\n", "is cut short"},
        {"two.stl",
         "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
         "endloop\nendfacet\nendsolid\n",
         "line 7: the facet has fewer than three vertices"},
        {"greedy.stl", std::string(80, 'x') + words({2}) + std::string(50, '\0'),
         "promises 2 triangles, but holds only 1"},
        {"tiny.stl", "x", "is no STL file"},
        {"counts.off", "OFF\n1000000000 1 0\n0 0 0\n", "line 2: the number of vertices"},
        {"index.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n", "face 0 names vertex 7"},
        {"cut.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n", "ends before face 0"},
        {"scan.xyz", "1 2 3\n", "not a known kind of mesh file"},
    };
}

std::vector<BadCase> bad_markers() {
    const std::string header = "x,y,z,nx,ny,nz,radius\n";
    return {
        {"empty.csv", "", "is empty"},
        {"blank.csv", "\n# nothing\n", "has no header line"},
        {"missing.csv", "x,y,z,nx,ny,radius\n", "line 1: the column 'nz' is missing"},
        {"unknown.csv", "x,y,z,nx,ny,nz,r\n", "line 1: 'r' is no column"},
        {"twice.csv", "x,y,z,nx,ny,nz,radius,x\n", "line 1: the column 'x' stands there twice"},
        {"few.csv", header + "1,2,3,0,0,1\n", "line 2: has 6 fields, where 7 belong"},
        {"many.csv", header + "\n1,2,3,0,0,1,2,\n", "line 3: has 8 fields"},
        {"text.csv", header + "1,two,3,0,0,1,2\n", "line 2: y is no number: 'two'"},
        {"comma.csv", header + "1;2;3;0;0;1;2\n", "line 2: has 1 fields"},
        {"nan.csv", header + "1,2,nan,0,0,1,2\n", "line 2: z is not finite"},
        {"inf.csv", header + "1,2,3,0,0,1,inf\n", "line 2: radius is not finite"},
        {"huge.csv", header + "1e60,2,3,0,0,1,2\n", "line 2: x is no number"},
        {"zero.csv", header + "1,2,3,0,0,1,0\n", "line 2: the radius, 0, is not above 0"},
        {"minus.csv", header + "1,2,3,0,0,1,-2\n", "line 2: the radius, -2, is not above 0"},
        {"normal.csv", header + "1,2,3,0,0,0,2\n", "line 2: the normal has length 0"},
        {"broken.json", "[{\"x\": 1,", "is no JSON: parse error at line 1, column 10"},
        {"deep.json", std::string(110000, '['), "is nested more than 50 levels deep"},
        {"scalar.json", "3", "holds neither an array"},
        {"string.json", R"([{"x":"1","y":2,"z":3,"nx":0,"ny":0,"nz":1,"radius":2}])",
         "record 1: x is missing or no number"},
        {"member.json", R"({"markers":[{"x":1,"y":2,"z":3,"nx":0,"ny":0,"nz":1}]})",
         "record 1: radius is missing"},
        {"huge.json", R"([{"x":1e60,"y":2,"z":3,"nx":0,"ny":0,"nz":1,"radius":2}])",
         "record 1: x is not finite"},
    };
}

void expect_refused(const test::Folder& folder, const std::string& arguments,
                    const std::string& message) {
    folder.put("out.ply", "old");
    const std::size_t entries = folder.entries();
    const test::CommandResult result = test::run_kelvane(folder, arguments);
    EXPECT_EQ(result.status, 2) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("kelvane: ", 0), 0U) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "one line: " << result.err;
    EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
    EXPECT_EQ(test::content(folder / "out.ply"), "old");
    EXPECT_EQ(folder.entries(), entries);
}

class BadScan : public testing::TestWithParam<BadCase> {};
class BadMarkers : public testing::TestWithParam<BadCase> {};

} // namespace

TEST_P(BadScan, IsRefusedInOneLine) {
    const test::Folder folder;
    const BadCase& bad = GetParam();
    folder.put(bad.file, bad.content);
    folder.put("markers.csv", "x,y,z,nx,ny,nz,radius\n0,0,0,0,0,1,1\n");
    expect_refused(folder, "repair " + bad.file + " --markers markers.csv --output out.ply --quiet",
                   bad.message);
}

TEST_P(BadMarkers, AreRefusedInOneLine) {
    const test::Folder folder;
    const BadCase& bad = GetParam();
    folder.put(bad.file, bad.content);
    KVN::toolkit::write_scan(folder / "scan.ply", test::square());
    expect_refused(folder, "repair scan.ply --markers " + bad.file + " --output out.ply",
                   bad.file + ": " + bad.message);
}

INSTANTIATE_TEST_SUITE_P(Corpus, BadScan, testing::ValuesIn(bad_scans()));
INSTANTIATE_TEST_SUITE_P(Corpus, BadMarkers, testing::ValuesIn(bad_markers()));

TEST(BadUsage, IsRefusedInOneLine) {
    const test::Folder folder;
    folder.put("good.csv", "x,y,z,nx,ny,nz,radius\n0,0,0,0,0,1,1\n");
    folder.put("blocks.csv", "x,y,z,radius\n0,0,0,-1\n");
    test::fs::create_directory(folder / "folder.ply");
    KVN::toolkit::write_scan(folder / "scan.ply", test::square());
    const std::string run = "repair scan.ply --markers good.csv --output out.ply ";
    const std::pair<std::string, std::string> cases[] = {
        {"", "A subcommand is required"},
        {"mend scan.ply", "subcommand is required"},
        {"repair scan.ply", "repair wants --output"},
        {"info missing.ply", "missing.ply: cannot be read: No such file"},
        {"info folder.ply", "folder.ply: cannot be read: Is a directory"},
        {run + "--method best", "--method"},
        {run + "--threads -1", "--threads"},
        {run + "--threads 1.5", "--threads"},
        {run + "--marker-size=-1", "the marker size must be"},
        {run + "--marker-size nan", "the marker size must be"},
        {run + "--resolution 0", "the resolution must be"},
        {run + "--report folder.ply", "folder.ply: cannot be written: it is a directory"},
        {run + "--report ./out.ply", "would overwrite another file"},
        {run + "--output b.ply", "--output"},
        {"repair scan.ply --markers good.csv --output folder.ply", "it is a directory"},
        {"repair scan.ply --markers good.csv --output out.doc", "not a known kind of mesh file"},
        {"cut scan.ply --blocks blocks.csv --output out.ply", "blocks.csv: line 2: the radius"},
    };
    for (const auto& [arguments, message] : cases) {
        SCOPED_TRACE(arguments);
        expect_refused(folder, arguments, message);
    }
}
