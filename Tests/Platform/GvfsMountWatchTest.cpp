// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsMountWatch.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Tests/Platform/DesktopBus.h"
#include "Tests/Platform/FakeMountDaemon.h"
#include "Tests/Platform/GlibTurns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr Seconds patience { 10 };

class GvfsMountWatchTest : public testing::Test {
protected:
    void watchBus(const std::string& address) {
        watch = std::make_unique<GvfsMountWatch>(address, [this] { ++changes; });
    }
    [[nodiscard]] std::unique_ptr<FakeMountDaemon> makeDaemon() const {
        auto result = std::make_unique<FakeMountDaemon>(bus.address());
        EXPECT_TRUE(result->takeName());
        return result;
    }

    std::vector<std::string> shares() const {
        std::vector<std::string> result;
        for (const auto& mount : watch->mounts())
            result.push_back(mount.share);
        return result;
    }
    bool comesTo(const std::vector<std::string>& wanted) {
        return runMainContextUntil([&] { return shares() == wanted; }, patience);
    }
    void startWithOneMount() {
        ASSERT_TRUE(bus.start());
        daemon = makeDaemon();
        daemon->mount("one");
        watchBus(bus.address());
        ASSERT_TRUE(comesTo({ "one" }));
    }
    static void runOn(Seconds duration = Seconds(0.2)) {
        EXPECT_FALSE(runMainContextUntil([] { return false; }, duration));
    }
    static std::size_t descriptors() {
        const std::filesystem::directory_iterator open("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(open), end(open)));
    }

    DesktopBus bus;
    std::unique_ptr<FakeMountDaemon> daemon;
    std::unique_ptr<GvfsMountWatch> watch;
    int changes = 0;
};

TEST_F(GvfsMountWatchTest, listsWhatIsThereAndFollowsWhatComesAndGoes) {
    ASSERT_TRUE(bus.start());
    daemon = makeDaemon();
    daemon->mount("one");
    watchBus(bus.address());
    EXPECT_THAT(shares(), IsEmpty());
    ASSERT_TRUE(comesTo({ "one" }));
    EXPECT_EQ(watch->mounts()[0].type, "smb-share");
    EXPECT_EQ(watch->mounts()[0].host, "files");
    daemon->mount("two");
    ASSERT_TRUE(comesTo({ "one", "two" }));
    daemon->unmount("one");
    ASSERT_TRUE(comesTo({ "two" }));
    EXPECT_EQ(changes, 3);
    EXPECT_EQ(daemon->questions(), 1);
}

TEST_F(GvfsMountWatchTest, asksNobodyAndStartsNothingWhereThereIsNoDaemon) {
    ASSERT_TRUE(bus.start());
    daemon = std::make_unique<FakeMountDaemon>(bus.address());
    watchBus(bus.address());
    runOn(Seconds(0.5));
    EXPECT_FALSE(daemon->hasSomebodyTheName());
    EXPECT_EQ(changes, 0);
    ASSERT_TRUE(daemon->takeName());
    daemon->mount("one");
    ASSERT_TRUE(comesTo({ "one" }));
}

TEST_F(GvfsMountWatchTest, mountsGoWithTheDaemonAndComeWithTheNext) {
    ASSERT_NO_FATAL_FAILURE(startWithOneMount());
    daemon->giveUpName();
    ASSERT_TRUE(comesTo({}));
    daemon.reset();
    daemon = makeDaemon();
    daemon->mount("two");
    ASSERT_TRUE(comesTo({ "two" }));
}

TEST_F(GvfsMountWatchTest, aDaemonThatIsSilentHoldsNothingAndIsHeardLater) {
    ASSERT_TRUE(bus.start());
    daemon = makeDaemon();
    daemon->setManner(FakeMountDaemon::Manner::Silent);
    daemon->mount("one");
    watchBus(bus.address());
    ASSERT_TRUE(runMainContextUntil([&] { return daemon->questions() == 1; }, patience));
    daemon->mount("two");
    ASSERT_TRUE(comesTo({ "two" }));
    for (int time = 0; time < 3; ++time)
        watch->refresh();
    runOn();
    EXPECT_EQ(daemon->questions(), 1);
    daemon->setManner(FakeMountDaemon::Manner::Answering);
    ASSERT_TRUE(comesTo({ "one", "two" }));
    ASSERT_TRUE(runMainContextUntil([&] { return daemon->questions() == 2; }, patience));
    runOn();
    EXPECT_EQ(daemon->questions(), 2);
}

TEST_F(GvfsMountWatchTest, theEndOfASilentDaemonIsAnAnswer) {
    ASSERT_TRUE(bus.start());
    daemon = makeDaemon();
    daemon->setManner(FakeMountDaemon::Manner::Silent);
    watchBus(bus.address());
    ASSERT_TRUE(runMainContextUntil([&] { return daemon->questions() == 1; }, patience));
    daemon.reset();
    daemon = makeDaemon();
    daemon->mount("two");
    ASSERT_TRUE(comesTo({ "two" }));
}

TEST_F(GvfsMountWatchTest, anAnswerThatIsNoneChangesNothing) {
    ASSERT_NO_FATAL_FAILURE(startWithOneMount());
    daemon->setManner(FakeMountDaemon::Manner::Confused);
    watch->refresh();
    ASSERT_TRUE(runMainContextUntil([&] { return daemon->questions() == 2; }, patience));
    runOn();
    EXPECT_THAT(shares(), ElementsAre("one"));
}

TEST_F(GvfsMountWatchTest, nobodyElseIsBelieved) {
    ASSERT_NO_FATAL_FAILURE(startWithOneMount());
    FakeMountDaemon impostor(bus.address());
    impostor.claimMounted("false");
    runOn();
    EXPECT_THAT(shares(), ElementsAre("one"));
}

TEST_F(GvfsMountWatchTest, aPathThatIsToldLaterIsSeenWhenTheListIsAskedForAgain) {
    ASSERT_NO_FATAL_FAILURE(startWithOneMount());
    daemon->showFiles("one", "/run/user/7/gvfs/one");
    watch->refresh();
    EXPECT_TRUE(runMainContextUntil([&] { return watch->mounts()[0].fusePath == "/run/user/7/gvfs/one"; }, patience));
}

TEST_F(GvfsMountWatchTest, aBusThatComesLaterIsFound) {
    watchBus(bus.address());
    runOn(Seconds(0.5));
    ASSERT_TRUE(bus.start());
    daemon = makeDaemon();
    daemon->mount("one");
    EXPECT_TRUE(comesTo({ "one" }));
}

TEST_F(GvfsMountWatchTest, aBusThatIsWaitedForForLongIsFoundAtOnce) {
    watchBus(bus.address());
    runOn(Seconds(4)); // beyond the last try of its own accord
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(bus.start());
    daemon = makeDaemon();
    daemon->mount("one");
    EXPECT_TRUE(comesTo({ "one" }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(GvfsMountWatchTest, aBusWhoseFolderComesLaterIsFoundAtOnceToo) {
    const TemporaryFolder session;
    watchBus("unix:path=" + session.path("runtime/bus"));
    runOn(Seconds(0.05));
    std::filesystem::create_directory_symlink(
        std::filesystem::path(bus.socket()).parent_path(), session.path("runtime"));
    runOn(Seconds(3.5)); // between two tries that are far apart by then
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(bus.start());
    daemon = makeDaemon();
    daemon->mount("one");
    EXPECT_TRUE(comesTo({ "one" }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(GvfsMountWatchTest, mountsGoWithTheBusAndComeWithTheNext) {
    ASSERT_NO_FATAL_FAILURE(startWithOneMount());
    for (int round = 0; round < 3; ++round) {
        bus.stop();
        ASSERT_TRUE(comesTo({}));
        daemon.reset();
        ASSERT_TRUE(bus.start());
        daemon = makeDaemon();
        daemon->mount("two");
        ASSERT_TRUE(comesTo({ "two" }));
    }
}

TEST_F(GvfsMountWatchTest, aSessionWithoutABusHasNoMounts) {
    for (const std::string address : { "", "nonsense", "unix:path=", "unix:abstract=/nobody/is/here" }) {
        watchBus(address);
        runOn();
        EXPECT_THAT(shares(), IsEmpty());
    }
    EXPECT_EQ(changes, 0);
}

TEST_F(GvfsMountWatchTest, aBusThatNeverSpeaksHoldsNothing) {
    watchBus(bus.address()); // GLib keeps what it opens for the first connection of a process
    runOn();
    watch.reset();
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un name {};
    name.sun_family = AF_UNIX;
    ASSERT_LT(bus.socket().size(), sizeof name.sun_path);
    std::memcpy(name.sun_path, bus.socket().c_str(), bus.socket().size());
    ASSERT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    ASSERT_EQ(listen(socket.get(), 5), 0);
    const auto before = descriptors();
    const auto start = std::chrono::steady_clock::now();
    watchBus(bus.address());
    runOn();
    watch.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_TRUE(runMainContextUntil([&] { return descriptors() <= before; }, patience));
}

TEST_F(GvfsMountWatchTest, nothingOfItIsLeft) {
    ASSERT_NO_FATAL_FAILURE(startWithOneMount());
    watch.reset();
    runOn();
    const auto before = descriptors();
    for (int round = 0; round < 20; ++round) {
        watchBus(bus.address());
        if (round % 2 == 0) {
            ASSERT_TRUE(comesTo({ "one" }));
        }
        watch.reset();
    }
    changes = 0;
    EXPECT_TRUE(runMainContextUntil([&] { return descriptors() <= before; }, patience)) << before;
    daemon->mount("two");
    runOn();
    EXPECT_EQ(changes, 0);
}

TEST_F(GvfsMountWatchTest, aCallbackMayDestroyIt) {
    ASSERT_TRUE(bus.start());
    daemon = makeDaemon();
    daemon->mount("one");
    watch = std::make_unique<GvfsMountWatch>(bus.address(), [this] {
        ++changes;
        watch.reset();
    });
    EXPECT_TRUE(runMainContextUntil([&] { return changes == 1; }, patience));
    runOn();
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace quorrel
