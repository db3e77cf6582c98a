// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/DiscoveryWorld.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DNSServiceDiscoveryContract : public testing::Test {
protected:
    std::unique_ptr<NetService> makeService(const std::string& name,
        const std::optional<std::string>& domain = "local.", const std::string& type = DiscoveryWorld::publishedType) {
        auto service = world->discovery().makeNetService(domain, type, name);
        service->setDelegate(&delegate);
        return service;
    }

    bool runToTheEnd(Seconds limit = Seconds(10)) {
        return world->runUntil([this] { return delegate.hasEnded(); }, limit);
    }
    /// Gives whatever may still come the time to come.
    void runOn(Seconds duration = Seconds(0.3)) {
        EXPECT_FALSE(world->runUntil([] { return false; }, duration));
    }

    std::unique_ptr<DiscoveryWorld> world = DiscoveryWorld::make();
    RecordingNetServiceDelegate delegate;
};

TEST_F(DNSServiceDiscoveryContract, knowsNothingOfAServiceBeforeItsResolution) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    EXPECT_EQ(service->name(), DiscoveryWorld::publishedName);
    EXPECT_EQ(service->addresses(), std::nullopt);
    EXPECT_EQ(service->hostName(), "");
    EXPECT_EQ(service->port(), -1);
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
}

TEST_F(DNSServiceDiscoveryContract, tellsOfTheStartAtOnceAndOfTheAnswerLater) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->resolveWithTimeout(Seconds(5));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve"));
    EXPECT_TRUE(runToTheEnd());
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did resolve"));
}

TEST_F(DNSServiceDiscoveryContract, anAnswerHasHostNamePortAndAddress) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->resolveWithTimeout(Seconds(5));
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(service->hostName(), DiscoveryWorld::publishedHost);
    EXPECT_EQ(service->port(), DiscoveryWorld::publishedPort);
    const SocketAddress wanted { 16, 2, 0x02, 0x24, 127, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0, 0 };
    ASSERT_TRUE(service->addresses());
    EXPECT_THAT(*service->addresses(), ElementsAre(wanted));
}

TEST_F(DNSServiceDiscoveryContract, anAbsentOrEmptyDomainIsTheLocalOne) {
    for (const std::optional<std::string>& domain : { std::optional<std::string>(), std::optional<std::string>("") }) {
        const auto service = makeService(DiscoveryWorld::publishedName, domain);
        service->resolveWithTimeout(Seconds(5));
        ASSERT_TRUE(runToTheEnd());
        EXPECT_EQ(delegate.heard.back(), "did resolve");
        delegate.heard.clear();
    }
}

TEST_F(DNSServiceDiscoveryContract, theDotsAtTheEndMayBeMissing) {
    const auto service = makeService(DiscoveryWorld::publishedName, "local", "_afpovertcp._tcp");
    service->resolveWithTimeout(Seconds(5));
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(delegate.heard.back(), "did resolve");
}

TEST_F(DNSServiceDiscoveryContract, silenceFollowsTheAnswerBeyondTheTimeOut) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->resolveWithTimeout(Seconds(1));
    ASSERT_TRUE(runToTheEnd());
    runOn(Seconds(1.5));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did resolve"));
    service->stop();
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did resolve"));
}

TEST_F(DNSServiceDiscoveryContract, aNameThatNobodyHasEndsOnceAtTheTimeOut) {
    const auto service = makeService("Nowhere");
    const auto start = world->now();
    service->resolveWithTimeout(Seconds(0.5));
    ASSERT_TRUE(runToTheEnd());
    const auto took = world->now() - start;
    EXPECT_GE(took.count(), 0.48);
    EXPECT_LT(took.count(), 2.0);
    EXPECT_FALSE(delegate.error.empty());
    EXPECT_EQ(service->addresses(), std::nullopt);
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve"));
}

TEST_F(DNSServiceDiscoveryContract, theUsualTimeOutEndsOnce) {
    const auto service = makeService("Nowhere");
    const auto start = world->now();
    service->resolveWithTimeout(Seconds(5.0));
    ASSERT_TRUE(runToTheEnd());
    const auto took = world->now() - start;
    EXPECT_GE(took.count(), 4.9);
    EXPECT_LT(took.count(), 6.0);
    runOn(Seconds(0.5)); // the platform's own time-out is due as well
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve"));
}

TEST_F(DNSServiceDiscoveryContract, anImpossibleNameFailsEarlyButNotDuringTheCall) {
    using namespace std::string_literals;
    for (const auto& name : { ""s, "Att\xFFic"s, "Attic\0Cellar"s, std::string(64, 'a') }) {
        delegate.heard.clear();
        delegate.error.clear();
        const auto service = makeService(name);
        service->resolveWithTimeout(Seconds(30));
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve"));
        ASSERT_TRUE(runToTheEnd(Seconds(2))) << name;
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve"));
        EXPECT_FALSE(delegate.error.empty());
    }
}

