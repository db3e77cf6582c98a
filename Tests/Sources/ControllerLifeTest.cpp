// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Globals.h"
#include "Sources/IdleControllerParts.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace quorrel {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class ControllerLifeTest : public ControllerTest {
protected:
    /// As for a user who never started the program.
    void forgetPreferences() {
        for (const char* key : { "BrowseForServices", "logToConsole" })
            EXPECT_TRUE(preferences.set(key, std::nullopt));
    }

    void turnOn(std::initializer_list<const char*> keys) {
        for (const char* key : keys)
            EXPECT_TRUE(preferences.set(key, true));
    }
};

TEST_F(ControllerLifeTest, StartUpGoesThroughItsStepsInOrder) {
    PropertyValue::Array catalogue;
    Dictionary office;
    office.set("displayName", "Office");
    catalogue.emplace_back(office);
    files.put(cataloguePath, catalogue);
    turnOn({ "BrowseForServices", "afp", "smb", "http", "ftp", "scanForSMBHosts", "lookUpHostFile" });
    const auto mountMenu = controller->mountMenu->observe([this] { parts.record("mount menu"); });
    const auto unmountMenu = controller->unmountMenu->observe([this] { parts.record("unmount menu"); });

    controller->applicationDidFinishLaunching();

    EXPECT_THAT(parts.takeEvents(),
        ElementsAre("status item 28", "image menubarIcon.png", "alternate image menubarIcon-neg.png", "highlight on",
            "menu Quorrel", "monitor Office", "reachability", "reachability on", "disk monitor", "browser",
            "search _afpovertcp._tcp. in no domain", "browser", "search _smb._tcp. in no domain", "browser",
            "search _http._tcp. in no domain", "browser", "search _ftp._tcp. in no domain", "SMB scan",
            "hosts-file scan", "reachability host ", "reachability host example.com", "reachability status",
            "mount menu", "unmount menu"));
    EXPECT_EQ(parts.statusBar().menu(), controller->popMenu);
    EXPECT_TRUE(controller->mountMenu->indexOfItemWithTitle("Office"));
    waitUntilIdle();
}

TEST_F(ControllerLifeTest, HearsOfVolumesFromTheMomentTheDiskMonitorIsMade) {
    std::vector<std::string> heard;
    const auto host = addHost("Office", smb, { "Public" });
    PropertyValue::Array catalogue;
    catalogue.emplace_back(host->dictionary());
    files.put(cataloguePath, catalogue);
    parts.setWitness([&](const std::string& event) {
        if (event != "reachability on" && event != "disk monitor")
            return;
        Dictionary userInfo;
        userInfo.set("action", 91);
        userInfo.set("name", "Public");
        notificationCenter.post("diskAddRemoveNotification", nullptr, userInfo);
        const bool mounted = controller->hosts.snapshot().front()->sharePointForName("Public")->mounted.get();
        heard.push_back(event + (mounted ? ": heard" : ": not heard"));
    });

    controller->applicationDidFinishLaunching();

    EXPECT_THAT(heard, ElementsAre("reachability on: not heard", "disk monitor: heard"));
}

TEST_F(ControllerLifeTest, ObservesPreferencesOnlyAfterTheDiskMonitorAndBeforeTheBrowsers) {
    turnOn({ "BrowseForServices", "afp" });
    parts.setWitness([&](const std::string& event) {
        if (event == "disk monitor" || event == "browser")
            static_cast<void>(preferences.set("ftp", false));
    });
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(parts.eventsWith("switch"), ElementsAre("switch ftp off"));
}

TEST_F(ControllerLifeTest, FirstLaunchWritesFivePreferencesAllTrue) {
    forgetPreferences();
    controller->applicationDidFinishLaunching();
    EXPECT_EQ(store->values(),
        (PreferenceValues { { "BrowseForServices", true }, { "afp", true }, { "smb", true }, { "logToConsole", true },
            { "scanForSMBHosts", true } }));
    waitUntilIdle();
}

