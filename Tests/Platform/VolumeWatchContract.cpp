// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/VolumeWatchWorld.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class VolumeWatchContract : public testing::Test {
protected:
    VolumeWatch::Callback note(const std::string& word) {
        return [this, word](const VolumeDescription& volume) {
            heard.push_back(word + volume.volumeName.value_or("?"));
            descriptions.push_back(volume);
            if (then)
                then(heard.back());
        };
    }
    std::string come(int number) const { return "+" + world->nameOf(number); }
    std::string gone(int number) const { return "-" + world->nameOf(number); }
    bool hears(std::size_t count) {
        return world->runUntil([&] { return heard.size() >= count; }, Seconds(10));
    }
    /// Gives whatever may still come the time to come.
    void runOn() {
        EXPECT_FALSE(world->runUntil([] { return false; }, Seconds(1)));
    }

    std::unique_ptr<VolumeWatchWorld> world = VolumeWatchWorld::make();
    std::vector<std::string> heard;
    std::vector<VolumeDescription> descriptions;
    std::function<void(const std::string&)> then;
};

TEST_F(VolumeWatchContract, aVolumeIsReportedOnceWhenItComesAndOnceWhenItGoes) {
    const auto disappeared = world->watch().registerDiskDisappearedCallback(note("-"));
    const auto appeared = world->watch().registerDiskAppearedCallback(note("+"));
    ASSERT_TRUE(world->mount(1));
    ASSERT_TRUE(hears(1));
    runOn();
    ASSERT_TRUE(world->unmount(1));
    ASSERT_TRUE(hears(2));
    runOn();
    EXPECT_THAT(heard, ElementsAre(come(1), gone(1)));
}

TEST_F(VolumeWatchContract, aVolumeIsDescribedInAllItsFieldsAndGoesAsItCame) {
    const auto disappeared = world->watch().registerDiskDisappearedCallback(note("-"));
    const auto appeared = world->watch().registerDiskAppearedCallback(note("+"));
    ASSERT_TRUE(world->mount(2));
    ASSERT_TRUE(hears(1));
    ASSERT_TRUE(world->unmount(2));
    ASSERT_TRUE(hears(2));
    for (const auto& description : descriptions) {
        EXPECT_EQ(description.volumeName, world->nameOf(2));
        EXPECT_EQ(description.volumeKind, "smbfs");
        ASSERT_TRUE(description.volumePath);
        EXPECT_TRUE(description.volumePath->starts_with("file:///")) << *description.volumePath;
        EXPECT_TRUE(description.volumePath->ends_with("/" + world->nameOf(2))) << *description.volumePath;
        EXPECT_TRUE(description.isNetwork);
        EXPECT_FALSE(description.serverName.empty());
    }
    EXPECT_EQ(descriptions[0].volumePath, descriptions[1].volumePath);
    EXPECT_EQ(descriptions[0].serverName, descriptions[1].serverName);
}

TEST_F(VolumeWatchContract, volumesThatAreThereAreReportedToANewCallbackAloneAndLater) {
    const auto first = world->watch().registerDiskAppearedCallback(note("first "));
    ASSERT_TRUE(world->mount(1));
    ASSERT_TRUE(world->mount(2));
    ASSERT_TRUE(hears(2));
    heard.clear();
    const auto second = world->watch().registerDiskAppearedCallback(note("second "));
    EXPECT_THAT(heard, IsEmpty());
    ASSERT_TRUE(hears(2));
    runOn();
    EXPECT_THAT(heard, UnorderedElementsAre("second " + world->nameOf(1), "second " + world->nameOf(2)));
}

TEST_F(VolumeWatchContract, theGoneAreNotReportedToThoseWhoComeLater) {
    const auto first = world->watch().registerDiskDisappearedCallback(note("-"));
    ASSERT_TRUE(world->mount(1));
    runOn();
    ASSERT_TRUE(world->unmount(1));
    ASSERT_TRUE(hears(1));
    const auto disappeared = world->watch().registerDiskDisappearedCallback(note("late -"));
    const auto appeared = world->watch().registerDiskAppearedCallback(note("late +"));
    runOn();
    EXPECT_THAT(heard, ElementsAre(gone(1)));
}

TEST_F(VolumeWatchContract, eachVolumeComesAndGoesByItself) {
    const auto disappeared = world->watch().registerDiskDisappearedCallback(note("-"));
    const auto appeared = world->watch().registerDiskAppearedCallback(note("+"));
    ASSERT_TRUE(world->mount(1));
    ASSERT_TRUE(world->mount(2));
    ASSERT_TRUE(hears(2));
    ASSERT_TRUE(world->unmount(1));
    ASSERT_TRUE(hears(3));
    runOn();
    EXPECT_THAT(heard, ElementsAre(come(1), come(2), gone(1)));
}

TEST_F(VolumeWatchContract, endedSubscriptionsHearNothing) {
    auto disappeared = world->watch().registerDiskDisappearedCallback(note("-"));
    auto appeared = world->watch().registerDiskAppearedCallback(note("+"));
    runOn();
    appeared.cancel();
    disappeared.cancel();
    ASSERT_TRUE(world->mount(1));
    runOn();
    ASSERT_TRUE(world->unmount(1));
    runOn();
    EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VolumeWatchContract, aSubscriptionThatEndsBeforeTheFirstTurnHearsNothing) {
    ASSERT_TRUE(world->mount(1));
    runOn();
    world->watch().registerDiskAppearedCallback(note("+")).cancel();
    runOn();
    EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VolumeWatchContract, aCallbackMayEndItsOwnAndRegisterOthers) {
    auto appeared = world->watch().registerDiskAppearedCallback(note("+"));
    std::vector<Subscription> others;
    then = [&](const std::string& text) {
        if (text != come(1))
            return;
        appeared.cancel();
        others.push_back(world->watch().registerDiskAppearedCallback(note("other ")));
    };
    ASSERT_TRUE(world->mount(1));
    ASSERT_TRUE(hears(2));
    runOn();
    EXPECT_THAT(heard, ElementsAre(come(1), "other " + world->nameOf(1)));
}

TEST_F(VolumeWatchContract, aVolumeThatComesAgainAtOnceIsThereInTheEnd) {
    const auto disappeared = world->watch().registerDiskDisappearedCallback(note("-"));
    const auto appeared = world->watch().registerDiskAppearedCallback(note("+"));
    ASSERT_TRUE(world->mount(1));
    ASSERT_TRUE(hears(1));
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(world->unmount(1));
        ASSERT_TRUE(world->mount(1));
    }
    runOn();
    EXPECT_EQ(heard.back(), come(1));
    EXPECT_EQ(heard.size() % 2, 1U); // never two of a kind in a row
}

TEST_F(VolumeWatchContract, subscriptionsOutliveTheWatch) {
    auto appeared = world->watch().registerDiskAppearedCallback(note("+"));
    const auto disappeared = world->watch().registerDiskDisappearedCallback(note("-"));
    world.reset();
    appeared.cancel();
    EXPECT_THAT(heard, IsEmpty());
}

} // namespace
} // namespace quorrel
