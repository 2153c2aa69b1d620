// The command from end to end.
#include "toolkit_support.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <nlohmann/json.hpp>

using namespace KVN::toolkit;

namespace {

/// A folder with a scan that has one marker on it, and that marker in markers.csv.
struct Command : testing::Test {
    test::Folder folder;

    void SetUp() override {
        DemoOptions options;
        options.width = options.depth = 40.0;
        options.inside = 1;
        options.on_rim = 0;
        options.overlapping = false;
        const SyntheticScan scan = make_demo_scan(options);
        write_scan(folder / "scan.ply", scan.marked);
        write_scan(folder / "truth.ply", scan.truth);
        write_markers(folder / "both.csv", scan.markers); // one of them off the surface
        write_markers(folder / "markers.csv", {scan.markers[0]});
    }
    test::CommandResult run(const std::string& arguments) const {
        return test::run_kelvane(folder, arguments);
    }
};

} // namespace

TEST_F(Command, RepairsAndReports) {
    const auto result = run("repair scan.ply --markers markers.csv --output out.ply --json "
                            "--report report.json --strict");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, test::content(folder / "report.json"));
    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report["repaired"], 1);
    EXPECT_EQ(report["faces"]["after"], read_scan(folder / "out.ply").face_count());
    EXPECT_NE(result.err.find("100% done\n"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find('\r'), std::string::npos) << "no bar off the terminal";
}

TEST_F(Command, ExplainsTheSearchAtOneMarker) {
    const auto result = run("explain scan.ply --markers both.csv --marker 1 --output why");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, test::content(folder / "why/explanation.txt"));
    EXPECT_NE(result.out.find("taken as the border"), std::string::npos) << result.out;
    const Scan patch = read_scan(folder / "why/patch.ply");
    EXPECT_NE(result.out.find(std::to_string(patch.face_count()) + " new faces"),
              std::string::npos);
    for (const char* name : {"cut", "ring", "walks", "border"}) {
        EXPECT_GT(test::content(folder / (std::string("why/") + name + ".ply")).size(), 500U);
    }
    EXPECT_NE(run("explain scan.ply --markers both.csv --marker 2 --output why")
                  .out.find("no vertex within reach"),
              std::string::npos);
    EXPECT_EQ(run("explain scan.ply --markers both.csv --marker 3 --output why").status, 2);
}

TEST_F(Command, StrictTellsAMarkerThatIsLeft) {
    const std::string repair = "repair scan.ply --markers both.csv --output out.ply ";
    EXPECT_EQ(run(repair).status, 0);
    const auto result = run(repair + "--strict --quiet");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_TRUE(test::fs::exists(folder / "out.ply"));
}

TEST_F(Command, OutputMayBeTheScanItselfInAnyFormat) {
    for (const std::string name : {"scan.ply", "scan.stl", "scan.obj", "scan.off"}) {
        write_scan(folder / name, read_scan(folder / "truth.ply"));
        const std::size_t entries = folder.entries();
        const auto result = run("repair " + name + " --markers markers.csv --output " + name);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_NE(result.out.find("1 of 1 markers repaired"), std::string::npos) << result.out;
        EXPECT_EQ(folder.entries(), entries);
        EXPECT_GT(read_scan(folder / name).face_count(), 1000U) << name;
    }
}

TEST_F(Command, CutInfoDemoAndCompare) {
    // Two that overlap and one that touches nothing.
    folder.put("blocks.csv", "x,y,z,radius\n0,0,0,5\n3,0,0,5\n900,0,0,5\n");
    EXPECT_EQ(run("cut truth.ply --blocks blocks.csv --output cut.ply").status, 0);
    const auto info = nlohmann::json::parse(run("info cut.ply --json").out);
    EXPECT_EQ(info["boundary_loops"], 2);
    EXPECT_NE(run("info cut.ply").out.find("boundary loops      2"), std::string::npos);

    folder.put("all.csv", "x,y,z,radius\n0,0,0,500\n");
    const std::string kept = test::content(folder / "cut.ply");
    const auto nothing_left = run("cut truth.ply --blocks all.csv --output cut.ply");
    EXPECT_EQ(nothing_left.status, 2);
    EXPECT_NE(nothing_left.err.find("no face of the scan is left"), std::string::npos);
    EXPECT_EQ(test::content(folder / "cut.ply"), kept);

    EXPECT_EQ(run("repair scan.ply --markers markers.csv --output out.ply").status, 0);
    const auto before =
        nlohmann::json::parse(run("compare scan.ply truth.ply --markers markers.csv --json").out);
    const auto after =
        nlohmann::json::parse(run("compare out.ply truth.ply --markers markers.csv --json").out);
    EXPECT_LT(after["largest_inside"], before["largest_inside"]);

    EXPECT_EQ(run("demo here/and/there --seed 3").status, 0);
    EXPECT_EQ(read_markers(folder / "here/and/there/markers.csv").size(), 23U);
    EXPECT_EQ(run("--version").out.rfind("kelvane ", 0), 0U);
}

TEST_F(Command, WhatTheSystemRefusesIsStatus3) {
    const std::string repair = "repair scan.ply --markers markers.csv --output ";
    auto result = run(repair + "missing/out.ply");
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("cannot be written: No such file"), std::string::npos) << result.err;
    test::fs::create_symlink("/dev/full", folder / "full.ply");
    EXPECT_EQ(run(repair + "full.ply --quiet").status, 3);
    const auto entries = folder.entries();
    EXPECT_EQ(run(repair + "out.ply --report missing/report.json").status, 3);
    EXPECT_EQ(folder.entries(), entries) << "seen before the work begins";
    const std::string info = "'" KELVANE_COMMAND "' info '" + (folder / "scan.ply").string() + "'";
    EXPECT_EQ(WEXITSTATUS(std::system((info + " >/dev/full 2>/dev/null").c_str())), 3);
}
