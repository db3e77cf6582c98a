// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/BonjourScanner.h"

#include "Foundation/Dictionary.h"
#include "Tests/Fakes/ThreadTime.h"
#include "Tests/Sources/WatchFixture.h"

#include <algorithm>
#include <memory>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr auto smb = "_smb._tcp.";

class BonjourScannerTest : public WatchFixture {
protected:
    static std::string shown(const Dictionary& userInfo) {
        return (userInfo.number("action") == 1 ? "+" : "-") + userInfo.text("name").value_or("absent") + " "
            + userInfo.text("type").value_or("absent");
    }

    void find(const std::string& name, const std::string& type = smb) {
        scanner->netServiceBrowserDidFindService(*browser, { name, type, "local." }, false);
    }
    void remove(const std::string& name, const std::string& type = smb) {
        scanner->netServiceBrowserDidRemoveService(*browser, { name, type, "local." }, false);
    }

    std::unique_ptr<BonjourScanner> scanner = std::make_unique<BonjourScanner>(environment);
    std::unique_ptr<NetServiceBrowser> browser = discovery.makeNetServiceBrowser();
    std::vector<std::string> posted;
    Subscription observer = center.addObserver("ServiceAdded/Removed",
        [this](const Notification& notification) { posted.push_back(shown(notification.userInfo.value())); });
};

