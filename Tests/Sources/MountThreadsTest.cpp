// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/OperationQueue.h"
#include "Foundation/WakeSignal.h"
#include "Sources/MountOperation.h"
#include "Sources/UnmountOperation.h"
#include "Tests/Sources/MountFixture.h"

#include <atomic>
#include <optional>
#include <utility>

namespace quorrel {

namespace {

constexpr Seconds patience { 20 };

class MountThreadsTest : public MountFixture {
protected:
    MountThreadsTest()
        : idle(queue->observeIdle([this] { isIdle.signal(); })) { }

    void queueMount(const std::shared_ptr<SharePointDefinition>& sharePoint) {
        queue->addOperation(MountOperation::initWithSharePointDefinition(sharePoint, environment));
    }

    void hangMountsOf(const std::string& url) {
        FakeVolumeService::Reply reply;
        reply.hangs = true;
        volumes.setMountReply(url, reply);
    }

    /// The queue may be idle for a moment while it is being filled, too.
    [[nodiscard]] bool waitUntilIdle() {
        for (;;) {
            isIdle.reset();
            if (queue->operationCount() == 0)
                return true;
            if (!isIdle.waitFor(patience))
                return false;
        }
    }

    /// Moves the manual time on until nobody sleeps in it any more.
    void letTimePass() {
        constexpr int mostSteps = 2000;
        for (int step = 0; step < mostSteps && queue && queue->operationCount() > 0; ++step) {
            manual.advance(Seconds(5));
            isIdle.waitFor(Seconds(0.01));
        }
    }

    // A test that failed must not leave its operations asleep: the queue waits for them.
    void TearDown() override {
        volumes.release();
        letTimePass();
    }

    FakeClock manual { FakeClock::Mode::Manual };
    MountEnvironment there { volumes, childProcess, manual, log, strings };
    WakeSignal isIdle;
    std::optional<OperationQueue> queue { std::in_place, 4U };
    Subscription idle;
};

/// Signals when so many of the share points have come to the end of an operation.
class EndCounter final {
public:
    explicit EndCounter(int wanted)
        : m_left(wanted) { }

    void watch(SharePointDefinition& sharePoint) {
        m_subscriptions.push_back(sharePoint.observe("manualMount", [this](std::string_view, Change change) {
            if (change == Change::Did && --m_left == 0)
                m_done.signal();
        }));
    }

