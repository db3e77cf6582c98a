// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/LookupAhead.h"
#include "Sources/LookupOperation.h"
#include "Tests/Fakes/NoMoreThreads.h"
#include "Tests/Sources/ControllerTest.h"
#include "Tests/Sources/SlowTools.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <utility>

namespace quorrel {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

/// Commands and events that need names, while the tools take their time.
class RehearsedCommandsTest : public ControllerTest {
protected:
    RehearsedCommandsTest() { controller = std::make_unique<QuorrelAppDelegate>(rehearsedEnvironment); }

    ~RehearsedCommandsTest() override {
        tools.letAllGo();
        controller->opQueue().cancelAllOperations();
        releaseQueue();
        controller.reset();
        m_firstController.reset();
    }

    void finish() {
        EXPECT_TRUE(SlowTools::turnUntil(mainThreadQueue, [&] { return controller->workLine().isEmpty(); }));
    }

    /// And hears what the tool has to say of it.
    void letAtticGo() {
        const auto lookup = ahead.begin({ "attic", "/usr/bin/nslookup", {} });
        tools.letGo("attic");
        bool isTold = false;
        const auto ends = ahead.observeEnds([&] { isTold = true; });
        EXPECT_TRUE(SlowTools::turnUntil(mainThreadQueue, [&] { return lookup->isOver() && isTold; }));
        EXPECT_EQ(childProcess.calls().size(), 1U) << "it was under way already";
    }

    /// Of a command to mount all of several kinds of hosts, up to the operations.
    std::vector<std::string> linesOfMountAll() {
        addHost("files.lan.test", ftp, { "a", "b" });
        addHost("HOSTB", smb, { "c" });
        addHost("nobody", smb, { "d", "e" });
        addHost("192.168.1.20", smb, { "f" });
        occupyQueue();
        logSink.clear();
        controller->mountAll();
        tools.letAllGo();
        finish();
        EXPECT_EQ(waitingOperations(), 6U);
        return logSink.texts();
    }

    SlowTools tools { childProcess };
    LookupAhead ahead { childProcess, mainThreadQueue };
    ResolverEnvironment rehearsed { .discovery = discovery, .childProcess = childProcess, .log = log, .ahead = &ahead };
    ControllerEnvironment rehearsedEnvironment { { mounting, rehearsed, preferences, notificationCenter, files,
                                                     workspace, strings, log, mainThreadQueue },
        passwordWindow, &watching, &statusItem };
    std::unique_ptr<QuorrelAppDelegate> m_firstController;
};

TEST_F(RehearsedCommandsTest, TheLinesOfTheLogAreThoseOfLookingUpOnTheWay) {
    tools.hold("files.lan.test");
    tools.hold("nobody");
    const auto rehearsedLines = linesOfMountAll();
    const auto callsBefore = childProcess.calls().size();
    // The operations of this one keep waiting, so that they log nothing.
    m_firstController = std::exchange(controller, std::make_unique<QuorrelAppDelegate>(environment));
    const auto lines = linesOfMountAll();
    EXPECT_EQ(rehearsedLines, lines);
    EXPECT_THAT(lines, Contains("nmblookup resolved HOSTB to: 10.0.0.8"));
    EXPECT_EQ(callsBefore, 5U) << "once for each name and tool";
    EXPECT_EQ(childProcess.calls().size() - callsBefore, 7U) << "for a name that nobody knows, once for each share";
}

TEST_F(RehearsedCommandsTest, AMountByNameReturnsAtOnceAndIsQueuedWhenTheToolHasSpoken) {
    tools.hold("attic");
    const auto host = addHost("attic", ftp, { "a" });
    occupyQueue();
    controller->mountSharePoint(host->sharePointForName("a"));
    EXPECT_TRUE(tools.isAsked("attic"));
    EXPECT_EQ(waitingOperations(), 0U);
    EXPECT_FALSE(host->resolved.get());
    EXPECT_FALSE(host->resolving.get());
    tools.letGo("attic");
    finish();
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "10.0.0.7" });
    EXPECT_EQ(waitingOperations(), 1U);
}

