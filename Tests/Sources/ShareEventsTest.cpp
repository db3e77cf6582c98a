// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShareEvents.h"

#include "Tests/Fakes/Catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace quorrel {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class Owner final : public Observable {
public:
    ShareEvents::Hosts hosts { *this, "hosts" };
};

class ShareEventsTest : public testing::Test {
protected:
    ShareEventsTest() {
        nas = catalogue.addHost("nas", { "docs", "music" });
        docs = nas->sharePoints.snapshot()[0];
        music = nas->sharePoints.snapshot()[1];
        owner.hosts.append(nas);
        queue.setWaker([this] { ++wakes; });
        feed.emplace(owner, owner.hosts, queue);
        subscription = feed->observe([this](const ShareEvents::Events& events) {
            EXPECT_TRUE(queue.isMainThread());
            ++batches;
            for (const auto& event : events)
                add(event);
        });
        catalogueSubscription = feed->observeCatalogue([this] { seen.emplace_back("catalogue"); });
    }

    void add(const ShareEvent& event) {
        auto text = textOf(event.sharePoint->sharePoint.get()) + ' ' + event.status;
        if (!event.error.empty())
            text += ": " + event.error;
        seen.push_back(std::move(text));
        words.push_back(std::string(ShareState::word(event.before)) + " > " + std::string(ShareState::word(event.state))
            + (event.isByHand ? " by hand" : "") + (event.isNews ? "" : " unchanged"));
    }

    static void onWorker(const std::function<void()>& work) { std::thread(work).join(); }

    Catalogue catalogue;
    Owner owner;
    std::shared_ptr<HostDefinition> nas;
    std::shared_ptr<SharePointDefinition> docs;
    std::shared_ptr<SharePointDefinition> music;
    MainThreadQueue queue;
    std::vector<std::string> seen;
    std::vector<std::string> words;
    int batches = 0;
    int wakes = 0;
    std::optional<ShareEvents> feed;
    Subscription subscription;
    Subscription catalogueSubscription;
};

TEST_F(ShareEventsTest, BringsWhatWorkersDoToTheMainThreadInOneBatch) {
    onWorker([this] {
        music->setMounting(true);
        music->setMounted(true);
        docs->setMounting(true);
    });
    EXPECT_THAT(seen, IsEmpty());
    EXPECT_EQ(wakes, 1);
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("music Mounting", "music Online", "docs Mounting"));
    EXPECT_EQ(batches, 1);
}

TEST_F(ShareEventsTest, AnnouncesAnewWhatComesAfterABatch) {
    onWorker([this] { docs->setMounting(true); });
    queue.runPending();
    onWorker([this] { docs->setLastError("Wrong password."); });
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("docs Mounting", "docs Mounting: Wrong password."));
}

TEST_F(ShareEventsTest, KeepsAStatusAndItsErrorTogether) {
    onWorker([this] {
        docs->setMounting(true);
        docs->setMounted(false);
        music->setMounting(true);
        docs->setLastError("Wrong password.");
    });
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("docs Mounting", "docs Offline: Wrong password.", "music Mounting"));
}

TEST_F(ShareEventsTest, TellsAMountByHandFromOneThatComesByItself) {
    docs->manualMount.set(true);
    docs->setMounting(true);
    docs->setLastError("Wrong password.");
    docs->setMounted(false);
    docs->setMounting(false);
    docs->manualMount.set(false);
    music->setMounting(true);
    music->setMounted(true);
    queue.runPending();
    EXPECT_THAT(words,
        ElementsAre(
            "unmounted > mounting by hand", "mounting > failed by hand", "unmounted > mounting", "mounting > mounted"));
}

TEST_F(ShareEventsTest, TellsAnUnmountFromALoss) {
    docs->setMounted(true);
    music->setMounted(true);
    queue.runPending();
    words.clear();
    onWorker([this] {
        docs->setUnmounting(true);
        docs->setVolume(std::nullopt);
        docs->setUnmounting(false);
        docs->setMounted(false);
        music->setMounted(false);
    });
    queue.runPending();
    EXPECT_THAT(words, ElementsAre("mounted > unmounting", "unmounting > unmounted", "mounted > unmounted"));
}

