// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/OperationsEnd.h"
#include "Foundation/OperationQueue.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeVolumeService.h"
#include "Tests/Fakes/Gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

namespace quorrel {

namespace {

constexpr Seconds ample { 20 };
constexpr Seconds scant { 0.05 };

class Work final : public Operation {
public:
    explicit Work(std::function<void(const Work&)> body)
        : m_body(std::move(body)) { }
    void main() override { m_body(*this); }

private:
    const std::function<void(const Work&)> m_body;
};

} // namespace

class OperationsEndTest : public testing::Test {
protected:
    void add(std::function<void(const Work&)> body) { queue.addOperation(std::make_shared<Work>(std::move(body))); }

    FakeClock clock;
    FakeVolumeService volumes { clock };
    OperationQueue queue { 1 };
    Gate started;
};

TEST_F(OperationsEndTest, whereNothingRunsNothingIsInterrupted) {
    EXPECT_TRUE(endOperations(queue, volumes, ample));
    EXPECT_FALSE(volumes.wasInterrupted());
}

TEST_F(OperationsEndTest, whatEndsInTimeIsNotBrokenOffAndWhatWaitsNeverStarts) {
    std::atomic<bool> ranOn = false;
    add([&](const Work& self) {
        started.open();
        while (!self.isCancelled())
            std::this_thread::yield();
    });
    add([&](const Work&) { ranOn = true; });
    ASSERT_TRUE(started.wait());
    EXPECT_TRUE(endOperations(queue, volumes, ample));
    EXPECT_FALSE(volumes.wasInterrupted());
    EXPECT_FALSE(ranOn);
}

TEST_F(OperationsEndTest, aMountThatHangsIsGivenUp) {
    FakeVolumeService::Reply hanging;
    hanging.hangs = true;
    volumes.enqueueMountReply(hanging);
    add([&](const Work&) { static_cast<void>(volumes.mountServerVolume({ "smb://server/docs", {}, {}, "docs" })); });
    ASSERT_TRUE(volumes.waitForHanging(1));
    EXPECT_TRUE(endOperations(queue, volumes, Seconds(0.5)));
    EXPECT_TRUE(volumes.wasInterrupted());
}

TEST_F(OperationsEndTest, whatHeedsNothingIsLeft) {
    Gate mayEnd;
    add([&](const Work&) {
        started.open();
        EXPECT_TRUE(mayEnd.wait());
    });
    ASSERT_TRUE(started.wait());
    EXPECT_FALSE(endOperations(queue, volumes, scant));
    EXPECT_TRUE(volumes.wasInterrupted());
    mayEnd.open();
    EXPECT_TRUE(endOperations(queue, volumes, ample));
}

} // namespace quorrel