TEST_F(RehearsedCommandsTest, ThePasswordIsAskedForWhileTheToolsRunAndOnlyOnce) {
    tools.hold("attic");
    const auto host = addHost("attic", ftp, { "a" });
    host->sharePointForName("a")->passwordPrompt.set(true);
    occupyQueue();
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        EXPECT_TRUE(tools.isAsked("attic"));
        EXPECT_EQ(countOfLogged("Resolving attic with nsLookup"), 0U) << "no resolver has been started";
        target.setPassword("secret");
        target.saveHostPassword();
    });
    controller->mountSharePoint(host->sharePointForName("a"));
    EXPECT_EQ(passwordWindow.timesShown(), 1);
    EXPECT_EQ(waitingOperations(), 0U);
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 1U);
    EXPECT_EQ(countOfLogged("Resolving attic with nsLookup"), 1U);
    EXPECT_EQ(passwordWindow.timesShown(), 1);
}

TEST_F(RehearsedCommandsTest, AUserWhoGivesNoPasswordIsNotAskedAgainWhenTheToolHasSpoken) {
    tools.hold("attic");
    const auto host = addHost("attic", ftp, { "a" });
    host->sharePointForName("a")->passwordPrompt.set(true);
    occupyQueue();
    controller->mountSharePoint(host->sharePointForName("a"));
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 1U);
    EXPECT_EQ(passwordWindow.timesShown(), 1);
}

TEST_F(RehearsedCommandsTest, NoPasswordIsAskedForBeforeItsTurn) {
    tools.hold("attic");
    const auto slow = addHost("attic", ftp, { "a" });
    const auto numbered = addHost("192.168.1.20", ftp, { "b" });
    numbered->sharePointForName("b")->passwordPrompt.set(true);
    occupyQueue();
    passwordWindow.willDo([&](PasswordWindowTarget&) { EXPECT_TRUE(slow->resolved.get()); });
    controller->mountAll();
    EXPECT_EQ(passwordWindow.timesShown(), 0);
    tools.letGo("attic");
    finish();
    EXPECT_EQ(passwordWindow.timesShown(), 1);
    EXPECT_EQ(waitingOperations(), 2U);
}

TEST_F(RehearsedCommandsTest, AnEndWhileThePasswordIsAskedForDropsWhatWaits) {
    tools.hold("attic");
    const auto host = addHost("attic", ftp, { "a", "b" });
    for (const auto& sharePoint : host->sharePoints.snapshot())
        sharePoint->passwordPrompt.set(true);
    occupyQueue();
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        controller->applicationWillTerminate();
        target.cancelhostPassword();
    });
    controller->mountAll();
    EXPECT_EQ(passwordWindow.timesShown(), 2) << "the second command came after the end";
    EXPECT_TRUE(controller->workLine().isEmpty());
    letAtticGo();
    EXPECT_EQ(waitingOperations(), 0U);
    EXPECT_FALSE(host->resolved.get());
}

TEST_F(RehearsedCommandsTest, WhatNeedsNoNameIsDoneAtOnce) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    const auto apple = addHost("Attic", afp, { "b" });
    occupyQueue();
    controller->mountSharePoint(host->sharePointForName("a"));
    controller->mountSharePoint(apple->sharePointForName("b"));
    EXPECT_EQ(waitingOperations(), 2U);
    EXPECT_TRUE(host->resolved.get());
    EXPECT_TRUE(apple->resolving.get());
    EXPECT_THAT(childProcess.calls(), IsEmpty());
}

TEST_F(RehearsedCommandsTest, NothingOvertakesWhatWaits) {
    tools.hold("attic");
    const auto slow = addHost("attic", ftp, { "a" });
    const auto quick = addHost("cellar", ftp, { "b" });
    const auto numbered = addHost("192.168.1.20", ftp, { "c" });
    std::vector<std::string> order;
    std::vector<Subscription> watches;
    for (const auto& host : { slow, quick, numbered })
        watches.push_back(
            host->observe("resolved", [&order, name = textOf(host->displayName.get())](auto, Change change) {
                if (change == Change::Did)
                    order.push_back(name);
            }));
    controller->mountSharePoint(slow->sharePointForName("a"));
    controller->mountSharePoint(quick->sharePointForName("b"));
    controller->mountSharePoint(numbered->sharePointForName("c"));
    announceService(0, "cellar", "_ftp._tcp.");
    EXPECT_TRUE(tools.isAsked("attic"));
    EXPECT_THAT(order, IsEmpty());
    EXPECT_EQ(countOfLogged("cellar Left"), 0U);
    tools.letGo("attic");
    finish();
    EXPECT_THAT(order, ElementsAre("attic", "cellar", "192.168.1.20", "cellar")) << "the last is the reset";
    EXPECT_FALSE(quick->resolved.get());
}

