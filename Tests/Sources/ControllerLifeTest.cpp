// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Globals.h"
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
    ControllerLifeTest() {
        childProcess.setOutput(nmblookup, "found-by-smb-scan, 10.0.0.7 *<00>\n");
        folder.put("hosts", "10.0.0.8 found-in-hosts-file\n");
    }

    void launch() {
        controller->applicationDidFinishLaunching();
        events.take();
    }

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
    const auto mountMenu = controller->mountMenu->observe([this] { events.add("mount menu"); });
    const auto unmountMenu = controller->unmountMenu->observe([this] { events.add("unmount menu"); });

    controller->applicationDidFinishLaunching();

    EXPECT_THAT(events.take(),
        ElementsAre("status item 28", "image menubarIcon.png", "alternate image menubarIcon-neg.png", "highlight on",
            "menu Quorrel", "monitor Office", "disappeared registered", "appeared registered",
            "search _afpovertcp._tcp.", "search _smb._tcp.", "search _http._tcp.", "search _ftp._tcp.",
            "reference example.com", "mount menu", "unmount menu"));
    EXPECT_THAT(reachability.scheduled(), ElementsAre("example.com"));
    EXPECT_EQ(statusBar.menu(), controller->popMenu);
    EXPECT_TRUE(controller->mountMenu->indexOfItemWithTitle("Office"));
    waitUntilIdle();
}

TEST_F(ControllerLifeTest, HearsOfVolumesFromTheMomentTheDiskMonitorIsMade) {
    std::vector<std::string> heard;
    const auto host = addHost("Office", smb, { "Public" });
    PropertyValue::Array catalogue;
    catalogue.emplace_back(host->dictionary());
    files.put(cataloguePath, catalogue);
    events.setWitness([&](const std::string& event) {
        if (event != "monitor Office" && event != "disappeared registered")
            return;
        Dictionary userInfo;
        userInfo.set("action", 91);
        userInfo.set("name", "Public");
        notificationCenter.post("diskAddRemoveNotification", nullptr, userInfo);
        const bool mounted = controller->hosts.snapshot().front()->sharePointForName("Public")->mounted.get();
        heard.push_back(event + (mounted ? ": heard" : ": not heard"));
    });

    controller->applicationDidFinishLaunching();

    EXPECT_THAT(heard, ElementsAre("monitor Office: not heard", "disappeared registered: heard"));
}

TEST_F(ControllerLifeTest, ObservesPreferencesOnlyAfterTheDiskMonitorAndBeforeTheBrowsers) {
    turnOn({ "BrowseForServices", "afp" });
    events.setWitness([&](const std::string& event) {
        if (event == "appeared registered")
            turnOn({ "ftp" });
        else if (event == "search _afpovertcp._tcp.")
            turnOn({ "http" });
    });
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(events.beginningWith("search"),
        ElementsAre("search _afpovertcp._tcp.", "search _http._tcp.", "search _http._tcp.", "search _ftp._tcp."))
        << "once for the switch that was heard and once each for the start";
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
    EXPECT_THAT(events.beginningWith("search"), ElementsAre("search _afpovertcp._tcp.", "search _smb._tcp."));
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
    EXPECT_EQ(discovery.browsers(), 0);
    waitUntilIdle();
    auto names = controller->bonjourServices.snapshot();
    std::sort(names.begin(), names.end());
    EXPECT_THAT(names, ElementsAre("found-by-smb-scan", "found-in-hosts-file"));
}

TEST_F(ControllerLifeTest, AChosenReachabilityTargetIsKept) {
    EXPECT_TRUE(preferences.set("monitorConnectivityHost", std::string("gateway.local")));
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(reachability.requests(), ElementsAre("gateway.local"));
    EXPECT_THAT(reachability.scheduled(), ElementsAre("gateway.local"));
}

TEST_F(ControllerLifeTest, AnEmptyReachabilityTargetIsLikeAnAbsentOne) {
    EXPECT_TRUE(preferences.set("monitorConnectivityHost", std::string()));
    controller->applicationDidFinishLaunching();
    EXPECT_THAT(reachability.requests(), ElementsAre("example.com"));
}

TEST_F(ControllerLifeTest, AReachabilityTargetThatCannotBeWatchedIsLoggedAndLeavesTheRestAtWork) {
    EXPECT_TRUE(preferences.set("monitorConnectivityHost", std::string("no such host!")));
    reachability.setImpossible("no such host!");
    const auto host = addHost("192.168.1.20", smb, { "a" });
    PropertyValue::Array catalogue;
    catalogue.emplace_back(host->dictionary());
    files.put(cataloguePath, catalogue);

    controller->applicationDidFinishLaunching();

    EXPECT_EQ(countOfLogged("The network is not watched: "), 1U);
    EXPECT_TRUE(controller->mountMenu->indexOfItemWithTitle("192.168.1.20")) << "the steps behind it were taken";
    notificationCenter.post("kNetworkReachabilityChangedNotification");
    EXPECT_EQ(countOfLogged("Network NOT Reachable."), 1U);
    announceService(1, "192.168.1.20", "_smb._tcp.");
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 1U);
}