TEST_F(BonjourScannerTest, aNewScannerIsIdle) {
    EXPECT_FALSE(scanner->searching());
    EXPECT_EQ(scanner->serviceType(), "_afpovertcp._tcp.");
    EXPECT_EQ(scanner->serviceDomain(), "");
    EXPECT_EQ(scanner->bonjourServices(), std::nullopt);
    EXPECT_THAT(discovery.calls(), IsEmpty());
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(BonjourScannerTest, theDomainGoesToTheBrowserAsItIs) {
    scanner->searchForServices();
    scanner->searchForService(smb, std::nullopt);
    scanner->searchForService("_ftp._tcp.", "lab.example.");
    EXPECT_THAT(discovery.calls(),
        ElementsAre("search _afpovertcp._tcp. in \"\"", "search _smb._tcp.", "search _ftp._tcp. in \"lab.example.\""));
    EXPECT_EQ(scanner->serviceType(), "_ftp._tcp.");
    EXPECT_EQ(scanner->serviceDomain(), "lab.example.");
    scanner->searchForService(smb, std::nullopt);
    EXPECT_EQ(scanner->serviceDomain(), std::nullopt);
}

TEST_F(BonjourScannerTest, eachInstanceIsAnnouncedWhenItComesAndWhenItGoes) {
    discovery.announce("Attic", smb);
    discovery.announce("Attic", "_ftp._tcp.");
    scanner->searchForService(smb, std::nullopt);
    EXPECT_THAT(posted, IsEmpty());
    discovery.advance();
    EXPECT_THAT(posted, ElementsAre("+Attic _smb._tcp."));
    EXPECT_FALSE(scanner->searching());
    discovery.announce("Cellar", smb);
    discovery.withdraw("Attic", smb);
    discovery.advance();
    EXPECT_THAT(posted, ElementsAre("+Attic _smb._tcp.", "+Cellar _smb._tcp.", "-Attic _smb._tcp."));
}

TEST_F(BonjourScannerTest, theNotificationHoldsThreeThingsAndNamesItsScanner) {
    std::vector<Notification> notifications;
    const auto own = center.addObserver(
        "ServiceAdded/Removed", [&](const Notification& each) { notifications.push_back(each); }, scanner.get());
    find("Attic");
    remove("Attic");
    ASSERT_EQ(notifications.size(), 2U);
    for (std::int64_t index = 0; index < 2; ++index) {
        const auto& userInfo = notifications[static_cast<std::size_t>(index)].userInfo;
        ASSERT_TRUE(userInfo);
        EXPECT_THAT(userInfo->entries(),
            UnorderedElementsAre(Dictionary::Entry("action", 1 - index), Dictionary::Entry("name", "Attic"),
                Dictionary::Entry("type", smb)));
    }
}

TEST_F(BonjourScannerTest, theComputerItselfIsAnnouncedOnlyWhenItGoes) {
    workspace.setComputerName("Office");
    find("Office");
    EXPECT_THAT(posted, IsEmpty());
    remove("Office");
    EXPECT_THAT(posted, ElementsAre("-Office _smb._tcp."));
}

TEST_F(BonjourScannerTest, theComputersNameIsComparedToTheLetter) {
    workspace.setComputerName("Office");
    for (const auto* name : { "office", "Office ", "Office-2", "Offic", "" })
        find(name);
    EXPECT_EQ(posted.size(), 5U);
    workspace.setComputerName("office");
    find("Office");
    EXPECT_EQ(posted.size(), 6U);
}

TEST_F(BonjourScannerTest, twoReportsOfOneServiceAreTwoAnnouncements) {
    find("Attic");
    find("Attic");
    EXPECT_THAT(posted, ElementsAre("+Attic _smb._tcp.", "+Attic _smb._tcp."));
}

TEST_F(BonjourScannerTest, nothingIsHeldBackForMoreToCome) {
    scanner->netServiceBrowserDidFindService(*browser, { "Attic", smb, "local." }, true);
    EXPECT_EQ(posted.size(), 1U);
    scanner->netServiceBrowserDidRemoveService(*browser, { "Attic", smb, "local." }, true);
    EXPECT_EQ(posted.size(), 2U);
}

TEST_F(BonjourScannerTest, stoppingAnIdleScannerOnlySaysSo) {
    scanner->stopSearch();
    EXPECT_THAT(sink.texts(), ElementsAre("Stoping Bonjour Service Scanner: _afpovertcp._tcp."));
    EXPECT_THAT(discovery.calls(), ElementsAre("stop search"));
    EXPECT_THAT(posted, IsEmpty());
}

TEST_F(BonjourScannerTest, browsingStopsAndStartsAgain) {
    discovery.announce("Attic", smb);
    for (int round = 0; round < 3; ++round) {
        posted.clear();
        sink.clear();
        scanner->searchForService(smb, std::nullopt);
        discovery.advance();
        EXPECT_THAT(posted, ElementsAre("+Attic _smb._tcp."));
        scanner->stopSearch();
        EXPECT_THAT(discovery.searches(), IsEmpty());
        discovery.announce("Cellar", smb);
        discovery.withdraw("Cellar", smb);
        discovery.advance();
        EXPECT_EQ(posted.size(), 1U);
        EXPECT_THAT(sink.texts(),
            ElementsAre("Starting Bonjour Service Scanner: _smb._tcp.", "Stoping Bonjour Service Scanner: _smb._tcp."));
    }
}

TEST_F(BonjourScannerTest, aSecondSearchDoesNotStopTheFirst) {
    scanner->searchForService(smb, std::nullopt);
    scanner->searchForService("_ftp._tcp.", std::nullopt);
    EXPECT_THAT(discovery.calls(), ElementsAre("search _smb._tcp.", "search _ftp._tcp."));
    EXPECT_THAT(sink.texts(),
        ElementsAre("Starting Bonjour Service Scanner: _smb._tcp.", "Starting Bonjour Service Scanner: _ftp._tcp."));
}

TEST_F(BonjourScannerTest, aFailedSearchIsLoggedAndNotTriedAgain) {
    discovery.setSearchError("no such luck");
    scanner->searchForService(smb, std::nullopt);
    discovery.advance();
    EXPECT_THAT(sink.texts(), ElementsAre("Starting Bonjour Service Scanner: _smb._tcp.", "Bonjour Browser Failed"));
    EXPECT_THAT(discovery.searches(), IsEmpty());
    discovery.advance(Seconds(3600));
    EXPECT_THAT(discovery.calls(), ElementsAre("search _smb._tcp."));
    discovery.setSearchError(std::nullopt);
    discovery.announce("Attic", smb);
    scanner->searchForServices();
    discovery.advance();
    EXPECT_THAT(posted, ElementsAre("+Attic _smb._tcp."));
}

TEST_F(BonjourScannerTest, aMissingTypeIsAFailedSearch) {
    scanner->searchForService(std::nullopt, std::nullopt);
    discovery.advance();
    EXPECT_THAT(sink.texts(), ElementsAre("Starting Bonjour Service Scanner: ", "Bonjour Browser Failed"));
}

TEST_F(BonjourScannerTest, domainsAreOnlyLogged) {
    discovery.announceDomain("lab.example.");
    scanner->searchForDomains();
    sink.clear();
    discovery.advance();
    discovery.withdrawDomain("lab.example.");
    discovery.advance();
    EXPECT_THAT(sink.texts(), ElementsAre("Domain lab.example. found", "Domain lab.example. removed"));
    EXPECT_THAT(posted, IsEmpty());
}

TEST_F(BonjourScannerTest, nothingIsLoggedWhileTheLogIsOff) {
    preferences.set("logToConsole", false);
    discovery.announceDomain("lab.example.");
    scanner->searchForDomains();
    discovery.advance();
    discovery.withdrawDomain("lab.example.");
    discovery.advance();
    scanner->searchForService(smb, std::nullopt);
    discovery.failSearches("gone");
    discovery.advance();
    scanner->stopSearch();
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(BonjourScannerTest, foundServicesAreNotCollected) {
    scanner->setBonjourServices(std::vector<std::string> { "mine" });
    find("Attic");
    EXPECT_EQ(scanner->bonjourServices(), std::vector<std::string> { "mine" });
}

TEST_F(BonjourScannerTest, aScannerThatGoesStopsItsSearchSilently) {
    scanner->searchForService(smb, std::nullopt);
    sink.clear();
    scanner.reset();
    EXPECT_THAT(discovery.calls(), ElementsAre("search _smb._tcp.", "stop search _smb._tcp."));
    EXPECT_EQ(discovery.browsers(), 1); // the test's own
    discovery.announce("Attic", smb);
    discovery.advance();
    EXPECT_THAT(posted, IsEmpty());
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(BonjourScannerTest, whoeverIsToldMayStopOrDestroyTheScanner) {
    discovery.announce("Attic", smb);
    discovery.announce("Cellar", smb);
    scanner->searchForService(smb, std::nullopt);
    const auto stopper
        = center.addObserver("ServiceAdded/Removed", [this](const Notification&) { scanner->stopSearch(); });
    discovery.advance();
    EXPECT_EQ(posted.size(), 1U);
    const auto destroyer = center.addObserver("ServiceAdded/Removed", [this](const Notification&) { scanner.reset(); });
    scanner->searchForServices();
    discovery.advance();
    EXPECT_EQ(posted.size(), 2U);
    EXPECT_EQ(discovery.browsers(), 1); // the test's own
}

TEST_F(BonjourScannerTest, hostileNamesArePostedAsTheyAreAndLoggedEscaped) {
    const std::vector<std::string> names { "a\x1b[2J\r", std::string("nul\0nul", 7), "\xFF\xFE", "%@%s%n",
        std::string(std::size_t { 1 } << 20U, 'x'), "" };
    std::vector<std::string> received;
    const auto own = center.addObserver("ServiceAdded/Removed",
        [&](const Notification& each) { received.push_back(each.userInfo->text("name").value()); });
    for (const auto& name : names)
        find(name);
    EXPECT_EQ(received, names);
    scanner->netServiceBrowserDidFindDomain(*browser, "evil\x1b]0;\n%@", false);
    scanner->searchForService("_\x1b\xFF", "\r");
    discovery.advance();
    EXPECT_THAT(sink.texts(),
        ElementsAre("Domain evil\\x1b]0;\\n%@ found", "Starting Bonjour Service Scanner: _\\x1b\\xff",
            "Bonjour Browser Failed"));
}

/// The least of several rounds: what else the machine does only adds.
template <typename Round>
Seconds leastTime(Round round) {
    Seconds least { 1e9 };
    for (int each = 0; each < 5; ++each) {
        const auto start = threadTime();
        round();
        least = std::min(least, threadTime() - start);
    }
    return least;
}

TEST_F(BonjourScannerTest, aFloodOfEventsCostsLittleMoreThanItsNotifications) {
    constexpr int events = 10000;
    constexpr int servers = 500;
    observer.cancel();
    int delivered = 0;
    const auto counter = center.addObserver(
        "ServiceAdded/Removed", [&](const Notification& each) { delivered += each.userInfo->text("name") ? 1 : 0; });
    std::vector<NetServiceInstance> instances;
    instances.reserve(servers);
    for (int index = 0; index < servers; ++index)
        instances.push_back({ "A server with number " + std::to_string(index), smb, "local." });
    const auto forEachEvent = [&](auto event) {
        for (int index = 0; index < events; ++index)
            event(instances[static_cast<std::size_t>(index / 2 % servers)], index % 2 == 0);
    };

    const auto bare = leastTime([&] {
        forEachEvent([&](const NetServiceInstance& instance, bool isFound) {
            Dictionary userInfo;
            userInfo.set("action", isFound ? 1 : 0);
            userInfo.set("name", instance.name);
            userInfo.set("type", instance.type);
            center.post("ServiceAdded/Removed", this, std::move(userInfo));
        });
    });
    const auto scanned = leastTime([&] {
        forEachEvent([&](const NetServiceInstance& instance, bool isFound) {
            if (isFound)
                scanner->netServiceBrowserDidFindService(*browser, instance, true);
            else
                scanner->netServiceBrowserDidRemoveService(*browser, instance, true);
        });
    });
    EXPECT_EQ(delivered, 2 * 5 * events);
    EXPECT_LT(scanned / bare, 1.5);
    RecordProperty("ratio", std::to_string(scanned / bare));
}

} // namespace
} // namespace quorrel