TEST_F(RehearsedCommandsTest, SharesBeforeASlowNameAreMountedMeanwhile) {
    tools.hold("attic");
    addHost("192.168.1.20", smb, { "a" });
    addHost("attic", ftp, { "b" });
    addHost("192.168.1.21", smb, { "c" });
    occupyQueue();
    controller->mountAllListItem();
    EXPECT_EQ(waitingOperations(), 1U);
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 3U);
}

TEST_F(RehearsedCommandsTest, TheNetworkMountsInTheOrderOfTheCatalogueAndBeforeWhatCameLater) {
    tools.hold("attic");
    addHost("attic", ftp, { "a" });
    addHost("cellar", ftp, { "b" });
    controller->applicationDidFinishLaunching();
    controller->hosts.removeAll();
    const auto attic = addHost("attic", ftp, { "a" });
    addHost("cellar", ftp, { "b" });
    occupyQueue();
    announceReachability(true);
    EXPECT_EQ(countOfLogged("Mounting all automatic SharePoints"), 1U);
    announceReachability(false);
    EXPECT_EQ(countOfLogged("Network NOT Reachable."), 0U);
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 2U);
    EXPECT_EQ(countOfLogged("Network NOT Reachable."), 1U);
    EXPECT_FALSE(attic->resolved.get()) << "the network went last";
}

TEST_F(RehearsedCommandsTest, WhatTheNetworkLeadsToComesRightBehindItAndOnce) {
    tools.hold("attic");
    const auto slow = addHost("attic", ftp, { "a" });
    const auto numbered = addHost("192.168.1.20", ftp, { "b" });
    controller->applicationDidFinishLaunching();
    controller->hosts.replace({ slow, numbered });
    occupyQueue();
    logSink.clear();
    controller->mountSharePoint(slow->sharePointForName("a"));
    announceReachability(true);
    controller->mountSharePoint(numbered->sharePointForName("b"));
    announceReachability(false);
    tools.letGo("attic");
    finish();
    const auto lines = logSink.texts();
    const auto place = [&](const char* text) { return std::find(lines.begin(), lines.end(), text) - lines.begin(); };
    EXPECT_LT(place("Mounting all automatic SharePoints"), place("IP Address detected, assuming resolve."));
    EXPECT_LT(place("IP Address detected, assuming resolve."), place("Network NOT Reachable."));
    EXPECT_EQ(countOfLogged("IP Address detected, assuming resolve."), 1U);
    EXPECT_FALSE(numbered->resolved.get()) << "the network went last";
    EXPECT_EQ(waitingOperations(), 2U);
}

TEST_F(RehearsedCommandsTest, NothingIsUnmountedBeforeTheNetworkIsHeardOf) {
    tools.hold("attic");
    const auto slow = addHost("attic", ftp, { "a" });
    const auto other = addHost("192.168.1.20", ftp, { "b" });
    other->sharePointForName("b")->referenceNumber.set(7);
    mountNothingOnItsOwn(other);
    controller->applicationDidFinishLaunching();
    controller->hosts.replace({ slow, other });
    occupyQueue();
    controller->mountSharePoint(slow->sharePointForName("a"));
    announceReachability(true);
    controller->unmount(other->sharePointForName("b"));
    EXPECT_EQ(waitingOperations(), 0U);
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 2U) << "one mount, one unmount";
}

TEST_F(RehearsedCommandsTest, WhatWaitedBehindMountsThatAreCalledOffWaitsNoLonger) {
    tools.hold("attic");
    const auto slow = addHost("attic", ftp, { "a" });
    controller->mountSharePoint(slow->sharePointForName("a"));
    announceService(0, "cellar", "_ftp._tcp.");
    EXPECT_EQ(countOfLogged("cellar Left"), 0U);
    controller->unmountAllListItem();
    EXPECT_EQ(countOfLogged("cellar Left"), 1U);
    EXPECT_TRUE(controller->workLine().isEmpty());
}

TEST_F(RehearsedCommandsTest, AServersAppearanceWaitsForItsNameAndItsLeavingForThat) {
    tools.hold("attic");
    const auto host = addHost("attic", smb, { "a" });
    host->services.snapshot().front()->type.set("_smb._tcp.");
    occupyQueue();
    announceService(1, "attic", "_smb._tcp.");
    announceService(0, "attic", "_smb._tcp.");
    EXPECT_TRUE(tools.isAsked("attic"));
    EXPECT_EQ(countOfLogged("attic Appeared"), 0U);
    tools.letGo("attic");
    finish();
    const auto texts = logSink.texts();
    EXPECT_EQ(texts.front(), "attic Appeared");
    EXPECT_EQ(texts.back(), "attic Left");
    EXPECT_FALSE(host->resolved.get());
}