TEST_F(ControllerLifeTest, TheNetworkBeingUpAtTheStartMountsWhatIsAutomatic) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    PropertyValue::Array catalogue;
    catalogue.emplace_back(host->dictionary());
    files.put(cataloguePath, catalogue);
    reachability.setFlags("example.com", ReachabilityFlag::reachable);
    controller->applicationDidFinishLaunching();
    EXPECT_EQ(countOfLogged("Network Reachable."), 0U) << "the answer comes as a notification";
    reachability.runPending();
    EXPECT_EQ(countOfLogged("Network Reachable."), 1U);
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 1U);
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
    launch();
    logSink.clear();

    controller->applicationWillTerminate();

    EXPECT_THAT(events.take(),
        ElementsAre("stop search _afpovertcp._tcp.", "stop search _smb._tcp.", "stop search _ftp._tcp.",
            "stop search _http._tcp."));
    EXPECT_THAT(logSink.texts(),
        ElementsAre("Clearing thread queue.", "Stoping Bonjour Service Scanner: _afpovertcp._tcp.",
            "Stoping Bonjour Service Scanner: _smb._tcp.", "Stoping Bonjour Service Scanner: _ftp._tcp.",
            "Stoping Bonjour Service Scanner: _http._tcp."));
}

TEST_F(ControllerLifeTest, ShutdownStopsOnlyBrowsersThatExist) {
    turnOn({ "BrowseForServices", "ftp" });
    launch();
    controller->applicationWillTerminate();
    EXPECT_THAT(events.take(), ElementsAre("stop search _ftp._tcp."));
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
    events.setWitness([&](const std::string&) { waitingAtStop = waitingOperations(); });
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
    waitUntilIdle();
    events.take();
    logSink.clear();
    // The whole menu's changes are those of its submenus too.
    const auto wholeMenu = controller->popMenu->observe([this] { events.add("whole menu"); });
    const auto mountMenu = controller->mountMenu->observe([this] { events.add("mount menu"); });
    const auto unmountMenu = controller->unmountMenu->observe([this] { events.add("unmount menu"); });
    bool isFirst = true;
    events.setWitness([&](const std::string& event) {
        if (event.starts_with("stop") && std::exchange(isFirst, false))
            announceAll();
    });

    controller->applicationWillTerminate();

    events.setWitness({});
    EXPECT_THAT(events.take(),
        ElementsAre("stop search _afpovertcp._tcp.", "whole menu", "mount menu", "whole menu", "unmount menu",
            "whole menu", "whole menu", "search _afpovertcp._tcp.", "search _afpovertcp._tcp.", "search _smb._tcp.",
            "search _ftp._tcp.", "search _http._tcp.", "stop search _smb._tcp.", "stop search _ftp._tcp.",
            "stop search _http._tcp."));
    waitUntilIdle();
    EXPECT_EQ(countOfLogged("Server Appeared"), 1U);
    EXPECT_EQ(countOfLogged("Network NOT Reachable."), 1U);
    EXPECT_EQ(countOfLogged("Thread ended"), 1U) << "the network's scan";
    EXPECT_EQ(countOfLogged("thread ended"), 1U) << "and that of the hosts file";
    logSink.clear();
    announceAll();
    EXPECT_THAT(events.take(), IsEmpty());
    EXPECT_THAT(logSink.texts(), IsEmpty());
    EXPECT_EQ(controller->opQueue().operationCount(), 0U);
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
    events.take();
    controller.reset();
    EXPECT_THAT(events.take(),
        ElementsAre("stop search _afpovertcp._tcp.", "stop search _smb._tcp.", "stop search _ftp._tcp.",
            "stop search _http._tcp.", "stop monitoring Office", "appeared unregistered", "disappeared unregistered",
            "end of reference example.com", "end of status item"));
    EXPECT_EQ(discovery.browsers(), 0);
    EXPECT_EQ(discovery.services(), 0);
    EXPECT_EQ(volumeWatch.registrations(), 0);
    EXPECT_THAT(reachability.alive(), IsEmpty());
}

TEST_F(ControllerLifeTest, AProgramThatWatchesNothingStartsMountsAndQuits) {
    const ControllerEnvironment bare { { mounting, resolving, preferences, notificationCenter, files, workspace,
                                           strings, log, mainThreadQueue },
        passwordWindow };
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
    for (const char* key : { "BrowseForServices", "afp", "scanForSMBHosts", "lookUpHostFile" })
        EXPECT_TRUE(preferences.set(key, false));
    controller->applicationWillTerminate();
    EXPECT_THAT(events.take(), IsEmpty());
    EXPECT_THAT(childProcess.calls(), IsEmpty());
}

TEST_F(ControllerLifeTest, APreferenceChangedOnAnotherThreadReachesTheSwitchesOnTheMainThread) {
    launch();
    std::thread([&] { static_cast<void>(preferences.set("http", true)); }).join();
    EXPECT_THAT(events.take(), IsEmpty());
    mainThreadQueue.runPending();
    EXPECT_THAT(events.take(), ElementsAre("search _http._tcp."));
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
    events.take();
    mainThreadQueue.runPending();
    EXPECT_THAT(events.take(), IsEmpty());
}

TEST_F(ControllerLifeTest, AChangeThatComesAfterTheControllersEndIsDropped) {
    controller->applicationDidFinishLaunching();
    std::thread([&] { static_cast<void>(preferences.set("http", true)); }).join();
    controller.reset();
    events.take();
    mainThreadQueue.runPending();
    EXPECT_THAT(events.take(), IsEmpty());
}

} // namespace quorrel
