// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Tests/Integration/AvahiDaemon.h"
#include "Tests/Integration/OwnBus.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/RecordingNetServiceBrowserDelegate.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"
#include "Tests/Platform/WakeUps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int openDescriptors() {
    namespace fs = std::filesystem;
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

class AvahiBusTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_TRUE(daemon.stop()); // the test bed's, which is on another bus
        bus = std::make_unique<OwnBus>();
    }
    static void TearDownTestSuite() { bus.reset(); }

    AvahiBusTest() {
        browser->setDelegate(&searching);
        service->setDelegate(&monitoring);
    }
    ~AvahiBusTest() override {
        EXPECT_TRUE(daemon.stop());
        bus->kill();
    }

    void search() {
        browser->searchForServicesOfType("_afpovertcp._tcp.", std::nullopt);
        service->startMonitoring();
    }
    [[nodiscard]] bool runUntilHeard(const std::string& event) {
        return runMainContextUntil([&] { return searching.hasHeard(event); }, Seconds(20));
    }

    static AvahiDaemon daemon;
    static std::unique_ptr<OwnBus> bus;

    RecordingNetServiceBrowserDelegate searching;
    RecordingNetServiceDelegate monitoring;
    AvahiServiceDiscovery discovery;
    std::unique_ptr<NetServiceBrowser> browser = discovery.makeNetServiceBrowser();
    std::unique_ptr<NetService> service = discovery.makeNetService("local.", "_device-info._tcp.", "Attic");
};

AvahiDaemon AvahiBusTest::daemon;
std::unique_ptr<OwnBus> AvahiBusTest::bus;

TEST_F(AvahiBusTest, aBusThatIsNotThereIsWaitedFor) {
    search();
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.3)));
    EXPECT_THAT(searching.heard, ElementsAre("will search"));
    EXPECT_THAT(monitoring.heard, IsEmpty());
    ASSERT_TRUE(bus->start());
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runUntilHeard("found Attic"));
    EXPECT_TRUE(runMainContextUntil([&] { return !monitoring.heard.empty(); }, Seconds(20)));
    EXPECT_THAT(monitoring.heard, ElementsAre("record: model=RackMac"));
}

TEST_F(AvahiBusTest, nothingWakesUpWithoutABus) {
    search();
    // It is tried a few times, since a socket is there a moment before somebody listens.
    EXPECT_TRUE(runMainContextUntil([] { return false; }, Seconds(4)) || nextWakeUp() < Seconds(0));
    ASSERT_TRUE(bus->start());
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runUntilHeard("found Attic"));
}

TEST_F(AvahiBusTest, aBusThatIsKilledRemovesAllAndFindsAllWhenItIsBack) {
    ASSERT_TRUE(bus->start());
    ASSERT_TRUE(daemon.start());
    search();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    ASSERT_TRUE(runMainContextUntil([&] { return !monitoring.heard.empty(); }, Seconds(20)));
    const int descriptors = openDescriptors();
    for (int round = 0; round < 2; ++round) {
        searching.heard.clear();
        bus->kill();
        ASSERT_TRUE(runUntilHeard("removed Attic"));
        ASSERT_TRUE(daemon.stop()); // it may have gone with the bus
        ASSERT_TRUE(bus->start());
        ASSERT_TRUE(daemon.start());
        ASSERT_TRUE(runUntilHeard("found Attic"));
        EXPECT_THAT(searching.heard, ElementsAre("removed Attic", "found Attic"));
    }
    EXPECT_TRUE(runMainContextUntil([&] { return openDescriptors() == descriptors; }, Seconds(10)));
    EXPECT_THAT(monitoring.heard, ElementsAre("record: model=RackMac"));
}

TEST_F(AvahiBusTest, aDestroyedSearchDoesNotMindABusThatGoes) {
    ASSERT_TRUE(bus->start());
    ASSERT_TRUE(daemon.start());
    search();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    searching.then = [&](const std::string& event) {
        if (event.starts_with("removed "))
            browser.reset();
    };
    bus->kill();
    ASSERT_TRUE(runMainContextUntil([&] { return !browser; }, Seconds(10)));
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.5)));
}

} // namespace
} // namespace quorrel
