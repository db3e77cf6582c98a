// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"

#include "Sources/BonjourResolver.h"
#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Tests/Fakes/FakeChildProcess.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Integration/AvahiDaemon.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace quorrel {
namespace {

using testing::ElementsAre;

class AvahiServiceDiscoveryTest : public testing::Test {
protected:
    /// Whatever a test did to the daemon, the next one finds it at work.
    ~AvahiServiceDiscoveryTest() override {
        delegate.then = nullptr;
        EXPECT_TRUE(daemon.start());
        EXPECT_TRUE(isFoundSoon("Attic"));
    }

    std::unique_ptr<NetService> makeService(const std::string& name) {
        auto service = discovery.makeNetService("local.", "_afpovertcp._tcp.", name);
        service->setDelegate(&delegate);
        return service;
    }

    /// How the resolution of that name ends.
    std::string outcome(const std::string& name, Seconds timeout = Seconds(5)) {
        delegate.heard.clear();
        const auto service = makeService(name);
        service->resolveWithTimeout(timeout);
        return runMainContextUntil([&] { return delegate.hasEnded(); }, Seconds(10)) ? delegate.heard.back()
                                                                                     : "nothing";
    }

    /// A daemon that was just started needs a moment before it answers for what it publishes.
    bool isFoundSoon(const std::string& name) {
        for (int attempt = 0; attempt < 30; ++attempt)
            if (outcome(name, Seconds(1)) == "did resolve")
                return true;
            else
                static_cast<void>(runMainContextUntil([] { return false; }, Seconds(0.2)));
        return false;
    }

    // Restores the daemon last of all, whatever a test did to it.
    static AvahiDaemon daemon;

    AvahiServiceDiscovery discovery;
    RecordingNetServiceDelegate delegate;
};

AvahiDaemon AvahiServiceDiscoveryTest::daemon;

TEST_F(AvahiServiceDiscoveryTest, aDaemonThatGoesEndsTheResolutionsUnderWay) {
    ASSERT_EQ(outcome("Attic"), "did resolve");
    delegate.heard.clear();
    const auto service = makeService("Nowhere");
    service->resolveWithTimeout(Seconds(30));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(daemon.stop());
    ASSERT_TRUE(runMainContextUntil([&] { return delegate.hasEnded(); }, Seconds(5)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve"));
    EXPECT_FALSE(delegate.error.empty());
}

TEST_F(AvahiServiceDiscoveryTest, withoutADaemonAResolutionFailsSoonAndNotDuringTheCall) {
    ASSERT_TRUE(daemon.stop());
    const auto service = makeService("Attic");
    service->resolveWithTimeout(Seconds(30));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve"));
    ASSERT_TRUE(runMainContextUntil([&] { return delegate.hasEnded(); }, Seconds(2)));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve"));
    EXPECT_FALSE(delegate.error.empty());
}

TEST_F(AvahiServiceDiscoveryTest, aDaemonThatComesIsFound) {
    ASSERT_TRUE(daemon.stop());
    EXPECT_EQ(outcome("Attic", Seconds(1)), "did not resolve");
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(isFoundSoon("Attic"));
}

TEST_F(AvahiServiceDiscoveryTest, aDaemonThatComesBackIsTakenUpAgainEachTime) {
    ASSERT_TRUE(isFoundSoon("Attic"));
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(daemon.stop());
        EXPECT_EQ(outcome("Attic", Seconds(1)), "did not resolve");
        ASSERT_TRUE(daemon.start());
        EXPECT_TRUE(isFoundSoon("Attic"));
    }
}

TEST_F(AvahiServiceDiscoveryTest, aServiceMadeBeforeTheRestartCanBeResolvedAfterIt) {
    const auto service = makeService("Attic");
    service->resolveWithTimeout(Seconds(5));
    ASSERT_TRUE(runMainContextUntil([&] { return delegate.hasEnded(); }, Seconds(10)));
    ASSERT_TRUE(daemon.stop());
    ASSERT_TRUE(daemon.start());
    ASSERT_TRUE(isFoundSoon("Attic"));
    delegate.heard.clear();
    service->resolveWithTimeout(Seconds(5));
    ASSERT_TRUE(runMainContextUntil([&] { return delegate.hasEnded(); }, Seconds(10)));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did resolve"));
}

TEST_F(AvahiServiceDiscoveryTest, destroyingEverythingWhileTheDaemonGoesIsHarmless) {
    auto local = std::make_unique<AvahiServiceDiscovery>();
    auto service = local->makeNetService("local.", "_afpovertcp._tcp.", "Nowhere");
    service->setDelegate(&delegate);
    service->resolveWithTimeout(Seconds(30));
    delegate.then = [&](const std::string& event) {
        if (event == "did not resolve")
            service.reset();
    };
    ASSERT_TRUE(daemon.stop());
    ASSERT_TRUE(runMainContextUntil([&] { return !service; }, Seconds(5)));
    local.reset(); // before the lost client was replaced
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.5)));
}

class ResolverOnAvahiTest : public AvahiServiceDiscoveryTest {
protected:
    ResolverOnAvahiTest() { preferences.set("logToConsole", true); }

    bool resolve(const std::string& name) {
        host = HostDefinition::initWithName(name, context);
        service = ServiceDefinition::initWithParentHost(host);
        service->displayType.set("Apple Filing Protocol (afp)");
        host->services.append(service);
        resolver.resolve(service, nullptr);
        EXPECT_TRUE(host->resolving.get());
        return runMainContextUntil([&] { return !host->resolving.get(); }, Seconds(10));
    }

    Preferences preferences;
    FakeClock clock;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
    FakeChildProcess childProcess;
    FakeStringTable strings;
    FakeWorkspace workspace;
    CatalogueContextPointer context = std::make_shared<const CatalogueContext>(CatalogueContext { strings, workspace });
    ResolverEnvironment environment { discovery, childProcess, log };
    std::shared_ptr<HostDefinition> host;
    std::shared_ptr<ServiceDefinition> service;
    BonjourResolver resolver { environment };
};

TEST_F(ResolverOnAvahiTest, aPublishedServiceFillsTheHostsFields) {
    ASSERT_TRUE(resolve("Attic"));
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(host->hostName.get(), "attic.local");
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "127.0.0.6" });
    EXPECT_EQ(service->port.get(), 548);
    EXPECT_THAT(sink.texts(), ElementsAre("Resolving [Attic]", "Did Resolved [Attic] notifying mounter"));
    EXPECT_THAT(childProcess.calls(), testing::IsEmpty());
}

TEST_F(ResolverOnAvahiTest, aServiceThatNobodyPublishesFallsBackToNslookupAfterFiveSeconds) {
    childProcess.setOutput("/usr/bin/nslookup", "Name:\tNowhere\nAddress: 10.0.1.7\n");
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(resolve("Nowhere"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4900));
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(host->hostName.get(), "Nowhere");
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "10.0.1.7" });
    EXPECT_EQ(childProcess.calls().size(), 1U);
}

TEST_F(ResolverOnAvahiTest, withoutADaemonTheFallBackComesAtOnce) {
    ASSERT_TRUE(daemon.stop());
    childProcess.setOutput("/usr/bin/nslookup", "** server can't find Attic: NXDOMAIN\n");
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(resolve("Attic"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_FALSE(host->resolved.get());
    EXPECT_EQ(childProcess.calls().size(), 1U);
}

} // namespace
} // namespace quorrel