TEST_F(RehearsedCommandsTest, OtherSharesAreUnmountedMeanwhileAndTheSameOneInTurn) {
    tools.hold("attic");
    const auto attic = addHost("attic", ftp, { "a" });
    const auto other = addHost("192.168.1.20", smb, { "b" });
    for (const auto& sharePoint : { attic->sharePointForName("a"), other->sharePointForName("b") })
        sharePoint->referenceNumber.set(7);
    occupyQueue();
    controller->mountSharePoint(attic->sharePointForName("a"));
    controller->unmount(attic->sharePointForName("a"));
    EXPECT_EQ(waitingOperations(), 0U);
    controller->unmount(other->sharePointForName("b"));
    EXPECT_EQ(waitingOperations(), 1U);
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 3U);
}

TEST_F(RehearsedCommandsTest, WhatIsAskedForAgainAndAgainWaitsOnce) {
    tools.hold("attic");
    tools.hold("cellar");
    const auto first = addHost("cellar", ftp, { "b" });
    const auto host = addHost("attic", ftp, { "a" });
    host->services.snapshot().front()->type.set("_ftp._tcp.");
    controller->mountSharePoint(first->sharePointForName("b"));
    for (int round = 0; round < 100; ++round) {
        controller->mountSharePoint(host->sharePointForName("a"));
        announceService(1, "attic", "_ftp._tcp.");
        announceService(0, "attic", "_ftp._tcp.");
    }
    tools.letAllGo();
    finish();
    EXPECT_EQ(countOfLogged("attic Appeared"), 1U);
    EXPECT_EQ(countOfLogged("attic Left"), 1U);
    EXPECT_LE(childProcess.calls().size(), 4U);
}

TEST_F(RehearsedCommandsTest, ToUnmountAllCallsOffMountsThatWaitForTheirNames) {
    tools.hold("attic");
    const auto attic = addHost("attic", ftp, { "a" });
    const auto other = addHost("192.168.1.20", smb, { "b" });
    other->sharePointForName("b")->referenceNumber.set(7);
    occupyQueue();
    controller->mountSharePoint(attic->sharePointForName("a"));
    controller->unmountAllListItem();
    EXPECT_TRUE(controller->workLine().isEmpty());
    EXPECT_EQ(controller->opQueue().operationCount(), 5U) << "four that were called off and one that unmounts";
    tools.letGo("attic");
    EXPECT_TRUE(SlowTools::turnUntil(mainThreadQueue, [&] { return childProcess.calls().size() == 1; }));
    EXPECT_FALSE(attic->resolved.get());
}

TEST_F(RehearsedCommandsTest, WhatStoodReadyBehindWorkThatIsAskedForAgainGoesOn) {
    tools.hold("attic");
    const auto slow = addHost("attic", ftp, { "a" });
    const auto numbered = addHost("192.168.1.20", ftp, { "b", "c" });
    occupyQueue();
    controller->mountSharePoint(slow->sharePointForName("a"));
    controller->mountSharePoint(numbered->sharePointForName("b"));
    controller->mountSharePoint(numbered->sharePointForName("c"));
    EXPECT_EQ(waitingOperations(), 0U);
    controller->mountSharePoint(slow->sharePointForName("a"));
    EXPECT_EQ(waitingOperations(), 2U) << "before any tool has spoken";
    EXPECT_FALSE(controller->workLine().isEmpty());
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 3U);
}

TEST_F(RehearsedCommandsTest, EachDepartureThatWaitedTakesANameAway) {
    tools.hold("attic");
    const auto slow = addHost("attic", ftp, { "a" });
    for (int copies = 0; copies < 3; ++copies)
        controller->bonjourServices.append("cellar"); // as scans do
    controller->mountSharePoint(slow->sharePointForName("a"));
    announceService(0, "cellar", "_ftp._tcp.");
    announceService(0, "cellar", "_smb._tcp.");
    EXPECT_EQ(controller->bonjourServices.snapshot().size(), 3U);
    tools.letGo("attic");
    finish();
    EXPECT_EQ(controller->bonjourServices.snapshot(), std::vector<std::string> { "cellar" });
    announceService(0, "cellar", "_ftp._tcp.");
    EXPECT_TRUE(controller->bonjourServices.snapshot().empty()) << "and those that do not wait, as ever";
}

