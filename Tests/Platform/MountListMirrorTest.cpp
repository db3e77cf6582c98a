// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MountListMirror.h"

#include "Platform/Linux/BoundedLoop.h"
#include "Platform/Linux/GvfsMountList.h"
#include "Tests/Platform/DesktopBus.h"
#include "Tests/Platform/FakeMountDaemon.h"
#include "Tests/Platform/GlibTurns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

constexpr Seconds patience { 30 };
constexpr int patienceMilliseconds = 30000;

class MountListMirrorTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bus.start());
        connection = connect();
        ASSERT_TRUE(connection);
        daemon = std::make_unique<FakeMountDaemon>(bus.address());
        ASSERT_TRUE(daemon->takeName());
        mirror.follow(connection.get());
        settle(); // from here on the bus passes on what the daemon says
    }

    [[nodiscard]] GObjectPointer<GDBusConnection> connect() const {
        constexpr auto flags = static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        return GObjectPointer<GDBusConnection>(
            g_dbus_connection_new_for_address_sync(bus.address().c_str(), flags, nullptr, nullptr, nullptr));
    }

    std::string askBus(const char* method, GVariant* parameters) const {
        const GlibPointer<GVariant> reply(g_dbus_connection_call_sync(connection.get(), "org.freedesktop.DBus",
            "/org/freedesktop/DBus", "org.freedesktop.DBus", method, parameters, G_VARIANT_TYPE("(s)"),
            G_DBUS_CALL_FLAGS_NONE, patienceMilliseconds, nullptr, nullptr));
        const gchar* text = "";
        if (reply)
            g_variant_get(reply.get(), "(&s)", &text);
        return text;
    }
    [[nodiscard]] std::string ownerName() const {
        return askBus("GetNameOwner", g_variant_new("(s)", GvfsMountList::daemonName));
    }

    /// All that the daemon has said has been heard then: the bus has passed it on before it answers both of us.
    void settle() const {
        static_cast<void>(daemon->hasSomebodyTheName());
        EXPECT_FALSE(askBus("GetId", nullptr).empty());
    }

    /// One mount as the daemon describes it.
    static GvfsMount mountOf(const std::string& share) {
        GvfsMount mount;
        mount.busName = ":1.7-" + share;
        mount.objectPath = "/org/gtk/vfs/mount/1";
        mount.share = share;
        return mount;
    }
    static std::vector<GvfsMount> mountsOf(const std::vector<std::string>& shares) {
        std::vector<GvfsMount> mounts;
        for (const auto& share : shares)
            mounts.push_back(mountOf(share));
        return mounts;
    }
    void tell(const std::vector<std::string>& shares) {
        MountListMirror::Listing(mirror).told(ownerName(), mountsOf(shares));
    }

    [[nodiscard]] std::optional<std::vector<std::string>> shares() const {
        const auto mounts = mirror.mounts();
        if (!mounts)
            return std::nullopt;
        std::vector<std::string> result;
        for (const auto& mount : *mounts)
            result.push_back(mount.share);
        return result;
    }

    DesktopBus bus;
    GObjectPointer<GDBusConnection> connection;
    std::unique_ptr<FakeMountDaemon> daemon;
    MountListMirror mirror;
};

TEST_F(MountListMirrorTest, knowsNothingBeforeAListWasTold) {
    daemon->mount("one");
    settle();
    EXPECT_FALSE(mirror.mounts());
}

TEST_F(MountListMirrorTest, followsWhatComesAndGoesAfterAList) {
    tell({ "one" });
    EXPECT_THAT(shares(), Optional(ElementsAre("one")));
    daemon->mount("two");
    settle();
    EXPECT_THAT(shares(), Optional(ElementsAre("one", "two")));
    daemon->unmount("one");
    settle();
    EXPECT_THAT(shares(), Optional(ElementsAre("two")));
    EXPECT_EQ(mirror.mounts()->front().host, "files");
}

TEST_F(MountListMirrorTest, whatIsAnnouncedBeforeAnAnswerIsKnownWithTheAnswer) {
    tell({});
    std::optional<std::vector<std::string>> known;
    daemon->setManner(FakeMountDaemon::Manner::Silent);
    const auto answered = [&] { known = shares(); };
    struct Question final {
        std::function<void()> answered;
        bool isDone = false;
    } question { answered };
    g_dbus_connection_call(
        connection.get(), GvfsMountList::daemonName, GvfsMountList::trackerPath, GvfsMountList::trackerInterface,
        "ListMounts", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, patienceMilliseconds, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            const GlibPointer<GVariant> reply(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
            static_cast<Question*>(data)->answered();
            static_cast<Question*>(data)->isDone = true;
        },
        &question);
    ASSERT_TRUE(runMainContextUntil([&] { return daemon->questions() == 1; }, patience));
    daemon->mount("one");
    daemon->setManner(FakeMountDaemon::Manner::Answering);
    ASSERT_TRUE(runMainContextUntil([&] { return question.isDone; }, patience));
    EXPECT_THAT(known, Optional(ElementsAre("one")));
}

