// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/DiscoveryWorld.h"
#include "Tests/Platform/RecordingNetServiceBrowserDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class ServiceBrowsingContract : public testing::Test {
protected:
    std::unique_ptr<NetServiceBrowser> makeBrowser() { return makeBrowser(delegate); }
    std::unique_ptr<NetServiceBrowser> makeBrowser(NetServiceBrowserDelegate& hearer) {
        auto browser = world->discovery().makeNetServiceBrowser();
        browser->setDelegate(&hearer);
        return browser;
    }
    std::unique_ptr<NetServiceBrowser> makeSearch() {
        auto browser = makeBrowser();
        browser->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
        return browser;
    }

    bool runUntilHeard(const std::string& event) {
        return world->runUntil([&] { return delegate.hasHeard(event); }, Seconds(10));
    }
    /// Gives whatever may still come the time to come.
    void runOn(Seconds duration = Seconds(0.3)) {
        EXPECT_FALSE(world->runUntil([] { return false; }, duration));
    }

    /// A network remembers names for a while; no test shall meet another's.
    static std::string newName() {
        static int number = 0;
        return "Loft " + std::to_string(++number);
    }

    RecordingNetServiceBrowserDelegate delegate;
    std::unique_ptr<DiscoveryWorld> world = DiscoveryWorld::make();
};

TEST_F(ServiceBrowsingContract, tellsOfTheStartAtOnceAndOfWhatIsThereLater) {
    const auto browser = makeSearch();
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
    EXPECT_TRUE(runUntilHeard("found Attic"));
}

TEST_F(ServiceBrowsingContract, findsNothingBeforeItSearches) {
    const auto browser = makeBrowser();
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
}

TEST_F(ServiceBrowsingContract, typeAndDomainHaveTheDotAtTheirEnd) {
    const auto browser = makeBrowser();
    browser->searchForServicesOfType("_afpovertcp._tcp", "local");
    ASSERT_TRUE(runUntilHeard("found Attic"));
    EXPECT_EQ(delegate.lastInstance.name, "Attic");
    EXPECT_EQ(delegate.lastInstance.type, "_afpovertcp._tcp.");
    EXPECT_EQ(delegate.lastInstance.domain, "local.");
}

TEST_F(ServiceBrowsingContract, anAbsentAndAnEmptyDomainAndTheLocalOneFindTheSame) {
    for (const std::optional<std::string>& domain :
        { std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>("local.") }) {
        delegate.heard.clear();
        const auto browser = makeBrowser();
        browser->searchForServicesOfType(DiscoveryWorld::publishedType, domain);
        EXPECT_TRUE(runUntilHeard("found Attic"));
    }
}

TEST_F(ServiceBrowsingContract, whatComesIsFoundOnceAndWhatGoesIsRemovedOnce) {
    const auto name = newName();
    const auto browser = makeSearch();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    EXPECT_FALSE(delegate.hasHeard("found " + name));
    world->announce(name);
    ASSERT_TRUE(runUntilHeard("found " + name));
    world->withdraw(name);
    ASSERT_TRUE(runUntilHeard("removed " + name));
    EXPECT_EQ(delegate.lastInstance.type, DiscoveryWorld::publishedType);
    EXPECT_EQ(delegate.lastInstance.domain, "local.");
    runOn();
    EXPECT_EQ(delegate.count("found " + name), 1);
    EXPECT_EQ(delegate.count("removed " + name), 1);
    EXPECT_FALSE(delegate.hasHeard("removed Attic"));
}

TEST_F(ServiceBrowsingContract, namesMayHoldAnyLetters) {
    const auto name = "Zoë's \\ \"NAS\". & <" + newName() + ">";
    const auto browser = makeSearch();
    world->announce(name);
    EXPECT_TRUE(runUntilHeard("found " + name));
    world->withdraw(name);
    EXPECT_TRUE(runUntilHeard("removed " + name));
}

TEST_F(ServiceBrowsingContract, aSecondBrowserFindsWhatIsThereAlready) {
    const auto first = makeSearch();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    RecordingNetServiceBrowserDelegate other;
    const auto second = makeBrowser(other);
    second->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
    EXPECT_TRUE(world->runUntil([&] { return other.hasHeard("found Attic"); }, Seconds(5)));
    EXPECT_EQ(delegate.count("found Attic"), 1);
}

TEST_F(ServiceBrowsingContract, anotherTypeIsNotFound) {
    const auto browser = makeBrowser();
    browser->searchForServicesOfType("_ftp._tcp.", std::nullopt);
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
}

TEST_F(ServiceBrowsingContract, stoppingIsToldAtOnceAndRemovesNothing) {
    const auto browser = makeSearch();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    delegate.heard.clear();
    browser->stop();
    EXPECT_THAT(delegate.heard, ElementsAre("did stop"));
    const auto name = newName();
    world->announce(name);
    runOn(Seconds(1.5));
    browser->stop();
    EXPECT_THAT(delegate.heard, ElementsAre("did stop"));
}

TEST_F(ServiceBrowsingContract, stoppingAnIdleBrowserDoesNothing) {
    makeBrowser()->stop();
    EXPECT_THAT(delegate.heard, IsEmpty());
}