TEST_F(DNSServiceDiscoveryContract, anImpossibleTypeOrDomainFailsEarlyButNotDuringTheCall) {
    const std::vector<std::pair<std::string, std::string>> cases {
        { "local.", "" },
        { "local.", "afp" },
        { "local.", "_\xFF._tcp." },
        { "lo\xFF"
          "cal.",
            DiscoveryWorld::publishedType },
    };
    for (const auto& [domain, type] : cases) {
        delegate.heard.clear();
        const auto service = makeService(DiscoveryWorld::publishedName, domain, type);
        service->resolveWithTimeout(Seconds(30));
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve"));
        ASSERT_TRUE(runToTheEnd(Seconds(2))) << domain << " " << type;
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve"));
    }
}

TEST_F(DNSServiceDiscoveryContract, stoppingIsToldAtOnceAndEndsIt) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->resolveWithTimeout(Seconds(0.2));
    service->stop();
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did stop"));
    service->stop();
    runOn(Seconds(0.5));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did stop"));
}

TEST_F(DNSServiceDiscoveryContract, stoppingWhatNeverStartedIsSilent) {
    makeService(DiscoveryWorld::publishedName)->stop();
    EXPECT_THAT(delegate.heard, IsEmpty());
}

TEST_F(DNSServiceDiscoveryContract, destroyingIsSilentAndEndsIt) {
    auto service = makeService(DiscoveryWorld::publishedName);
    service->resolveWithTimeout(Seconds(0.2));
    service.reset();
    runOn(Seconds(0.5));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve"));
}

TEST_F(DNSServiceDiscoveryContract, aDelegateMayDestroyTheServiceFromAnyCallback) {
    const std::vector<std::pair<std::string, std::string>> cases {
        { "will resolve", DiscoveryWorld::publishedName },
        { "did resolve", DiscoveryWorld::publishedName },
        { "did not resolve", "Nowhere" },
    };
    for (const auto& each : cases) {
        const auto& event = each.first;
        delegate.heard.clear();
        auto service = makeService(each.second);
        delegate.then = [&](const std::string& heard) {
            if (heard == event)
                service.reset();
        };
        service->resolveWithTimeout(Seconds(0.2));
        EXPECT_TRUE(world->runUntil([&] { return !service; }, Seconds(5))) << event;
        runOn();
        EXPECT_EQ(delegate.heard.back(), event);
    }
    delegate.heard.clear();
    auto service = makeService(DiscoveryWorld::publishedName);
    delegate.then = [&](const std::string& heard) {
        if (heard == "did stop")
            service.reset();
    };
    service->resolveWithTimeout(Seconds(0.2));
    service->stop();
    EXPECT_FALSE(service);
}

TEST_F(DNSServiceDiscoveryContract, aDelegateMayStopTheServiceFromItsStart) {
    auto service = makeService(DiscoveryWorld::publishedName);
    delegate.then = [&](const std::string& heard) {
        if (heard == "will resolve")
            service->stop();
    };
    service->resolveWithTimeout(Seconds(0.2));
    runOn(Seconds(0.5));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did stop"));
}

TEST_F(DNSServiceDiscoveryContract, oneServiceCanBeResolvedAgain) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    for (int round = 0; round < 3; ++round) {
        delegate.heard.clear();
        service->resolveWithTimeout(Seconds(5));
        ASSERT_TRUE(runToTheEnd());
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did resolve"));
    }
}

TEST_F(DNSServiceDiscoveryContract, servicesDoNotDisturbOneAnother) {
    RecordingNetServiceDelegate other;
    const auto missing = makeService("Nowhere");
    missing->setDelegate(&other);
    missing->resolveWithTimeout(Seconds(0.6));
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->resolveWithTimeout(Seconds(5));
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(delegate.heard.back(), "did resolve");
    ASSERT_TRUE(world->runUntil([&] { return other.hasEnded(); }, Seconds(5)));
    EXPECT_THAT(other.heard, ElementsAre("will resolve", "did not resolve"));
}

TEST_F(DNSServiceDiscoveryContract, aServiceWithoutADelegateIsResolvedAllTheSame) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->setDelegate(nullptr);
    service->resolveWithTimeout(Seconds(5));
    EXPECT_TRUE(world->runUntil([&] { return service->addresses().has_value(); }, Seconds(10)));
    EXPECT_EQ(service->port(), DiscoveryWorld::publishedPort);
}

} // namespace
} // namespace quorrel
