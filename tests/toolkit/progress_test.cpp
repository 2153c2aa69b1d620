#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/progress.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace KVN::toolkit;

TEST(Progress, OnlyGrows) {
    std::vector<double> told;
    Progress progress([&](Stage, double done) { told.push_back(done); });
    progress.begin(Stage::fill);
    progress.begin(Stage::build); // too late: not told
    progress.begin(Stage::fill);  // again: not told
    progress.begin(Stage::output);
    EXPECT_LT(progress.fraction(), 1.0);
    progress.finish();
    progress.finish();
    progress.begin(Stage::output);
    ASSERT_EQ(told.size(), 3U);
    EXPECT_LT(told[0], told[1]);
    EXPECT_LT(told[1], told[2]);
    EXPECT_EQ(told[2], 1.0);
    EXPECT_EQ(progress.fraction(), 1.0);
}

TEST(Progress, PartsShareTheStagesBeforeTheOutput) {
    std::vector<double> told;
    Progress progress([&](Stage, double done) { told.push_back(done); });
    for (std::size_t part = 0; part < 1000; ++part) {
        for (const Stage stage : {Stage::build, Stage::fill, Stage::normals}) {
            progress.begin(stage, part, 1000);
        }
    }
    progress.begin(Stage::output, 999, 1000);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_GT(told.size(), 90U);
    EXPECT_LT(told.size(), 110U);
    EXPECT_EQ(told.back(), 0.98);
}

TEST(Progress, CancelIsSeenByTheNextCheck) {
    Progress progress;
    progress.begin(Stage::build);
    EXPECT_NO_THROW(progress.check());
    progress.cancel();
    EXPECT_TRUE(progress.cancelled());
    EXPECT_THROW(progress.check(), Cancelled);
}