TEST_F(ServiceBrowsingContract, aStoppedBrowserCanSearchAgainAndFindsAllAgain) {
    const auto browser = makeSearch();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(runUntilHeard("found Attic"));
        browser->stop();
        delegate.heard.clear();
        browser->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
    }
    EXPECT_TRUE(runUntilHeard("found Attic"));
}

TEST_F(ServiceBrowsingContract, theSameSearchGoesOnWhenItIsAskedForAgain) {
    const auto browser = makeSearch();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    delegate.heard.clear();
    browser->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
    browser->searchForServicesOfType("_afpovertcp._tcp", "");
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will search", "will search"));
    const auto name = newName();
    world->announce(name);
    EXPECT_TRUE(runUntilHeard("found " + name));
    world->withdraw(name);
    EXPECT_TRUE(runUntilHeard("removed " + name));
}

TEST_F(ServiceBrowsingContract, aSearchForSomethingElseTakesThePlaceOfTheFirstSilently) {
    const auto browser = makeSearch();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    delegate.heard.clear();
    browser->searchForServicesOfType("_ftp._tcp.", std::nullopt);
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
    browser->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
    EXPECT_TRUE(runUntilHeard("found Attic"));
    EXPECT_THAT(delegate.heard, Not(Contains("removed Attic")));
}

TEST_F(ServiceBrowsingContract, whatCannotBeSearchedForFailsButNotDuringTheCall) {
    using namespace std::string_literals;
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases {
        { "", std::nullopt },
        { "afp", std::nullopt },
        { "_\xFF._tcp.", std::nullopt },
        { "_afpovertcp\0._tcp."s, std::nullopt },
        { DiscoveryWorld::publishedType, "lo\xFF" },
    };
    const auto browser = makeBrowser();
    for (const auto& [type, domain] : cases) {
        delegate.heard.clear();
        delegate.error.clear();
        browser->searchForServicesOfType(type, domain);
        EXPECT_THAT(delegate.heard, ElementsAre("will search"));
        ASSERT_TRUE(runUntilHeard("did not search")) << type;
        runOn(Seconds(0.1));
        EXPECT_THAT(delegate.heard, ElementsAre("will search", "did not search"));
        EXPECT_FALSE(delegate.error.empty());
    }
    delegate.heard.clear();
    browser->stop();
    EXPECT_THAT(delegate.heard, IsEmpty()); // it is idle
    browser->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
    EXPECT_TRUE(runUntilHeard("found Attic"));
}

TEST_F(ServiceBrowsingContract, aFailureToComeCanBeStopped) {
    const auto browser = makeBrowser();
    browser->searchForServicesOfType("afp", std::nullopt);
    browser->stop();
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will search", "did stop"));
}

TEST_F(ServiceBrowsingContract, aSearchForDomainsCanBeStartedAndStopped) {
    const auto browser = makeBrowser();
    browser->searchForBrowsableDomains();
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
    runOn();
    EXPECT_EQ(delegate.countOfAll("found "), delegate.countOfAll("found domain "));
    browser->stop();
    EXPECT_EQ(delegate.heard.back(), "did stop");
}

TEST_F(ServiceBrowsingContract, aDelegateMayDestroyTheBrowserFromAnyCall) {
    const auto name = newName();
    for (const std::string event : { "will search", "found Attic", "removed", "did stop", "did not search" }) {
        delegate.heard.clear();
        auto browser = makeBrowser();
        delegate.then = [&](const std::string& heard) {
            if (heard.starts_with(event))
                browser.reset();
        };
        if (event == "removed") {
            world->announce(name);
            browser->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
            ASSERT_TRUE(runUntilHeard("found " + name));
            world->withdraw(name);
        } else {
            browser->searchForServicesOfType(
                event == "did not search" ? "afp" : DiscoveryWorld::publishedType, std::nullopt);
        }
        if (event == "did stop")
            browser->stop();
        ASSERT_TRUE(world->runUntil([&] { return !browser; }, Seconds(10))) << event;
        runOn(Seconds(0.1));
        EXPECT_TRUE(delegate.heard.back().starts_with(event)) << event;
    }
}

TEST_F(ServiceBrowsingContract, aDelegateMayStopTheBrowserFromAnyCall) {
    for (const std::string event : { "will search", "found Attic" }) {
        delegate.heard.clear();
        const auto browser = makeBrowser();
        delegate.then = [&](const std::string& heard) {
            if (heard == event)
                browser->stop();
        };
        browser->searchForServicesOfType(DiscoveryWorld::publishedType, std::nullopt);
        ASSERT_TRUE(runUntilHeard("did stop")) << event;
        runOn(Seconds(0.1));
        EXPECT_EQ(delegate.heard.back(), "did stop");
        EXPECT_EQ(delegate.count("did stop"), 1);
    }
}

TEST_F(ServiceBrowsingContract, aDestroyedBrowserIsSilent) {
    makeSearch().reset();
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
}

TEST_F(ServiceBrowsingContract, aBrowserWithoutADelegateSearchesAllTheSame) {
    const auto browser = makeSearch();
    browser->setDelegate(nullptr);
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
    const auto name = newName();
    browser->setDelegate(&delegate);
    world->announce(name);
    EXPECT_TRUE(runUntilHeard("found " + name));
}

} // namespace
} // namespace quorrel
