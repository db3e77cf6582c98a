// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quorrel {

using ::testing::IsEmpty;

/// Five hundred servers that come and go, half of them in the catalogue, while every worker hangs.
class StormTest : public ControllerTest {
protected:
    static constexpr const char* type = "_afpovertcp._tcp.";
    static constexpr std::size_t known = 250;
    static constexpr std::size_t shares = 3;

    StormTest() {
        std::vector<std::shared_ptr<HostDefinition>> all;
        for (std::size_t number = 0; number < 2 * known; ++number)
            m_names.push_back("server " + std::to_string(number) + " of many");
        for (std::size_t number = 0; number < known; ++number)
            all.push_back(addHost(m_names[number], afp, { "Public", "Music", "Films" }));
        PropertyValue::Array catalogue;
        for (const auto& host : all)
            catalogue.emplace_back(host->dictionary());
        files.put(cataloguePath, catalogue);
        EXPECT_TRUE(preferences.set("afp", true));
        EXPECT_TRUE(preferences.set("BrowseForServices", true));
        EXPECT_TRUE(preferences.set("unmountDrives", true));
        controller->applicationDidFinishLaunching();
        occupyQueue();
    }

    void appearAll() {
        for (const auto& name : m_names)
            discovery.announce(name, type);
        discovery.advance();
    }

    void leaveAll() {
        for (const auto& name : m_names)
            discovery.withdraw(name, type);
        discovery.advance();
    }

    [[nodiscard]] std::vector<std::string> shownNames() const { return controller->bonjourServices.snapshot(); }

private:
    std::vector<std::string> m_names;
};

TEST_F(StormTest, WhatWaitsWatchesAndResolvesStaysBoundedHoweverOftenServersComeAndGo) {
    constexpr int rounds = 4; // of a thousand events each
    for (int round = 0; round < rounds; ++round) {
        appearAll();
        EXPECT_EQ(shownNames().size(), 2 * known);
        EXPECT_EQ(waitingOperations(), round == 0 ? known * shares : 2 * known * shares);
        EXPECT_LE(discovery.services(), static_cast<int>(2 * known)) << "a resolver and a monitor for each host";
        EXPECT_EQ(monitored().size(), known);
        leaveAll();
        EXPECT_THAT(shownNames(), IsEmpty());
        EXPECT_EQ(waitingOperations(), 2 * known * shares);
        EXPECT_LE(discovery.services(), static_cast<int>(known));
        EXPECT_THAT(monitored(), IsEmpty());
        EXPECT_LE(discovery.eventsToCome(), static_cast<int>(known)) << "the time-outs of resolutions under way";
    }
    EXPECT_EQ(files.writeCount(), 0);
    EXPECT_EQ(discovery.browsers(), 1);
    EXPECT_EQ(volumeWatch.registrations(), 2);
    controller->opQueue().cancelAllOperations();
}

TEST_F(StormTest, AfterItWhatIsThereIsMountedAndNothingIsLeftOver) {
    for (int round = 0; round < 3; ++round) {
        appearAll();
        leaveAll();
    }
    const auto first = controller->hosts.snapshot().front();
    first->displayName.set("192.168.1.20");
    announceService(1, "192.168.1.20", type);
    EXPECT_TRUE(first->resolved.get());
    EXPECT_LE(discovery.services(), 1 + static_cast<int>(known))
        << "the model's monitor, and resolvers not yet looked at";
    for (const auto& host : controller->hosts.snapshot())
        if (host != first)
            mountNothingOnItsOwn(host);
    discovery.advance(Seconds(60));
    releaseQueue();
    EXPECT_EQ(volumes.requests().size(), shares);
    for (const auto& host : controller->hosts.snapshot())
        for (const auto& sharePoint : host->sharePoints.snapshot()) {
            EXPECT_EQ(sharePoint->mounted.get(), host == first);
            EXPECT_FALSE(sharePoint->mounting.get() || sharePoint->unmounting.get());
        }
}

TEST_F(StormTest, ANetworkThatComesAndGoesLeavesOneMonitorAndOneResolverForEachHost) {
    for (int round = 0; round < 20; ++round) {
        announceReachability(true);
        controller->sendSaveNotification();
        announceReachability(false);
        controller->sendSaveNotification();
        EXPECT_EQ(monitored().size(), known);
        EXPECT_LE(discovery.services(), static_cast<int>(2 * known));
        EXPECT_LE(waitingOperations(), known * shares);
    }
    controller->opQueue().cancelAllOperations();
}

} // namespace quorrel
