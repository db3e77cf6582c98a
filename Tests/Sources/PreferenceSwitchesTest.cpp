// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/Gate.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <thread>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PreferenceSwitchesTest : public ControllerTest {
protected:
    static constexpr auto scanEnded = "Scaning for samba hosts Thread ended";

    PreferenceSwitchesTest() {
        folder.put("hosts", "10.0.0.5 nas nas.lan\n");
        childProcess.setOutput(nmblookup, "beamer, 10.0.0.7 *<00>\n");
        controller->applicationDidFinishLaunching();
        events.take();
        logSink.clear();
    }
    ~PreferenceSwitchesTest() override {
        m_answer.open();
        controller.reset(); // waits for scans, which use the gates
    }

    void turn(const char* key, bool isOn) { EXPECT_TRUE(preferences.set(key, isOn)); }
    void turnOn(std::initializer_list<const char*> keys) {
        for (const char* key : keys)
            turn(key, true);
    }

    /// Scans of the network hang until they are answered.
    void hangScans() {
        childProcess.setResponder(nmblookup, [this](const FakeChildProcess::Call&) {
            m_asked.open();
            EXPECT_TRUE(m_answer.wait());
            return ChildProcessResult { true, {}, "beamer, 10.0.0.7 *<00>\n" };
        });
    }
    [[nodiscard]] bool waitForScans(int count) { return m_asked.wait(count); }
    void answerScans() { m_answer.open(); }

private:
    Gate m_asked;
    Gate m_answer;
};

TEST_F(PreferenceSwitchesTest, EachProtocolsSwitchStartsAndStopsItsOwnBrowser) {
    struct Row final {
        const char* key;
        const char* type;
    };
    for (const auto& [key, type] : { Row { "afp", "_afpovertcp._tcp." }, Row { "smb", "_smb._tcp." },
             Row { "ftp", "_ftp._tcp." }, Row { "http", "_http._tcp." } }) {
        turn(key, true);
        EXPECT_THAT(events.take(), ElementsAre(std::string("search ") + type));
        EXPECT_EQ(discovery.browsers(), 1);
        turn(key, false);
        EXPECT_EQ(events.take().front(), std::string("stop search ") + type);
        EXPECT_EQ(discovery.browsers(), 0);
        turn(key, false);
        EXPECT_THAT(events.take(), IsEmpty());
    }
}

TEST_F(PreferenceSwitchesTest, AProtocolIsBrowsedForAlsoWithBrowsingOff) {
    ASSERT_FALSE(preferences.boolean("BrowseForServices"));
    turn("http", true);
    EXPECT_THAT(events.take(), ElementsAre("search _http._tcp."));
    EXPECT_EQ(discovery.searches().size(), 1U);
}

TEST_F(PreferenceSwitchesTest, SwitchingBrowsingOffStopsAndDropsEveryBrowserInOrder) {
    turnOn({ "http", "ftp", "smb", "afp" });
    logSink.clear();
    turn("BrowseForServices", false);
    EXPECT_THAT(logSink.texts(),
        ElementsAre("Stoping Bonjour Service Scanner: _afpovertcp._tcp.", "Stoping Bonjour Service Scanner: _smb._tcp.",
            "Stoping Bonjour Service Scanner: _ftp._tcp.", "Stoping Bonjour Service Scanner: _http._tcp."));
    EXPECT_EQ(discovery.browsers(), 0);
}

TEST_F(PreferenceSwitchesTest, SwitchingBrowsingOnStartsInOrderOnlyWhatIsOnItself) {
    turnOn({ "http", "ftp", "smb", "afp" });
    turn("BrowseForServices", false);
    turn("smb", false);
    events.take();
    logSink.clear();
    turn("BrowseForServices", true);
    EXPECT_THAT(events.take(), ElementsAre("search _afpovertcp._tcp.", "search _ftp._tcp.", "search _http._tcp."));
    EXPECT_THAT(logSink.texts(),
        ElementsAre("Starting Bonjour Service Scanner: _afpovertcp._tcp.",
            "Starting Bonjour Service Scanner: _ftp._tcp.", "Starting Bonjour Service Scanner: _http._tcp."));
}

TEST_F(PreferenceSwitchesTest, SwitchingBrowsingOnAsksThoseThatRunToSearchAgain) {
    turnOn({ "afp", "http" });
    events.take();
    turn("BrowseForServices", true);
    EXPECT_THAT(events.take(), ElementsAre("search _afpovertcp._tcp.", "search _http._tcp."));
    EXPECT_EQ(discovery.browsers(), 2);
}

TEST_F(PreferenceSwitchesTest, AStartOfARunningBrowserAsksItToSearchAgain) {
    turn("afp", true);
    turn("afp", true);
    EXPECT_THAT(events.take(), ElementsAre("search _afpovertcp._tcp.", "search _afpovertcp._tcp."));
    EXPECT_EQ(discovery.browsers(), 1);
}

