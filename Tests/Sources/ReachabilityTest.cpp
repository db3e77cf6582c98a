// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Reachability.h"

#include "Foundation/AssertionFailure.h"
#include "Tests/Sources/WatchFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using namespace ReachabilityFlag;

class ReachabilityTest : public WatchFixture {
protected:
    ReachabilityTest() { reachability->setNetworkStatusNotificationsEnabled(true); }

    /// What a query for the status has to say for itself; empty when it answers.
    [[nodiscard]] std::string failureOfStatus() {
        try {
            static_cast<void>(reachability->remoteHostStatus());
            return {};
        } catch (const AssertionFailure& failure) {
            EXPECT_STREQ(failure.sourcePath(), "Sources/Reachability");
            return failure.what();
        }
    }

    std::optional<Reachability> reachability { std::in_place, environment };
    int changes = 0;
    const Subscription observer = center.addObserver(kNetworkReachabilityChangedNotification, [this](const auto& each) {
        EXPECT_EQ(each.name, "kNetworkReachabilityChangedNotification");
        EXPECT_EQ(each.object, nullptr);
        EXPECT_FALSE(each.userInfo);
        ++changes;
    });
};

TEST_F(ReachabilityTest, startsWithoutAHostWithoutNotificationsAndWithoutQueries) {
    const Reachability fresh(environment);
    EXPECT_FALSE(fresh.networkStatusNotificationsEnabled());
    EXPECT_EQ(fresh.hostName(), std::nullopt);
    EXPECT_THAT(fresh.reachabilityQueries(), IsEmpty());
    EXPECT_THAT(network.requests(), IsEmpty());
}

TEST_F(ReachabilityTest, aHostIsReachableWhenNoConnectionAndNobodyIsNeeded) {
    const auto test = Reachability::isReachableWithoutRequiringConnection;
    EXPECT_TRUE(test(reachable));
    EXPECT_FALSE(test(reachable | connectionRequired));
    EXPECT_FALSE(test(reachable | interventionRequired));
    EXPECT_TRUE(test(reachable | connectionOnTraffic));
    EXPECT_TRUE(test(reachable | transientConnection));
    EXPECT_FALSE(test(0));
    EXPECT_FALSE(test(connectionOnTraffic));
    for (std::uint32_t flags = 0; flags < 0x400; ++flags)
        EXPECT_EQ(test(flags), (flags & 0x2U) != 0 && (flags & 0x14U) == 0) << flags;
    EXPECT_TRUE(test(0xFFFFFFEBU)); // no other bit is looked at
}

TEST_F(ReachabilityTest, theStatusFollowsTheFlags) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0); // nothing is known yet
    for (const auto& [flags, status] : { std::pair(reachable, 1), std::pair(reachable | connectionRequired, 0),
             std::pair(reachable | connectionOnTraffic, 1), std::pair(0U, 0),
             std::pair(reachable | interventionRequired, 0), std::pair(reachable | transientConnection, 1) }) {
        network.change("gate", flags);
        EXPECT_EQ(reachability->remoteHostStatus(), status) << flags;
    }
}

TEST_F(ReachabilityTest, askingTwiceMakesOneQueryAndSchedulesItOnce) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    EXPECT_THAT(network.requests(), ElementsAre("gate"));
    EXPECT_THAT(network.scheduled(), ElementsAre("gate"));
    ASSERT_EQ(reachability->reachabilityQueries().size(), 1U);
    const auto& query = *reachability->reachabilityQueries().at("gate");
    EXPECT_EQ(query.hostNameOrAddress(), "gate");
    EXPECT_EQ(query.reachabilityRef(), reachability->reachabilityRefForHostName("gate"));
    EXPECT_THAT(query.runLoops(), ElementsAre(&runLoop));
    EXPECT_TRUE(query.isScheduledOnRunLoop(&runLoop));
    EXPECT_FALSE(query.isScheduledOnRunLoop(nullptr));
}

TEST_F(ReachabilityTest, withoutAHostNameThereIsNoStatus) {
    EXPECT_EQ(failureOfStatus(), "No hostName or address specified. Cannot determine reachability.");
    reachability->setHostName("");
    EXPECT_EQ(failureOfStatus(), "Couldn't get reachabilityRef");
    EXPECT_EQ(reachability->reachabilityRefForHostName(std::nullopt), nullptr);
    EXPECT_EQ(reachability->reachabilityRefForHostName(""), nullptr);
    EXPECT_THAT(network.requests(), IsEmpty());
}

TEST_F(ReachabilityTest, aHostThatCannotBeWatchedIsNamedInTheFailure) {
    network.setImpossible("no host %@");
    reachability->setHostName("no host %@");
    EXPECT_EQ(failureOfStatus(), "Failed to create SCNetworkReachabilityRef for host: no host %@");
    EXPECT_THAT(reachability->reachabilityQueries(), IsEmpty());
}

TEST_F(ReachabilityTest, everyChangeIsPostedTheFirstAnswerIncluded) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    EXPECT_EQ(changes, 0);
    network.setFlags("gate", reachable);
    EXPECT_EQ(reachability->remoteHostStatus(), 0); // the answer is late
    network.runPending();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(reachability->remoteHostStatus(), 1);
    network.runPending();
    EXPECT_EQ(changes, 1); // the same again is no change
    network.change("gate", 0);
    EXPECT_EQ(changes, 2);
    network.change("elsewhere", reachable);
    EXPECT_EQ(changes, 2);
}

