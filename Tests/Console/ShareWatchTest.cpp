// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareWatch.h"

#include "Foundation/MainThreadQueue.h"
#include "Tests/Console/Catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ShareWatchTest : public testing::Test {
protected:
    ShareWatchTest() {
        sharePoints = catalogue.addHost("nas", { "docs", "music" })->sharePoints.snapshot();
        queue.setWaker([this] { ++wakes; });
        watch.emplace(sharePoints, queue, [this](const ShareWatch::Changes& changes) {
            EXPECT_TRUE(queue.isMainThread());
            ++batches;
            for (const auto& change : changes)
                seen.push_back(std::to_string(change.index) + ' ' + change.status + ' ' + change.error);
        });
    }

    void onWorker(const std::function<void()>& work) { std::thread(work).join(); }

    Catalogue catalogue;
    std::vector<std::shared_ptr<SharePointDefinition>> sharePoints;
    MainThreadQueue queue;
    std::vector<std::string> seen;
    int batches = 0;
    int wakes = 0;
    std::optional<ShareWatch> watch;
};

TEST_F(ShareWatchTest, bringsTheChangesOfWorkersToTheMainThreadInOneBatch) {
    onWorker([this] {
        sharePoints[1]->setMounting(true);
        sharePoints[1]->setMounted(true);
        sharePoints[0]->setMounting(true);
    });
    EXPECT_THAT(seen, IsEmpty());
    EXPECT_EQ(wakes, 1);
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("1 Mounting ", "1 Online ", "0 Mounting "));
    EXPECT_EQ(batches, 1);
}

TEST_F(ShareWatchTest, announcesAnewWhatComesAfterABatch) {
    onWorker([this] { sharePoints[0]->setMounting(true); });
    queue.runPending();
    onWorker([this] { sharePoints[0]->setLastError("Wrong password."); });
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("0 Mounting ", "0 Mounting Wrong password."));
}

TEST_F(ShareWatchTest, keepsAStatusAndItsErrorTogether) {
    onWorker([this] {
        sharePoints[0]->setMounting(true);
        sharePoints[0]->setMounted(false);
        sharePoints[1]->setMounting(true);
        sharePoints[0]->setLastError("Wrong password.");
    });
    queue.runPending();
    EXPECT_THAT(seen, ElementsAre("0 Mounting ", "0 Offline Wrong password.", "1 Mounting "));
}

TEST_F(ShareWatchTest, handsOverWhatIsLeftAtTheEnd) {
    onWorker([this] { sharePoints[0]->setMounting(true); });
    watch->deliverPending();
    EXPECT_THAT(seen, ElementsAre("0 Mounting "));
    queue.runPending();
    EXPECT_EQ(batches, 1);
}

TEST_F(ShareWatchTest, isSilentOnceItIsGone) {
    onWorker([this] { sharePoints[0]->setMounting(true); });
    watch.reset();
    onWorker([this] { sharePoints[0]->setMounted(true); });
    queue.runPending();
    EXPECT_THAT(seen, IsEmpty());
}

TEST_F(ShareWatchTest, doesNotShowAStatusThatIsBeingRebuilt) {
    sharePoints[0]->resetStatus();
    queue.runPending();
    EXPECT_THAT(seen, testing::Each(testing::StartsWith("0 Offline")));
}

} // namespace
} // namespace quorrel