TEST_F(PreferenceSwitchesTest, TheValueIsReadWhenTheSwitchIsServed) {
    std::thread([&] {
        turn("http", true);
        turn("http", false);
    }).join();
    mainThreadQueue.runPending();
    EXPECT_THAT(events.take(), IsEmpty());
}

TEST_F(PreferenceSwitchesTest, AnyOtherKeyReachesNothing) {
    turnOn({ "logToConsole", "unmountDrives" });
    EXPECT_TRUE(preferences.set("monitorConnectivityHost", std::string("gateway.local")));
    turnOn({ "afp", "scanForSMBHosts" });
    waitUntilIdle();
    events.take();
    const auto calls = childProcess.calls().size();
    for (const char* keyPath :
        { "values.logToConsole", "afp", "scanForSMBHosts", "", "values.", "values.afp.x", "value.afp" })
        controller->observeValueForKeyPath(keyPath);
    EXPECT_THAT(events.take(), IsEmpty());
    EXPECT_EQ(childProcess.calls().size(), calls);
    EXPECT_THAT(reachability.requests(), ElementsAre("example.com"));
}

TEST_F(PreferenceSwitchesTest, WhatWasFoundStaysWhenItsSwitchIsTurnedOff) {
    const auto host = addHost("Office", afp, {});
    turn("afp", true);
    discovery.announce("Office", "_afpovertcp._tcp.");
    discovery.advance();
    turn("scanForSMBHosts", true);
    waitUntilIdle();
    ASSERT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Office", "beamer"));
    for (const char* key : { "afp", "scanForSMBHosts", "BrowseForServices" })
        turn(key, false);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Office", "beamer"));
    EXPECT_TRUE(host->bonjour.get());
}

TEST_F(PreferenceSwitchesTest, AScanThatIsSwitchedOffGoesOnToItsEnd) {
    hangScans();
    turn("scanForSMBHosts", true);
    ASSERT_TRUE(waitForScans(1));
    turn("scanForSMBHosts", false);
    EXPECT_EQ(controller->opQueue().operationCount(), 1U);
    answerScans();
    waitUntilIdle();
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("beamer"));
}

TEST_F(PreferenceSwitchesTest, AScanThatWaitsIsRunAlsoWhenItWasSwitchedOff) {
    occupyQueue();
    turn("scanForSMBHosts", true);
    turn("lookUpHostFile", true);
    turn("scanForSMBHosts", false);
    turn("lookUpHostFile", false);
    EXPECT_EQ(waitingOperations(), 2U);
    releaseQueue();
    EXPECT_THAT(controller->bonjourServices.snapshot(), testing::UnorderedElementsAre("beamer", "nas", "nas.lan"));
}

TEST_F(PreferenceSwitchesTest, AHeldScanIsHandedToTheQueueAgain) {
    turn("lookUpHostFile", true);
    waitUntilIdle();
    turn("lookUpHostFile", true);
    waitUntilIdle();
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("nas", "nas.lan", "nas", "nas.lan"));
    turn("scanForSMBHosts", true);
    waitUntilIdle();
    turn("scanForSMBHosts", true);
    waitUntilIdle();
    EXPECT_EQ(countOfLogged(scanEnded), 2U);
}

TEST_F(PreferenceSwitchesTest, AHeldScanIsRunAfreshWhileTheFirstStillRuns) {
    hangScans();
    turn("scanForSMBHosts", true);
    ASSERT_TRUE(waitForScans(1));
    turn("scanForSMBHosts", true);
    ASSERT_TRUE(waitForScans(2));
    answerScans();
    waitUntilIdle();
    EXPECT_EQ(countOfLogged(scanEnded), 2U);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("beamer"));
    EXPECT_EQ(countOfLogged("exception"), 0U);
}

TEST_F(PreferenceSwitchesTest, AScanThatWasCalledOffWithTheQueueIsRunAfreshByItsSwitch) {
    occupyQueue();
    turn("scanForSMBHosts", true);
    controller->mountAllListItem();
    EXPECT_EQ(waitingOperations(), 0U);
    turn("scanForSMBHosts", true);
    EXPECT_EQ(waitingOperations(), 1U);
    releaseQueue();
    EXPECT_EQ(countOfLogged(scanEnded), 1U);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("beamer"));
}

TEST_F(PreferenceSwitchesTest, ASwitchThatCannotBeStoredStillActs) {
    store->failSaves(true);
    EXPECT_FALSE(preferences.set("afp", true));
    EXPECT_THAT(events.take(), ElementsAre("search _afpovertcp._tcp."));
}

TEST_F(PreferenceSwitchesTest, AfterTheEndSwitchesDoNothing) {
    controller->applicationWillTerminate();
    turnOn({ "BrowseForServices", "afp", "smb", "ftp", "http", "scanForSMBHosts", "lookUpHostFile" });
    EXPECT_THAT(events.take(), IsEmpty());
    EXPECT_EQ(controller->opQueue().operationCount(), 0U);
}

} // namespace quorrel
