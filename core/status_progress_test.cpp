#include "core/status_progress.h"

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;

TEST(StatusProgress, DrawsAfterOneSecondAndThenAtMostEveryTenthOfASecond) {
    FakeHost host;
    StatusProgress p;
    host.clock = 5000.0;
    p.Begin(host, 50, false, "");
    host.clock = 6000.0;  // exactly 1000 ms: not yet
    EXPECT_FALSE(p.Step(host, 1));
    host.clock = 6001.0;
    EXPECT_FALSE(p.Step(host, 2));
    host.clock = 6101.0;  // 100 ms after the last drawing: not yet
    EXPECT_FALSE(p.Step(host, 3));
    host.clock = 6101.5;
    EXPECT_FALSE(p.Step(host, 4));
    EXPECT_EQ(host.progress, (std::vector<std::pair<int32_t, int32_t>>{{2, 50}, {4, 50}}));
    EXPECT_EQ(host.doEventsCalls, 2);
    EXPECT_EQ(host.statusTexts.back(), "処理中");
    p.End(host);
    EXPECT_EQ(host.statusTexts.back(), "");
}

TEST(StatusProgress, TitleAndCancelPrefix) {
    FakeHost host;
    StatusProgress p;
    p.Begin(host, 0, true, "ぼかし");
    EXPECT_EQ(p.Max(), 1);
    EXPECT_EQ(p.Caption(), "[クリックでキャンセル]ぼかし");
    p.PendingTitle = "HSV調整";
    p.Begin(host, 9, false, "");
    EXPECT_EQ(p.Caption(), "HSV調整");
}

TEST(StatusProgress, ClickCancelsOnlyWhenAllowed) {
    FakeHost host;
    host.clockStep = 500.0;
    StatusProgress p;
    p.Begin(host, 10, false, "");
    host.cancelClicked = true;
    EXPECT_FALSE(p.Step(host, 1));
    EXPECT_FALSE(p.Step(host, 2));
    EXPECT_FALSE(p.Step(host, 3));

    p.Begin(host, 10, true, "");
    EXPECT_FALSE(host.cancelClicked);  // an old click does not carry over
    host.cancelClicked = true;
    EXPECT_FALSE(p.Step(host, 1));  // within the first second nothing is looked at
    EXPECT_FALSE(p.Step(host, 2));
    EXPECT_TRUE(p.Step(host, 3));
    EXPECT_FALSE(p.CancelRequested());  // ended with the display

    // A dialog's own cancel button is seen at the next step, drawn or not.
    p.Begin(host, 10, false, "");
    p.RequestCancel();
    EXPECT_TRUE(p.Step(host, 1));
}

TEST(StatusProgress, LongTaskKeepsTheBar) {
    FakeHost host;
    host.clockStep = 2000.0;
    StatusProgress p;
    p.Begin(host, 10, false, "一");
    p.LongTaskHoldsBar = true;
    p.Begin(host, 99, false, "二");
    EXPECT_EQ(p.Max(), 10);
    EXPECT_EQ(p.Caption(), "一");
    EXPECT_FALSE(p.Step(host, 5));
    EXPECT_TRUE(host.progress.empty());
}

}  // namespace
}  // namespace brv