TEST_F(ShareEventsTest, SaysThatAShareIsOnlineStillWhenItsUnmountWasRefused) {
    docs->setVolume(7, "/home/user/Volumes/docs");
    docs->setMounted(true);
    queue.runPending();
    seen.clear();
    onWorker([this] {
        docs->setUnmounting(true);
        docs->setLastError("In use.");
        docs->setUnmounting(false);
    });
    queue.runPending();
    EXPECT_EQ(seen.back(), "docs Online: In use.");
    EXPECT_EQ(words.back(), "unmounting > mounted");
}

TEST_F(ShareEventsTest, DoesNotShowAMountAsOverBeforeItIsThere) {
    docs->setMounting(true);
    queue.runPending();
    docs->setMounting(false); // as the announcement of a volume is taken
    docs->setMounted(true);
    queue.runPending();
    onWorker([this] {
        docs->setVolume(7, "/home/user/Volumes/docs");
        docs->setMounted(true);
    });
    queue.runPending();
    EXPECT_THAT(words, ElementsAre("unmounted > mounting", "mounting > mounted", "mounted > mounted unchanged"));
}

TEST_F(ShareEventsTest, SaysNothingTwice) {
    docs->setMounted(true);
    queue.runPending();
    docs->setMounted(true);
    docs->resetStatus();
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("docs Online"));
    EXPECT_EQ(batches, 1);
}

TEST_F(ShareEventsTest, AnErrorThatGoesIsNoNewsForAPerson) {
    docs->setLastError("Wrong password.");
    queue.runPending();
    docs->setLastError(std::nullopt);
    queue.runPending();
    EXPECT_THAT(words, ElementsAre("unmounted > failed", "failed > unmounted unchanged"));
}

TEST_F(ShareEventsTest, HandsOverWhatIsLeftAtTheEnd) {
    onWorker([this] { docs->setMounting(true); });
    feed->deliverPending();
    EXPECT_THAT(seen, ElementsAre("docs Mounting"));
    queue.runPending();
    EXPECT_EQ(batches, 1);
}

TEST_F(ShareEventsTest, IsSilentOnceItIsGone) {
    onWorker([this] { docs->setMounting(true); });
    feed.reset();
    onWorker([this] { docs->setMounted(true); });
    queue.runPending();
    EXPECT_THAT(seen, IsEmpty());
}

TEST_F(ShareEventsTest, DoesNotShowAStatusThatIsBeingRebuilt) {
    docs->setLastError("Wrong password.");
    docs->resetStatus();
    queue.runPending();
    EXPECT_THAT(seen, Each(StartsWith("docs Offline")));
}

TEST_F(ShareEventsTest, TellsOnceATurnThatTheCatalogueIsAnotherOne) {
    owner.hosts.append(catalogue.addHost("attic", { "old" }));
    nas->displayName.set("box");
    docs->favroite.set(true);
    nas->sharePoints.remove(music);
    EXPECT_THAT(seen, IsEmpty());
    docs->setMounted(true);
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("docs Online", "catalogue"));
}

TEST_F(ShareEventsTest, FollowsSharesThatComeAndLeavesThoseThatGo) {
    const auto host = catalogue.addHost("attic", { "old" });
    const auto old = host->sharePoints.snapshot()[0];
    owner.hosts.append(host);
    old->setMounted(true);
    nas->sharePoints.remove(music);
    music->setMounted(true);
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("old Online", "catalogue"));
    owner.hosts.remove(host);
    old->setMounted(false);
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("old Online", "catalogue", "catalogue"));
}

TEST_F(ShareEventsTest, LosesNothingWhileWorkersChangeSharesAndTheCatalogueChanges) {
    std::thread worker([this] {
        for (int round = 0; round < 2000; ++round) {
            docs->setMounting(true);
            docs->setMounting(false);
        }
        docs->setMounted(true);
    });
    for (int round = 0; round < 200; ++round) {
        const auto host = catalogue.addHost("guest", { "passing" });
        owner.hosts.append(host);
        queue.runPending();
        owner.hosts.remove(host);
    }
    worker.join();
    queue.runPending();
    std::erase(seen, "catalogue");
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back(), "docs Online");
    EXPECT_TRUE(words.back().ends_with("> mounted"));
}

} // namespace
} // namespace quorrel