    [[nodiscard]] bool wait() { return m_done.waitFor(patience); }

private:
    std::atomic<int> m_left;
    WakeSignal m_done;
    std::vector<Subscription> m_subscriptions;
};

TEST_F(MountThreadsTest, AHungMountOccupiesOneSlotWhileTheOthersGoOn) {
    hangMountsOf("smb://server/Hung");
    EndCounter ends(12);
    const auto hung = share(smb, "Hung");
    queueMount(hung);
    ASSERT_TRUE(volumes.waitForHanging(1));
    std::vector<std::shared_ptr<SharePointDefinition>> others;
    for (int number = 0; number < 12; ++number) {
        others.push_back(share(smb, "Data" + std::to_string(number)));
        ends.watch(*others.back());
        queueMount(others.back());
    }
    ASSERT_TRUE(ends.wait());
    for (const auto& other : others)
        EXPECT_TRUE(other->mounted.get());
    EXPECT_FALSE(hung->mounted.get());
    EXPECT_TRUE(hung->mounting.get());
    volumes.release();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(hung->mounted.get());
}

TEST_F(MountThreadsTest, FourHungMountsEndAtOnceWhenTheServiceIsInterrupted) {
    for (const auto* name : { "A", "B", "C", "D", "E" }) {
        hangMountsOf(std::string("smb://server/") + name);
        queueMount(share(smb, name));
    }
    ASSERT_TRUE(volumes.waitForHanging(4));
    queue->cancelAllOperations();
    volumes.interrupt();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(volumes.requests().size(), 4U);
    for (const auto& sharePoint : host->sharePoints.snapshot())
        EXPECT_FALSE(sharePoint->mounted.get() || sharePoint->mounting.get());
}

TEST_F(MountThreadsTest, TheSecondMountOfAShareEndsWhileTheFirstIsUnderWay) {
    hangMountsOf("smb://server/Data");
    const auto sharePoint = share(smb);
    queueMount(sharePoint);
    ASSERT_TRUE(volumes.waitForHanging(1));
    EndCounter ends(1);
    ends.watch(*sharePoint);
    queueMount(sharePoint);
    ASSERT_TRUE(ends.wait());
    EXPECT_FALSE(sharePoint->mounting.get());
    EXPECT_EQ(volumes.requests().size(), 1U);
    volumes.release();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(sharePoint->mounted.get());
}

TEST_F(MountThreadsTest, AHostResolvedOnAnotherThreadWakesTheMountThatWaitsForIt) {
    host->resolved.set(false);
    const auto sharePoint = share(smb);
    queue->addOperation(MountOperation::initWithSharePointDefinition(sharePoint, there));
    ASSERT_TRUE(manual.waitForSleepers(1));
    host->resolved.set(true);
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(sharePoint->mounted.get());
    EXPECT_EQ(manual.elapsed(), Seconds(0));
}

TEST_F(MountThreadsTest, SharePointsAreEditedUnderTheirMounts) {
    constexpr int count = 40;
    for (int number = 0; number < count; ++number) {
        const auto sharePoint = share(number % 2 == 0 ? smb : ftp, "Data" + std::to_string(number));
        sharePoint->script.set("/bin/after");
        queueMount(sharePoint);
    }
    childProcess.setOutput("/bin/after", "done\n");
    for (int round = 0; round < 50; ++round)
        for (const auto& sharePoint : host->sharePoints.snapshot()) {
            const auto number = std::to_string(round);
            sharePoint->userName.set("user" + number);
            sharePoint->password.set("password" + number);
            sharePoint->sharePoint.set("share" + number);
            sharePoint->guestLogin.set(round % 2 == 0);
            sharePoint->setDisplayType(webDav);
            sharePoint->parentService.set(host->serviceForDisplayType(round % 2 == 0 ? afp : webDav));
            sharePoint->script.set(number);
            host->displayName.set("server" + number);
            host->adresses.set(std::vector<std::string> { "10.0.0." + number });
        }
    ASSERT_TRUE(waitUntilIdle());
    for (const auto& sharePoint : host->sharePoints.snapshot()) {
        EXPECT_FALSE(sharePoint->mounting.get());
        EXPECT_TRUE(sharePoint->mounted.get());
    }
}

TEST_F(MountThreadsTest, SharePointsHostsAndServicesAreDeletedUnderTheirMounts) {
    constexpr int count = 40;
    std::vector<std::weak_ptr<SharePointDefinition>> sharePoints;
    std::vector<std::shared_ptr<HostDefinition>> hosts;
    for (int number = 0; number < count; ++number) {
        const auto each = hostNamed("server" + std::to_string(number));
        each->resolved.set(true);
        addService(each, smb);
        const auto sharePoint = addSharePoint(each, smb, "Data");
        if (number < 4)
            hangMountsOf("smb://server" + std::to_string(number) + "/Data");
        sharePoints.push_back(sharePoint);
        hosts.push_back(each);
        queueMount(sharePoint);
        queue->addOperation(UnmountOperation::initWithSharePointDefinition(sharePoint, environment));
    }
    ASSERT_TRUE(volumes.waitForHanging(4));
    for (auto& each : hosts) {
        each->sharePoints.removeAll();
        each->services.removeAll();
        each.reset();
    }
    volumes.release();
    ASSERT_TRUE(waitUntilIdle());
    queue.reset(); // the workers let go of their operations
    for (const auto& sharePoint : sharePoints)
        EXPECT_TRUE(sharePoint.expired());
}

TEST_F(MountThreadsTest, AHostDeletedWhileMountsWaitForItLetsThemEnd) {
    host->resolved.set(false);
    std::vector<std::shared_ptr<SharePointDefinition>> all;
    for (const auto* name : { "A", "B", "C", "D" }) {
        all.push_back(share(smb, name));
        queue->addOperation(MountOperation::initWithSharePointDefinition(all.back(), there));
    }
    ASSERT_TRUE(manual.waitForSleepers(4));
    host.reset();
    letTimePass();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(manual.sleeps().size(), 40U);
    EXPECT_TRUE(volumes.requests().empty());
    for (const auto& sharePoint : all)
        EXPECT_FALSE(sharePoint->mounting.get());
}

} // namespace

} // namespace quorrel