TEST_F(ControllerLifeTest, FirstLaunchWritesThePreferencesInOrder) {
    forgetPreferences();
    std::vector<std::string> order;
    std::vector<Subscription> subscriptions;
    for (const char* key : { "scanForSMBHosts", "smb", "logToConsole", "afp", "BrowseForServices" })
        subscriptions.push_back(preferences.observe(key, [&order, key](const auto&) { order.emplace_back(key); }));
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(order, ElementsAre("BrowseForServices", "afp", "smb", "logToConsole", "scanForSMBHosts"));
    waitUntilIdle();
}

TEST_F(ControllerLifeTest, FirstLaunchBrowsesAFPAndSMBAndScansNetBIOSButNotTheHostsFile) {
    forgetPreferences();
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(parts.eventsWith("search"),
        ElementsAre("search _afpovertcp._tcp. in no domain", "search _smb._tcp. in no domain"));
    EXPECT_EQ(parts.eventsWith("SMB scan").size(), 1U);
    EXPECT_THAT(parts.eventsWith("hosts-file scan"), IsEmpty());
    waitUntilIdle();
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("found-by-smb-scan"));
}

TEST_F(ControllerLifeTest, AStoredFalseForBrowsingSuppressesTheFirstLaunchDefaults) {
    const auto before = store->values();
    controller->applicationDidFinishLaunching();
    EXPECT_EQ(store->values(), before);
}

TEST_F(ControllerLifeTest, ATextForBrowsingSuppressesTheFirstLaunchDefaultsToo) {
    EXPECT_TRUE(preferences.set("BrowseForServices", std::string("no")));
    controller->applicationDidFinishLaunching();
    EXPECT_FALSE(preferences.value("afp"));
}

TEST_F(ControllerLifeTest, WithBrowsingOffNoBrowserIsMadeButScansFollowTheirOwnPreferences) {
    turnOn({ "afp", "smb", "http", "ftp", "scanForSMBHosts", "lookUpHostFile" });
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(parts.eventsWith("browser"), IsEmpty());
    waitUntilIdle();
    auto names = controller->bonjourServices.snapshot();
    std::sort(names.begin(), names.end());
    EXPECT_THAT(names, ElementsAre("found-by-smb-scan", "found-in-hosts-file"));
}

TEST_F(ControllerLifeTest, AChosenReachabilityTargetIsKept) {
    EXPECT_TRUE(preferences.set("monitorConnectivityHost", std::string("gateway.local")));
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(parts.eventsWith("reachability host"), ElementsAre("reachability host gateway.local"));
}

TEST_F(ControllerLifeTest, AnEmptyReachabilityTargetIsLikeAnAbsentOne) {
    EXPECT_TRUE(preferences.set("monitorConnectivityHost", std::string()));
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(
        parts.eventsWith("reachability host"), ElementsAre("reachability host ", "reachability host example.com"));
}

TEST_F(ControllerLifeTest, TheQueueRunsFourOperationsAtOnce) {
    EXPECT_EQ(controller->opQueue().maxConcurrentOperationCount(), 4U);
}

TEST_F(ControllerLifeTest, ListsAreSortedByNameAscending) {
    EXPECT_THAT(
        controller->sharePointListSortDescriptors, ElementsAre(SortDescriptor { "sharePoint", SortOrder::Ascending }));
    EXPECT_THAT(
        controller->hostsListSortDescriptors, ElementsAre(SortDescriptor { "displayName", SortOrder::Ascending }));
    controller->awakeFromNib();
    const auto second = addHost("b", smb, {});
    const auto first = addHost("a", smb, {});
    EXPECT_THAT(controller->hostsArrayController.arrangedObjects(), ElementsAre(first, second));
    const auto music = addShare(first, smb, "Music");
    const auto films = addShare(first, smb, "Films");
    controller->mountsArrayController.setContent(first->sharePoints.snapshot());
    EXPECT_THAT(controller->mountsArrayController.arrangedObjects(), ElementsAre(films, music));
}