TEST_F(ReachabilityTest, theWatchOfAnEarlierHostGoesOn) {
    reachability->setHostName("first");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    reachability->setHostName("second");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    EXPECT_THAT(network.scheduled(), ElementsAre("first", "second"));
    network.change("first", reachable);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    reachability->setHostName("first");
    EXPECT_EQ(reachability->remoteHostStatus(), 1);
    EXPECT_THAT(network.requests(), ElementsAre("first", "second"));
}

TEST_F(ReachabilityTest, aQueryMadeWhileNotificationsAreOffIsNeverScheduled) {
    reachability->setNetworkStatusNotificationsEnabled(false);
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    reachability->setNetworkStatusNotificationsEnabled(true);
    network.change("gate", reachable);
    EXPECT_EQ(reachability->remoteHostStatus(), 1);
    EXPECT_THAT(network.scheduled(), IsEmpty());
    EXPECT_EQ(changes, 0);
}

TEST_F(ReachabilityTest, aQueryThatCannotBeScheduledStillTellsTheStatus) {
    network.setUnschedulable("gate");
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    EXPECT_THAT(reachability->reachabilityQueries().at("gate")->runLoops(), IsEmpty());
    network.change("gate", reachable);
    EXPECT_EQ(reachability->remoteHostStatus(), 1);
}

TEST_F(ReachabilityTest, aQueryThatLostItsReferenceIsReplaced) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    reachability->reachabilityQueries().at("gate")->setReachabilityRef(nullptr);
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    EXPECT_THAT(network.requests(), ElementsAre("gate", "gate"));
    EXPECT_THAT(network.scheduled(), ElementsAre("gate"));
    EXPECT_EQ(reachability->reachabilityQueries().size(), 1U);
}

TEST_F(ReachabilityTest, queriesThatAreSetTakeThePlaceOfTheOthers) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    Reachability::Queries queries;
    const auto& query = queries["attic"] = std::make_unique<ReachabilityQuery>(*reachability);
    query->setReachabilityRef(network.createWithName("attic"));
    query->scheduleOnRunLoop(&runLoop);
    reachability->setReachabilityQueries(std::move(queries));
    EXPECT_THAT(network.alive(), ElementsAre("attic"));
    network.change("gate", reachable);
    EXPECT_EQ(changes, 0);
    network.change("attic", reachable);
    EXPECT_EQ(changes, 1);
    reachability->setHostName("attic");
    EXPECT_EQ(reachability->remoteHostStatus(), 1);
    EXPECT_THAT(network.requests(), ElementsAre("gate", "attic"));
}

TEST_F(ReachabilityTest, aQueryIsScheduledOncePerRunLoop) {
    FakeRunLoop another { queue };
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    auto& query = *reachability->reachabilityQueries().at("gate");
    query.scheduleOnRunLoop(&runLoop);
    query.scheduleOnRunLoop(nullptr);
    EXPECT_THAT(network.scheduled(), ElementsAre("gate"));
    query.scheduleOnRunLoop(&another);
    EXPECT_THAT(query.runLoops(), ElementsAre(&runLoop, &another));
    EXPECT_THAT(network.scheduled(), ElementsAre("gate", "gate"));
    reachability->stopListeningForReachabilityChanges();
    EXPECT_THAT(network.scheduled(), IsEmpty());
}

TEST_F(ReachabilityTest, nothingListensWithoutAReferenceOrARunLoop) {
    ReachabilityQuery query(*reachability);
    EXPECT_EQ(query.startListeningForReachabilityChanges(nullptr, &runLoop), nullptr);
    const auto reference = network.createWithName("gate");
    EXPECT_EQ(query.startListeningForReachabilityChanges(reference.get(), nullptr), nullptr);
    EXPECT_EQ(query.startListeningForReachabilityChanges(reference.get(), &runLoop), &runLoop);
    query.scheduleOnRunLoop(&runLoop); // it has no reference of its own
    EXPECT_THAT(query.runLoops(), IsEmpty());
}

TEST_F(ReachabilityTest, whenItStopsListeningTheQueriesStay) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    reachability->stopListeningForReachabilityChanges();
    EXPECT_THAT(network.scheduled(), IsEmpty());
    EXPECT_THAT(network.alive(), ElementsAre("gate"));
    EXPECT_THAT(reachability->reachabilityQueries().at("gate")->runLoops(), IsEmpty());
    network.change("gate", reachable);
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(reachability->remoteHostStatus(), 1);
    EXPECT_THAT(network.requests(), ElementsAre("gate"));
}

TEST_F(ReachabilityTest, nothingIsLeftWhenItGoes) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    reachability.reset();
    EXPECT_THAT(network.alive(), IsEmpty());
    network.change("gate", reachable);
    EXPECT_EQ(changes, 0);
}

TEST_F(ReachabilityTest, whoHearsOfAChangeMayDestroyIt) {
    reachability->setHostName("gate");
    EXPECT_EQ(reachability->remoteHostStatus(), 0);
    const auto subscription
        = center.addObserver(kNetworkReachabilityChangedNotification, [this](const auto&) { reachability.reset(); });
    network.change("gate", reachable);
    EXPECT_EQ(changes, 1);
    EXPECT_THAT(network.alive(), IsEmpty());
}

} // namespace
} // namespace quorrel
