// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/ReachabilityWorld.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto reachable = ReachabilityFlag::reachable;

class NetworkReachabilityContract : public testing::Test {
protected:
    std::unique_ptr<ReachabilityReference> makeReference(const std::string& host = ReachabilityWorld::hostName) {
        auto reference = network->createWithName(host);
        if (reference)
            reference->setCallback([this](std::uint32_t flags) { told.push_back(flags); });
        return reference;
    }
    bool runUntilTold(std::size_t count) {
        return world->runUntil([&] { return told.size() >= count; }, Seconds(10));
    }
    /// Gives whatever may still come the time to come.
    void runOn(Seconds duration = Seconds(0.3)) {
        EXPECT_FALSE(world->runUntil([] { return false; }, duration));
    }

    std::unique_ptr<ReachabilityWorld> world = ReachabilityWorld::make();
    std::unique_ptr<NetworkReachability> network = world->makeReachability();
    std::vector<std::uint32_t> told;
};

TEST_F(NetworkReachabilityContract, anEmptyNameIsWatchedByNobody) {
    EXPECT_EQ(network->createWithName(""), nullptr);
}

TEST_F(NetworkReachabilityContract, knowsNothingBeforeTheFirstAnswer) {
    const auto reference = makeReference();
    EXPECT_EQ(reference->flags(), std::nullopt);
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    EXPECT_EQ(reference->flags(), std::nullopt);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(NetworkReachabilityContract, theFirstAnswerIsToldOnce) {
    for (const auto* host : { ReachabilityWorld::hostName, ReachabilityWorld::hostAddress }) {
        told.clear();
        const auto reference = makeReference(host);
        ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
        ASSERT_TRUE(runUntilTold(1)) << host;
        EXPECT_EQ(reference->flags(), reachable);
        runOn();
        EXPECT_THAT(told, ElementsAre(reachable)) << host;
    }
}

TEST_F(NetworkReachabilityContract, aFirstAnswerThatSaysNotReachableIsToldToo) {
    world->setLinkUp(false);
    for (const auto* host :
        { ReachabilityWorld::hostName, ReachabilityWorld::hostAddress, ReachabilityWorld::unknownName }) {
        told.clear();
        const auto reference = makeReference(host);
        ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
        ASSERT_TRUE(runUntilTold(1)) << host;
        EXPECT_THAT(told, ElementsAre(0U)) << host;
        EXPECT_EQ(reference->flags(), 0U);
    }
}

TEST_F(NetworkReachabilityContract, whatCanBeNoNameIsNotReachable) {
    using namespace std::string_literals;
    for (const auto& host : { "two words"s, std::string(300, 'a'), "line\nfeed"s, "bell\a"s, "half\0name"s, " "s,
             "-version"s, "--"s, "10.78.0.2 "s, "10.78.0.2\0"s, "caf\xC3"s, "%eth0"s, "a..b"s, ":"s }) {
        told.clear();
        const auto reference = makeReference(host);
        ASSERT_TRUE(reference) << host;
        ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
        ASSERT_TRUE(runUntilTold(1)) << host;
        EXPECT_THAT(told, ElementsAre(0U)) << host;
    }
}

TEST_F(NetworkReachabilityContract, eachChangeIsToldOnce) {
    for (const auto* host : { ReachabilityWorld::hostName, ReachabilityWorld::hostAddress }) {
        told.clear();
        const auto reference = makeReference(host);
        ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
        ASSERT_TRUE(runUntilTold(1)) << host;
        world->setLinkUp(false);
        ASSERT_TRUE(runUntilTold(2)) << host;
        EXPECT_EQ(reference->flags(), 0U);
        world->setLinkUp(true);
        ASSERT_TRUE(runUntilTold(3)) << host;
        runOn(Seconds(1.5));
        EXPECT_THAT(told, ElementsAre(reachable, 0U, reachable)) << host;
    }
}

TEST_F(NetworkReachabilityContract, aNameThatNobodyHasIsToldOfOnce) {
    const auto reference = makeReference(ReachabilityWorld::unknownName);
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    ASSERT_TRUE(runUntilTold(1));
    world->setLinkUp(false);
    runOn();
    world->setLinkUp(true);
    runOn(Seconds(2.5)); // it is asked for again
    EXPECT_THAT(told, ElementsAre(0U));
}

TEST_F(NetworkReachabilityContract, schedulingTwiceTellsOnce) {
    const auto reference = makeReference();
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    ASSERT_TRUE(runUntilTold(1));
    runOn();
    EXPECT_THAT(told, ElementsAre(reachable));
    reference->unscheduleFromRunLoop(world->runLoop());
    world->setLinkUp(false);
    runOn();
    EXPECT_THAT(told, ElementsAre(reachable));
}

TEST_F(NetworkReachabilityContract, unschedulingFromALoopThatItIsNotOnChangesNothing) {
    const auto reference = makeReference();
    reference->unscheduleFromRunLoop(world->runLoop());
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    reference->unscheduleFromRunLoop(world->otherRunLoop());
    EXPECT_TRUE(runUntilTold(1));
}

TEST_F(NetworkReachabilityContract, whatIsNotScheduledIsSilent) {
    const auto reference = makeReference();
    runOn();
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    reference->unscheduleFromRunLoop(world->runLoop());
    runOn();
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(NetworkReachabilityContract, whatChangedWhileItWasNotScheduledIsToldAfterwards) {
    const auto reference = makeReference();
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    ASSERT_TRUE(runUntilTold(1));
    reference->unscheduleFromRunLoop(world->runLoop());
    world->setLinkUp(false);
    runOn();
    EXPECT_THAT(told, ElementsAre(reachable));
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    ASSERT_TRUE(runUntilTold(2));
    EXPECT_THAT(told, ElementsAre(reachable, 0U));
}

TEST_F(NetworkReachabilityContract, theCallbackSeesTheFlagsThatItIsTold) {
    const auto reference = makeReference();
    std::vector<std::uint32_t> seen;
    reference->setCallback([&](std::uint32_t flags) {
        told.push_back(flags);
        seen.push_back(reference->flags().value_or(99));
    });
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    ASSERT_TRUE(runUntilTold(1));
    world->setLinkUp(false);
    ASSERT_TRUE(runUntilTold(2));
    EXPECT_EQ(seen, told);
}

TEST_F(NetworkReachabilityContract, theCallbackMayDestroyTheReference) {
    for (const auto* host : { ReachabilityWorld::hostName, ReachabilityWorld::hostAddress }) {
        auto reference = makeReference(host);
        reference->setCallback([&](std::uint32_t) { reference.reset(); });
        ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
        EXPECT_TRUE(world->runUntil([&] { return !reference; }, Seconds(10))) << host;
        runOn(Seconds(0.1));
    }
}

TEST_F(NetworkReachabilityContract, theCallbackMayUnscheduleAndBeReplaced) {
    for (const auto* host : { ReachabilityWorld::hostName, ReachabilityWorld::hostAddress }) {
        told.clear();
        const auto reference = makeReference(host);
        reference->setCallback([&](std::uint32_t flags) {
            told.push_back(flags);
            reference->unscheduleFromRunLoop(world->runLoop());
            reference->setCallback(nullptr);
        });
        ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
        ASSERT_TRUE(runUntilTold(1));
        world->setLinkUp(false);
        runOn();
        EXPECT_THAT(told, ElementsAre(reachable));
        world->setLinkUp(true);
    }
}

TEST_F(NetworkReachabilityContract, withoutACallbackTheFlagsAreKnownAllTheSame) {
    const auto reference = makeReference();
    reference->setCallback(nullptr);
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    EXPECT_TRUE(world->runUntil([&] { return reference->flags() == reachable; }, Seconds(10)));
}

TEST_F(NetworkReachabilityContract, destroyingIsSilent) {
    auto reference = makeReference();
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    reference.reset();
    runOn();
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(NetworkReachabilityContract, referencesDoNotDisturbOneAnother) {
    std::vector<std::uint32_t> others;
    auto other = makeReference(ReachabilityWorld::unknownName);
    other->setCallback([&](std::uint32_t flags) { others.push_back(flags); });
    ASSERT_TRUE(other->scheduleWithRunLoop(world->runLoop()));
    const auto reference = makeReference();
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    ASSERT_TRUE(runUntilTold(1));
    ASSERT_TRUE(world->runUntil([&] { return !others.empty(); }, Seconds(10)));
    other.reset();
    world->setLinkUp(false);
    ASSERT_TRUE(runUntilTold(2));
    EXPECT_THAT(told, ElementsAre(reachable, 0U));
    EXPECT_THAT(others, ElementsAre(0U));
}

TEST_F(NetworkReachabilityContract, aReferenceMayOutliveWhatMadeIt) {
    const auto reference = makeReference();
    ASSERT_TRUE(reference->scheduleWithRunLoop(world->runLoop()));
    network.reset();
    runOn(Seconds(0.1));
    SUCCEED();
}

} // namespace
} // namespace quorrel