TEST_F(MountListMirrorTest, whatIsAnnouncedWhileAListIsAskedForCounts) {
    MountListMirror::Listing listing(mirror);
    daemon->mount("coming");
    daemon->mount("passing");
    daemon->unmount("passing");
    daemon->unmount("going");
    settle();
    listing.told(ownerName(), mountsOf({ "staying", "going" }));
    EXPECT_THAT(shares(), Optional(ElementsAre("staying", "coming")));
}

TEST_F(MountListMirrorTest, aChangeThatTheListHasAlreadyCountsOnce) {
    MountListMirror::Listing listing(mirror);
    daemon->mount("one");
    daemon->unmount("two");
    settle();
    listing.told(ownerName(), mountsOf({ "one" }));
    EXPECT_THAT(shares(), Optional(ElementsAre("one")));
}

TEST_F(MountListMirrorTest, aListThatIsReadLateDoesNotUndoWhatALaterOneKnew) {
    MountListMirror::Listing slow(mirror);
    daemon->mount("one");
    settle();
    MountListMirror::Listing quick(mirror);
    quick.told(ownerName(), mountsOf({ "one" }));
    daemon->mount("two");
    settle();
    slow.told(ownerName(), {});
    EXPECT_THAT(shares(), Optional(ElementsAre("one", "two")));
}

TEST_F(MountListMirrorTest, whatWasAnnouncedBeforeAListWasAskedForDoesNot) {
    {
        const MountListMirror::Listing former(mirror);
        daemon->mount("one");
        settle();
    }
    MountListMirror::Listing listing(mirror);
    listing.told(ownerName(), {});
    EXPECT_THAT(shares(), Optional(IsEmpty()));
}

TEST_F(MountListMirrorTest, aListBringsThePathThatAMountGotLater) {
    tell({});
    daemon->mount("one");
    settle();
    EXPECT_EQ(mirror.mounts()->front().fusePath, "");
    auto mount = mountOf("one");
    mount.fusePath = "/run/user/7/gvfs/one";
    MountListMirror::Listing(mirror).told(ownerName(), { mount });
    EXPECT_EQ(mirror.mounts()->front().fusePath, "/run/user/7/gvfs/one");
}

TEST_F(MountListMirrorTest, nothingIsKnownOnceTheDaemonHasEndedUntilTheNextTells) {
    tell({ "one" });
    const auto former = ownerName();
    daemon->giveUpName();
    settle();
    EXPECT_FALSE(mirror.mounts());
    const auto next = std::make_unique<FakeMountDaemon>(bus.address());
    ASSERT_TRUE(next->takeName());
    settle();
    MountListMirror::Listing(mirror).told(former, mountsOf({ "one" }));
    EXPECT_FALSE(mirror.mounts());
    tell({ "two" });
    EXPECT_THAT(shares(), Optional(ElementsAre("two")));
    next->mount("three");
    static_cast<void>(next->hasSomebodyTheName());
    settle();
    EXPECT_THAT(shares(), Optional(ElementsAre("two", "three")));
}

TEST_F(MountListMirrorTest, aDaemonThatTheQuestionStartsIsFollowedFromItsFirstAnswer) {
    daemon->giveUpName();
    settle();
    MountListMirror::Listing listing(mirror);
    ASSERT_TRUE(daemon->takeName());
    daemon->mount("one");
    settle();
    listing.told(ownerName(), {});
    EXPECT_THAT(shares(), Optional(ElementsAre("one")));
}

TEST_F(MountListMirrorTest, nobodyElseIsBelieved) {
    // Whoever subscribes to everybody's words in this process brings an impostor's here.
    const auto everybody = g_dbus_connection_signal_subscribe(
        connection.get(), nullptr, GvfsMountList::trackerInterface, nullptr, nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant*, gpointer) {}, nullptr,
        nullptr);
    FakeMountDaemon impostor(bus.address());
    MountListMirror::Listing listing(mirror);
    impostor.claimMounted("early");
    static_cast<void>(impostor.hasSomebodyTheName());
    settle();
    listing.told(ownerName(), mountsOf({ "one" }));
    impostor.claimMounted("late");
    static_cast<void>(impostor.hasSomebodyTheName());
    settle();
    EXPECT_THAT(shares(), Optional(ElementsAre("one")));
    g_dbus_connection_signal_unsubscribe(connection.get(), everybody);
}

