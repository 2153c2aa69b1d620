#include "toolkit_support.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"

#include <cstring>

using namespace KVN::toolkit;

namespace {

bool same(const KVN::Marker& a, const KVN::Marker& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

TEST(MarkerFiles, CsvComesInManyShapes) {
    const test::Folder folder;
    const KVN::Marker expected{1.5F, -2.0F, 3e-2F, 0.0F, 0.6F, 0.8F, 2.25F};
    const std::string files[] = {
        "x,y,z,nx,ny,nz,radius\n1.5,-2,3e-2,0,0.6,0.8,2.25\n",
        "\xEF\xBB\xBF x , y,z,nx,ny,nz,radius\r\n\r\n# a comment\r\n+1.5, -2,.03,0,.6,.8,2.25 \r\n",
        "radius,nz,ny,nx,z,y,x\n2.25,0.8,0.6,0,0.03,-2.0,1.5",
    };
    for (const std::string& text : files) {
        const auto markers = read_markers(folder.put("m.csv", text));
        ASSERT_EQ(markers.size(), 1U) << text;
        EXPECT_TRUE(same(markers[0], expected)) << text;
    }
}

TEST(MarkerFiles, JsonAsArrayOrMember) {
    const test::Folder folder;
    const std::string one = R"({"x":0.1,"y":-2,"z":3,"nx":0,"ny":0,"nz":1,"radius":2.5})";
    for (const std::string& text : {"[" + one + "," + one + "]",
                                    "{\"markers\": [" + one + "," + one + "], \"by\": \"me\"}"}) {
        const auto markers = read_markers(folder.put("m.json", text));
        ASSERT_EQ(markers.size(), 2U) << text;
        EXPECT_TRUE(same(markers[1], {0.1F, -2.0F, 3.0F, 0.0F, 0.0F, 1.0F, 2.5F}));
    }
    EXPECT_TRUE(read_markers(folder.put("m.json", "[]")).empty());
}

TEST(MarkerFiles, WrittenMarkersComeBackBitForBit) {
    const test::Folder folder;
    const std::vector<KVN::Marker> markers{
        {1.0F / 3.0F, -1e-30F, 16777217.0F, 0.1F, 0.2F, 0.3F, 1.1F},
        {-0.0F, 5e8F, 1e-45F, 1.0F, 0.0F, 0.0F, 3.4e38F}};
    write_markers(folder / "m.csv", markers);
    const auto read = read_markers(folder / "m.csv");
    ASSERT_EQ(read.size(), 2U);
    EXPECT_TRUE(same(read[0], markers[0]));
    EXPECT_TRUE(same(read[1], markers[1]));
}

TEST(MarkerFiles, BlocksAreReadInTheSameWay) {
    const test::Folder folder;
    const auto blocks = read_blocks(folder.put("b.csv", "x,y,z,radius\n1,2,3,4\n5,6,7,8\n"));
    ASSERT_EQ(blocks.size(), 2U);
    EXPECT_EQ(blocks[1].x, 5.0F);
    EXPECT_EQ(blocks[1].radius, 8.0F);
    EXPECT_EQ(
        read_blocks(folder.put("b.json", R"({"blocks":[{"x":1,"y":2,"z":3,"radius":4}]})")).size(),
        1U);
}
