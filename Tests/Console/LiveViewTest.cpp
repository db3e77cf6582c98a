// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/LiveView.h"

#include "Tests/Console/RecordingOutput.h"

#include <gtest/gtest.h>

namespace quorrel {
namespace {

std::vector<LiveView::Line> twoLines() {
    return { { "nas/docs", "Offline", "" }, { "nas/a", "Offline", "" } };
}

TEST(LiveView, writesOneLineForEachChangeWhereThereIsNoTerminal) {
    RecordingOutput output;
    LiveView view(output, twoLines());
    view.refresh();
    EXPECT_EQ(output.text(), "");
    view.change(0, "Mounting", "");
    view.change(1, "Mounting", "");
    view.change(1, "Mounting", "");
    view.refresh();
    view.change(0, "Online", "");
    view.change(1, "Offline", "");
    view.change(1, "Offline", "Wrong password.");
    view.change(1, "Offline", "");
    view.refresh();
    view.clear();
    EXPECT_EQ(output.text(),
        "nas/docs: Mounting\nnas/a: Mounting\nnas/docs: Online\nnas/a: Offline\nnas/a: Offline: Wrong password.\n");
}

TEST(LiveView, rewritesItsLinesOnATerminal) {
    RecordingOutput output({ 80, 24 });
    LiveView view(output, twoLines());
    view.refresh();
    EXPECT_EQ(output.text(), "nas/docs  Offline\x1b[K\nnas/a     Offline\x1b[K\n");
    output.clear();
    view.change(0, "Mounting", "");
    EXPECT_EQ(output.text(), "");
    view.refresh();
    EXPECT_EQ(output.text(), "\x1b[2Anas/docs  Mounting\x1b[K\nnas/a     Offline\x1b[K\n");
}

TEST(LiveView, leavesTheTerminalWhenItIsCleared) {
    RecordingOutput output({ 80, 24 });
    LiveView view(output, twoLines());
    view.clear();
    EXPECT_EQ(output.text(), "");
    view.refresh();
    output.clear();
    view.clear();
    EXPECT_EQ(output.text(), "\x1b[2A\r\x1b[J");
    output.clear();
    view.refresh();
    EXPECT_EQ(output.text(), "nas/docs  Offline\x1b[K\nnas/a     Offline\x1b[K\n");
}

TEST(LiveView, cutsALineThatWouldWrap) {
    RecordingOutput output({ 12, 24 });
    LiveView view(output, { { "nas/documents", "Offline", "" } });
    view.refresh();
    EXPECT_EQ(output.text(), "nas/docume…\x1b[K\n");
}

TEST(LiveView, aLongNameDrivesNoStateOffTheScreen) {
    RecordingOutput output({ 80, 24 });
    LiveView view(output, { { std::string(10'000'000, 'x'), "Offline", "" }, { "nas/a", "Offline", "" } });
    view.refresh();
    EXPECT_EQ(
        output.text(), std::string(39, 'x') + "…  Offline\x1b[K\nnas/a" + std::string(35, ' ') + "  Offline\x1b[K\n");
}

TEST(LiveView, writesPlainLinesWhenTheTerminalIsTooLow) {
    RecordingOutput output({ 80, 2 });
    LiveView view(output, twoLines());
    view.refresh();
    view.change(1, "Mounting", "");
    view.refresh();
    EXPECT_EQ(output.text(), "nas/a: Mounting\n");
}

TEST(LiveView, letsNoControlCharacterThrough) {
    RecordingOutput output;
    LiveView view(output, twoLines());
    view.change(0, "Offline now", "a\x1b[2J\nb");
    EXPECT_EQ(output.text(), "nas/docs: Offline now: a\\x1b[2J\\nb\n");
}

} // namespace
} // namespace quorrel
