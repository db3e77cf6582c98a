// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareReport.h"

#include "Sources/QuorrelAppDelegate.h"
#include "Tests/Console/ConsoleFixture.h"
#include "Tests/Fakes/FakePasswordWindow.h"

#include <gtest/gtest.h>

#include <memory>

namespace quorrel {
namespace {

class ShareReportTest : public ConsoleFixture {
protected:
    std::shared_ptr<SharePointDefinition> addShare(const std::shared_ptr<HostDefinition>& host, const char* name) {
        auto share = SharePointDefinition::initWithParentHost(host);
        share->sharePoint.set(name);
        host->sharePoints.append(share);
        return share;
    }
    std::string written() {
        mainThreadQueue.runPending();
        auto text = output.text();
        output.clear();
        return text;
    }

    FakePasswordWindow passwordWindow;
    QuorrelAppDelegate controller { { environment(), passwordWindow } };
    ShareEvents events { controller, controller.hosts, mainThreadQueue };
};

TEST_F(ShareReportTest, writesALineForEachNewStatusAndError) {
    const auto docs = addHost("nas", { "docs" })->sharePoints.snapshot()[0];
    controller.hosts.append(catalogue.hosts()[0]);
    ShareReport report(events, output);
    EXPECT_EQ(written(), "");
    docs->setMounting(true);
    EXPECT_EQ(written(), "nas/docs: Mounting\n");
    docs->setMounting(false);
    docs->setMounted(false);
    docs->setLastError("Wrong password.");
    EXPECT_EQ(written(), "nas/docs: Offline: Wrong password.\n");
    docs->setMounted(true);
    docs->setMounted(true);
    docs->setLastError(std::nullopt);
    EXPECT_EQ(written(), "nas/docs: Online\n");
    EXPECT_EQ(written(), "");
}

TEST_F(ShareReportTest, writesLinesOnATerminalToo) {
    RecordingOutput terminal({ 80, 24 });
    const auto docs = addHost("nas", { "docs" })->sharePoints.snapshot()[0];
    controller.hosts.append(catalogue.hosts()[0]);
    ShareReport report(events, terminal);
    docs->setMounted(true);
    report.finish();
    EXPECT_EQ(terminal.text(), "nas/docs: Online\n");
}

TEST_F(ShareReportTest, followsHostsAndSharesThatCome) {
    ShareReport report(events, output);
    const auto host = addHost("nas", { "docs" });
    controller.hosts.append(host);
    host->sharePoints.snapshot()[0]->setMounted(true);
    EXPECT_EQ(written(), "nas/docs: Online\n");
    const auto music = addShare(host, "music");
    EXPECT_EQ(written(), "");
    music->setMounted(true);
    host->sharePoints.snapshot()[0]->setMounted(false);
    EXPECT_EQ(written(), "nas/music: Online\nnas/docs: Offline\n");
}

TEST_F(ShareReportTest, losesNothingThatChangedWhenTheCatalogueDid) {
    const auto host = addHost("nas", { "docs" });
    controller.hosts.append(host);
    ShareReport report(events, output);
    host->sharePoints.snapshot()[0]->setMounted(true);
    addShare(host, "music");
    EXPECT_EQ(written(), "nas/docs: Online\n");
}

TEST_F(ShareReportTest, leavesSharesThatGo) {
    const auto host = addHost("nas", { "docs" });
    controller.hosts.append(host);
    ShareReport report(events, output);
    const auto docs = host->sharePoints.snapshot()[0];
    controller.hosts.remove(host);
    docs->setMounted(true);
    addShare(host, "music")->setMounted(true);
    EXPECT_EQ(written(), "");
}

} // namespace
} // namespace quorrel