TEST_F(ControllerLifeTest, ShutdownStopsTheBrowsersInItsOwnOrder) {
    turnOn({ "BrowseForServices", "afp", "smb", "http", "ftp" });
    controller->applicationDidFinishLaunching();
    parts.takeEvents();
    logSink.clear();

    controller->applicationWillTerminate();

    EXPECT_THAT(parts.takeEvents(),
        ElementsAre("stop _afpovertcp._tcp.", "stop _smb._tcp.", "stop _ftp._tcp.", "stop _http._tcp."));
    EXPECT_THAT(logSink.texts(), ElementsAre("Clearing thread queue."));
}

TEST_F(ControllerLifeTest, ShutdownStopsOnlyBrowsersThatExist) {
    turnOn({ "BrowseForServices", "ftp" });
    controller->applicationDidFinishLaunching();
    parts.takeEvents();
    controller->applicationWillTerminate();
    EXPECT_THAT(parts.takeEvents(), ElementsAre("stop _ftp._tcp."));
}

TEST_F(ControllerLifeTest, NothingIsLoggedAtShutdownWithLoggingOff) {
    controller->applicationDidFinishLaunching();
    EXPECT_TRUE(preferences.set("logToConsole", false));
    logSink.clear();
    controller->applicationWillTerminate();
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

TEST_F(ControllerLifeTest, QuittingCancelsQueuedMountsAndSavesNothing) {
    const auto host = addHost("192.168.1.20", smb, { "a", "b" });
    occupyQueue();
    controller->mountAll();
    ASSERT_EQ(waitingOperations(), 2U);

    controller->applicationWillTerminate();

    EXPECT_EQ(waitingOperations(), 0U);
    EXPECT_EQ(files.writeCount(), 0);
    releaseQueue();
    EXPECT_THAT(volumes.requests(), IsEmpty());
}

TEST_F(ControllerLifeTest, BrowsersAreStoppedAfterTheQueueWasCancelled) {
    turnOn({ "BrowseForServices", "afp" });
    controller->applicationDidFinishLaunching();
    addHost("192.168.1.20", smb, { "a" });
    occupyQueue();
    controller->mountAll();
    std::size_t waitingAtStop = 99;
    parts.setWitness([&](const std::string&) { waitingAtStop = waitingOperations(); });
    controller->applicationWillTerminate();
    EXPECT_EQ(waitingAtStop, 0U);
}

TEST_F(ControllerLifeTest, NotificationsAndPreferencesAreHeardUntilTheBrowsersAreStoppedAndNotAfterwards) {
    turnOn({ "BrowseForServices", "afp" });
    controller->applicationDidFinishLaunching();
    const auto announceAll = [&] {
        for (const char* name :
            { "ServiceAdded/Removed", "diskAddRemoveNotification", "900", "kNetworkReachabilityChangedNotification" }) {
            Dictionary userInfo;
            userInfo.set("action", 1);
            userInfo.set("name", "Server");
            notificationCenter.post(name, nullptr, userInfo);
        }
        for (const char* key :
            { "BrowseForServices", "afp", "smb", "ftp", "http", "scanForSMBHosts", "lookUpHostFile", "logToConsole" })
            EXPECT_TRUE(preferences.set(key, true));
    };
    parts.takeEvents();
    logSink.clear();
    // The whole menu's changes are those of its submenus too.
    const auto wholeMenu = controller->popMenu->observe([this] { parts.record("whole menu"); });
    const auto mountMenu = controller->mountMenu->observe([this] { parts.record("mount menu"); });
    const auto unmountMenu = controller->unmountMenu->observe([this] { parts.record("unmount menu"); });
    parts.setWitness([&](const std::string& event) {
        if (event.starts_with("stop"))
            announceAll();
    });

    controller->applicationWillTerminate();

    parts.setWitness({});
    EXPECT_THAT(parts.takeEvents(),
        ElementsAre("stop _afpovertcp._tcp.", "whole menu", "mount menu", "whole menu", "unmount menu", "whole menu",
            "whole menu", "reachability status", "switch BrowseForServices on", "switch afp on", "switch smb on",
            "switch ftp on", "switch http on", "switch scanForSMBHosts on", "switch lookUpHostFile on"));
    EXPECT_THAT(logSink.texts(), ElementsAre("Clearing thread queue.", "Server Appeared", "Network NOT Reachable."));
    logSink.clear();
    announceAll();
    EXPECT_THAT(parts.takeEvents(), IsEmpty());
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

TEST_F(ControllerLifeTest, QuittingWithFourHungMountsReturnsAtOnce) {
    const auto host = addHost("192.168.1.20", smb, { "a", "b", "c", "d", "e", "f" });
    hangMounts(4);
    controller->mountAll();
    ASSERT_TRUE(volumes.waitForHanging(4));

    const auto start = std::chrono::steady_clock::now();
    controller->applicationWillTerminate();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));

    EXPECT_EQ(controller->opQueue().operationCount(), 4U);
    volumes.release();
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 4U);
}