TEST_F(MountListMirrorTest, anotherConnectionMakesAllUnknown) {
    tell({ "one" });
    const auto other = connect();
    mirror.follow(other.get());
    EXPECT_EQ(mirror.connection().get(), other.get());
    EXPECT_FALSE(mirror.mounts());
    tell({ "two" });
    mirror.follow(other.get());
    EXPECT_THAT(shares(), Optional(ElementsAre("two")));
}

TEST_F(MountListMirrorTest, theBusTellsAConnectionNothingMoreThatIsNotFollowedAnyMore) {
    // Not on the stack: the bus's own thread may still be in the filter after its removal.
    static std::atomic<int> heard;
    heard = 0;
    const auto filter = g_dbus_connection_add_filter(
        connection.get(),
        [](GDBusConnection*, GDBusMessage* message, gboolean, gpointer) {
            if (g_strcmp0(g_dbus_message_get_interface(message), GvfsMountList::trackerInterface) == 0)
                ++heard;
            return message;
        },
        nullptr, nullptr);
    daemon->mount("one");
    settle();
    EXPECT_EQ(heard, 1);
    const auto other = connect();
    mirror.follow(other.get());
    daemon->mount("two");
    settle();
    EXPECT_EQ(heard, 1);
    g_dbus_connection_remove_filter(connection.get(), filter);
}

TEST_F(MountListMirrorTest, aListThatWasAskedForBeforeTheConnectionIsNotBelieved) {
    MountListMirror::Listing listing(mirror);
    const auto other = connect();
    mirror.follow(other.get());
    listing.told(ownerName(), mountsOf({ "one" })); // what came or went in between went unheard
    EXPECT_FALSE(mirror.mounts());
    tell({ "two" });
    EXPECT_THAT(shares(), Optional(ElementsAre("two")));
}

TEST_F(MountListMirrorTest, aConnectionThatHasEndedIsNone) {
    EXPECT_EQ(mirror.connection().get(), connection.get());
    bus.stop();
    EXPECT_TRUE(runMainContextUntil([&] { return !mirror.connection(); }, patience));
}

TEST_F(MountListMirrorTest, aWatchWakesItsThreadOncePerAnnouncement) {
    tell({});
    MainContextPool contexts;
    const InterruptEvent interrupted;
    BoundedLoop loop(contexts, patience, interrupted);
    MountListMirror::Watch watch(mirror);
    EXPECT_FALSE(watch.hasHeard());
    const auto start = std::chrono::steady_clock::now();
    daemon->mount("one");
    EXPECT_TRUE(loop.waitUntil([&] { return watch.hasHeard(); }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience / 2); // it was woken, and not at the deadline
    EXPECT_THAT(shares(), Optional(ElementsAre("one")));
    EXPECT_FALSE(watch.hasHeard());
}

TEST_F(MountListMirrorTest, watchesMayBeginAndEndWhileTheDaemonTalks) {
    constexpr int rounds = 100;
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number)
        threads.emplace_back([this] {
            MainContextPool contexts;
            const InterruptEvent interrupted;
            for (int round = 0; round < rounds; ++round) {
                BoundedLoop loop(contexts, patience, interrupted);
                MountListMirror::Watch watch(mirror);
                static_cast<void>(watch.hasHeard());
            }
        });
    for (int round = 0; round < rounds; ++round)
        daemon->claimMounted("one");
    for (auto& thread : threads)
        thread.join();
    settle();
    tell({});
    daemon->mount("two");
    settle();
    EXPECT_THAT(shares(), Optional(ElementsAre("two")));
}

TEST_F(MountListMirrorTest, severalThreadsMayBeginAndEndWhileTheDaemonTalks) {
    constexpr int rounds = 100;
    for (int round = 0; round < rounds; ++round) {
        MountListMirror shared;
        std::vector<std::thread> threads;
        for (int number = 0; number < 3; ++number)
            threads.emplace_back([&] {
                shared.follow(connection.get());
                MountListMirror::Listing(shared).told(ownerName(), mountsOf({ "one" }));
            });
        daemon->mount("two");
        for (auto& thread : threads)
            thread.join();
        EXPECT_TRUE(shared.connection());
        daemon->unmount("two");
    }
}

} // namespace
} // namespace quorrel
