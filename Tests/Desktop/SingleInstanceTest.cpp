// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SingleInstance.h"

#include "Tests/Desktop/EndingLaunch.h"
#include "Tests/Desktop/PrivateBus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QObject>
#include <QSignalSpy>
#include <QTest>

#include <chrono>
#include <future>

namespace quorrel {
namespace {

using Launch = SingleInstance::Launch;

constexpr int bound = 10000; // milliseconds

/// Launches as another program does, while this one's event loop runs.
Launch launchElsewhere(
    const QDBusConnection& connection, const QString& action = {}, const QVariantMap& platformData = {}) {
    auto launched
        = std::async(std::launch::async, [&] { return SingleInstance(connection).launch(action, platformData); });
    const auto isDone = [&] { return launched.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
    EXPECT_TRUE(QTest::qWaitFor(isDone, bound));
    return launched.get();
}

TEST(SingleInstance, IsTheFirstWhereNobodyElseRuns) {
    PrivateBus bus;
    EXPECT_EQ(SingleInstance(bus.connection()).launch(), Launch::First);
    EXPECT_EQ(SingleInstance(bus.connection()).launch(), Launch::First); // once the other is gone
}

TEST(SingleInstance, AsksTheFirstToShowItself) {
    PrivateBus bus;
    SingleInstance first(bus.connection());
    QSignalSpy activated(&first, &SingleInstance::activated);
    ASSERT_EQ(first.launch(), Launch::First);
    EXPECT_EQ(launchElsewhere(bus.connection()), Launch::Repeated);
    EXPECT_EQ(activated.size(), 1);
    EXPECT_EQ(launchElsewhere(bus.connection()), Launch::Repeated);
    EXPECT_EQ(activated.size(), 2);
}

TEST(SingleInstance, HandsItsWishToTheFirst) {
    PrivateBus bus;
    SingleInstance first(bus.connection());
    QSignalSpy activated(&first, &SingleInstance::activated);
    ASSERT_EQ(first.launch(), Launch::First);
    const QVariantMap data { { "activation-token", "token" }, { "desktop-startup-id", "id_TIME7" } };
    EXPECT_EQ(launchElsewhere(bus.connection(), "mount-all", data), Launch::Repeated);
    ASSERT_EQ(activated.size(), 1);
    EXPECT_EQ(activated[0][0].toString(), "mount-all");
    EXPECT_EQ(activated[0][1].toMap(), data);
}

TEST(SingleInstance, AnswersTheDesktopByTheInterfaceThatItCalls) {
    PrivateBus bus;
    SingleInstance first(bus.connection());
    QSignalSpy activated(&first, &SingleInstance::activated);
    ASSERT_EQ(first.launch(), Launch::First);
    auto desktop = bus.connection();
    auto call = QDBusMessage::createMethodCall(
        "org.quorrel.Quorrel", "/org/quorrel/Quorrel", "org.freedesktop.Application", "Open");
    call << QStringList { "file:///nothing" } << QVariantMap();
    const auto open = desktop.asyncCall(call);
    EXPECT_TRUE(QTest::qWaitFor([&] { return open.isFinished(); }, bound));
    EXPECT_FALSE(open.isError()) << open.error().message().toStdString();
    EXPECT_EQ(activated.size(), 1);
}

TEST(SingleInstance, StaysTheOnlyOneThoughTheFirstDoesNotAnswer) {
    PrivateBus bus;
    SingleInstance first(bus.connection());
    ASSERT_EQ(first.launch(), Launch::First);
    SingleInstance second(bus.connection(), std::chrono::milliseconds(20)); // no event loop runs here
    EXPECT_EQ(second.launch(), Launch::Repeated);
}

TEST(SingleInstance, TakesOverFromOneThatEndsInsteadOfAnswering) {
    PrivateBus bus;
    const EndingLaunch first(bus.connection());
    EXPECT_EQ(launchElsewhere(bus.connection()), Launch::First);
}

TEST(SingleInstance, IsTheFirstEachTimeWithoutABus) {
    SingleInstance first(QDBusConnection("no such connection"));
    SingleInstance second(QDBusConnection("no such connection"));
    EXPECT_EQ(first.launch(), Launch::First);
    EXPECT_EQ(second.launch(), Launch::First);
}

} // namespace
} // namespace quorrel
