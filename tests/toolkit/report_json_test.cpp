#include "kelvane/toolkit/report/report_json.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>

using namespace KVN::toolkit;

TEST(ReportJson, SaysWhatTheReportSays) {
    RepairReport report;
    report.markers.resize(2);
    report.markers[0].outcome = Outcome::repaired_loop;
    report.markers[0].new_faces = 100;
    report.markers[0].unfaired = true;
    report.markers[1].outcome = Outcome::no_border_found;
    report.markers[1].body = {2, 4, 1, 300, -8.0};
    report.markers[0].rim = RimClosing::few_edges;
    report.loaded.duplicate = 2;
    report.short_faces = 1;
    report.times = {{Stage::build, 0.123456789}, {Stage::fill, 0.25}};
    report.diagnostics = {"a \"line\"\t"};
    report.marker_size = 0.1 + 0.2;
    const std::vector<KVN::Marker> markers{{0.1F, 1.0F / 3.0F, 3, 0, 0, 1, 2.2F}, {}};
    const std::string text = to_json(report, markers, {});
    EXPECT_NE(text.find("\"x\": 0.1,"), std::string::npos) << text;
    EXPECT_NE(text.find("\"y\": 0.33333334,"), std::string::npos) << text;
    EXPECT_NE(text.find("\"marker_size\": 0.3,"), std::string::npos) << text;

    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json["markers"][0]["outcome"], "repaired_loop");
    EXPECT_EQ(json["markers"][0]["new_faces"], 100);
    EXPECT_EQ(json["markers"][1]["repaired"], false);
    EXPECT_EQ(json["markers"][1]["body"]["specks"], 4);
    EXPECT_FALSE(json["markers"][0].contains("body"));
    EXPECT_EQ(json["markers"][0]["fairing"], "not_taken");
    EXPECT_FALSE(json["markers"][1].contains("fairing"));
    EXPECT_EQ(json["markers"][0]["rim"], "straight");
    EXPECT_EQ(json["markers"][0]["rim_reason"], "too little rim beside the cut");
    EXPECT_FALSE(json["markers"][1].contains("rim"));
    EXPECT_EQ(json["repaired"], 1);
    EXPECT_EQ(json["unrepaired"], 1);
    EXPECT_EQ(json["refused_faces"]["duplicate"], 2);
    EXPECT_EQ(json["refused_faces"]["too_few_corners"], 1);
    EXPECT_EQ(json["seconds"]["build"], 0.123);
    EXPECT_EQ(json["diagnostics"][0], "a \"line\"\t");
}

TEST(ReportJson, NumbersThatAreNotFiniteAreWords) {
    ScanInfo info;
    info.upper[0] = std::numeric_limits<float>::infinity();
    info.edge_lengths.max = std::numeric_limits<double>::quiet_NaN();
    const std::string text = to_json(info);
    EXPECT_EQ(text.find("null"), std::string::npos);
    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json["bounds"]["upper"][0], "inf");
    EXPECT_EQ(json["edge_length"]["max"], "nan");
}