TEST_F(RehearsedCommandsTest, AShareThatIsDeletedMeanwhileIsLeftAlone) {
    tools.hold("attic");
    auto host = addHost("attic", ftp, { "a", "b" });
    occupyQueue();
    controller->mountAllListItem();
    host->sharePoints.remove(host->sharePointForName("a"));
    tools.letGo("attic");
    finish();
    EXPECT_EQ(waitingOperations(), 1U);
    controller->mountAllListItem();
    controller->hosts.remove(std::exchange(host, nullptr));
    finish();
    EXPECT_EQ(waitingOperations(), 1U);
}

TEST_F(RehearsedCommandsTest, AHostThatIsRenamedMeanwhileIsLookedUpByItsNewName) {
    tools.hold("attic");
    tools.hold("cellar");
    const auto host = addHost("attic", ftp, { "a" });
    controller->mountSharePoint(host->sharePointForName("a"));
    EXPECT_TRUE(tools.isAsked("attic"));
    host->displayName.set("cellar");
    tools.letGo("attic");
    EXPECT_TRUE(SlowTools::turnUntil(mainThreadQueue, [&] { return childProcess.calls().size() == 2; }));
    EXPECT_FALSE(host->resolved.get());
    tools.letGo("cellar");
    finish();
    EXPECT_EQ(host->hostName.get(), "cellar");
    EXPECT_EQ(childProcess.calls().size(), 2U);
}

TEST_F(RehearsedCommandsTest, WhereThereIsNoThreadForTheToolsANameIsLookedUpOnTheWay) {
    const auto host = addHost("attic", ftp, { "a" });
    occupyQueue();
    const NoMoreThreads noMoreThreads;
    controller->mountSharePoint(host->sharePointForName("a"));
    EXPECT_TRUE(controller->workLine().isEmpty());
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "10.0.0.7" });
    EXPECT_EQ(waitingOperations(), 1U);
}

TEST_F(RehearsedCommandsTest, AnEndMeanwhileLeavesNothingBehind) {
    tools.hold("attic");
    const auto host = addHost("attic", ftp, { "a" });
    controller->mountSharePoint(host->sharePointForName("a"));
    EXPECT_TRUE(tools.isAsked("attic"));
    controller->applicationWillTerminate();
    EXPECT_TRUE(controller->workLine().isEmpty());
    controller = std::make_unique<QuorrelAppDelegate>(rehearsedEnvironment);
    letAtticGo();
    EXPECT_FALSE(host->resolved.get());
    EXPECT_EQ(controller->opQueue().operationCount(), 0U);
}

TEST_F(RehearsedCommandsTest, WhereDNSServiceDiscoveryIsInVainTheHostWaitsForTheTool) {
    tools.hold("attic");
    const auto host = addHost("attic", afp, { "a" });
    controller->mountSharePoint(host->sharePointForName("a"));
    discovery.advance(Seconds(5));
    EXPECT_TRUE(tools.isAsked("attic"));
    EXPECT_TRUE(host->resolving.get());
    EXPECT_EQ(countOfLogged("Service Did NOT Resolve with Bonjour for: [attic]"), 1U);
    tools.letGo("attic");
    EXPECT_TRUE(SlowTools::turnUntil(mainThreadQueue, [&] { return !host->resolving.get(); }));
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(childProcess.calls().size(), 1U);
    EXPECT_EQ(countOfLogged("nslookup resolved attic to: 10.0.0.7"), 1U);
}

TEST_F(RehearsedCommandsTest, AHostThatIsResetMeanwhileIsNotBroughtBackByTheTool) {
    tools.hold("attic");
    const auto host = addHost("attic", afp, { "a" });
    controller->mountSharePoint(host->sharePointForName("a"));
    discovery.advance(Seconds(5));
    EXPECT_TRUE(tools.isAsked("attic"));
    host->resetStatus();
    letAtticGo();
    EXPECT_FALSE(host->resolved.get());
    EXPECT_EQ(countOfLogged("nslookup resolved attic to: 10.0.0.7"), 0U);
}

TEST_F(RehearsedCommandsTest, AResolverThatGoesMeanwhileLeavesNoHostResolving) {
    tools.hold("attic");
    const auto host = addHost("attic", afp, { "a" });
    {
        BonjourResolver resolver(rehearsed);
        resolver.resolve(host->services.snapshot().front(), nullptr);
        discovery.advance(Seconds(5));
        EXPECT_TRUE(tools.isAsked("attic"));
    }
    EXPECT_FALSE(host->resolving.get());
    letAtticGo();
    EXPECT_FALSE(host->resolved.get());
}

} // namespace quorrel