TEST_F(ControllerLifeTest, TheEndReleasesWhatTheControllerOwnsInOrder) {
    turnOn({ "BrowseForServices", "afp", "smb", "http", "ftp" });
    controller->applicationDidFinishLaunching();
    addHost("Office", smb, {});
    controller->saveHostsArray();
    parts.takeEvents();
    controller.reset();
    EXPECT_THAT(parts.takeEvents(),
        ElementsAre("end of browser _afpovertcp._tcp.", "end of browser _smb._tcp.", "end of browser _ftp._tcp.",
            "end of browser _http._tcp.", "end of monitor Office", "end of disk monitor", "end of reachability",
            "end of status item"));
}

TEST_F(ControllerLifeTest, AProgramWithoutPartsStartsMountsAndQuits) {
    IdleControllerParts none;
    const ControllerEnvironment bare { { mounting, resolving, preferences, notificationCenter, files, workspace,
                                           strings, log, mainThreadQueue },
        none, passwordWindow };
    controller = std::make_unique<QuorrelAppDelegate>(bare);
    turnOn({ "BrowseForServices", "afp", "smb", "http", "ftp", "scanForSMBHosts", "lookUpHostFile" });
    controller->awakeFromNib();
    controller->applicationDidFinishLaunching();
    const auto host = addHost("192.168.1.20", smb, { "a" });
    controller->sendSaveNotification();
    controller->mountAll();
    waitUntilIdle();
    EXPECT_TRUE(host->sharePointForName("a")->mounted.get());
    EXPECT_TRUE(files.exists(cataloguePath));
    controller->applicationWillTerminate();
}

TEST_F(ControllerLifeTest, APreferenceChangedOnAnotherThreadReachesTheSwitchesOnTheMainThread) {
    controller->applicationDidFinishLaunching();
    parts.takeEvents();
    std::thread([&] { static_cast<void>(preferences.set("http", true)); }).join();
    EXPECT_THAT(parts.takeEvents(), IsEmpty());
    mainThreadQueue.runPending();
    EXPECT_THAT(parts.takeEvents(), ElementsAre("switch http on"));
}

TEST_F(ControllerLifeTest, ChangesOnOtherThreadsMayComeWhileTheControllerEnds) {
    constexpr int rounds = 50;
    for (int round = 0; round < rounds; ++round) {
        controller = std::make_unique<QuorrelAppDelegate>(environment);
        controller->applicationDidFinishLaunching();
        std::atomic<bool> isGone = false;
        std::atomic<int> changes = 0;
        std::thread other([&] {
            while (!isGone) {
                static_cast<void>(preferences.set("http", true));
                notificationCenter.post("900");
                ++changes;
            }
        });
        while (changes == 0)
            std::this_thread::yield();
        controller.reset();
        isGone = true;
        other.join();
    }
    parts.takeEvents();
    mainThreadQueue.runPending();
    EXPECT_THAT(parts.takeEvents(), IsEmpty());
}

TEST_F(ControllerLifeTest, AChangeThatComesAfterTheControllersEndIsDropped) {
    controller->applicationDidFinishLaunching();
    std::thread([&] { static_cast<void>(preferences.set("http", true)); }).join();
    controller.reset();
    parts.takeEvents();
    mainThreadQueue.runPending();
    EXPECT_THAT(parts.takeEvents(), IsEmpty());
}

} // namespace quorrel
