// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/TrayHostWatch.h"

#include "Desktop/EmbeddingTray.h"
#include "Desktop/X11EmbeddingTray.h"
#include "Tests/Desktop/FakeIconList.h"
#include "Tests/Desktop/PrivateBus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <QTest>

#include <chrono>
#include <memory>
#include <optional>

namespace quorrel {
namespace {

class FakeEmbeddingTray final : public EmbeddingTray {
public:
    explicit FakeEmbeddingTray(const bool& isThere)
        : m_isThere(isThere) { }
    [[nodiscard]] bool isThere() const override { return m_isThere; }

private:
    const bool& m_isThere;
};

constexpr int bound = 10000; // milliseconds
constexpr std::chrono::milliseconds briefly { 30 };
constexpr std::chrono::milliseconds unending { 3600000 };

class TrayHostWatchTest : public testing::Test {
protected:
    void start(std::chrono::milliseconds patience) { startOn(bus.connection(), patience); }

    void startOn(const QDBusConnection& connection, std::chrono::milliseconds patience) {
        auto tray = std::make_unique<FakeEmbeddingTray>(canEmbed);
        embedding = tray.get();
        watch.emplace(connection, std::move(tray), patience);
        QObject::connect(&*watch, &TrayHostWatch::found, &*watch, [this] { ++found; });
        QObject::connect(&*watch, &TrayHostWatch::noneFound, &*watch, [this] { ++none; });
        watch->start();
    }

    void embed() {
        canEmbed = true;
        emit embedding->appeared();
    }

    static bool comes(const int& count) {
        return QTest::qWaitFor([&] { return count > 0; }, bound);
    }

    PrivateBus bus;
    bool canEmbed = false;
    QPointer<EmbeddingTray> embedding; // the watch's
    std::optional<TrayHostWatch> watch;
    int found = 0;
    int none = 0;
};

TEST_F(TrayHostWatchTest, FindsAHostThatIsThere) {
    const FakeIconList list(bus.connection(), true);
    start(unending);
    EXPECT_FALSE(watch->hasFound());
    EXPECT_TRUE(comes(found));
    EXPECT_TRUE(watch->hasFound());
}

TEST_F(TrayHostWatchTest, WaitsForAHostThatRegistersLater) {
    FakeIconList list(bus.connection(), false);
    start(unending);
    ASSERT_TRUE(comes(list.questions));
    EXPECT_EQ(found, 0);
    list.registerHost();
    EXPECT_TRUE(comes(found));
}

TEST_F(TrayHostWatchTest, WaitsForAListThatComesLater) {
    start(briefly);
    ASSERT_TRUE(comes(none));
    const FakeIconList list(bus.connection(), true);
    EXPECT_TRUE(comes(found));
}

TEST_F(TrayHostWatchTest, TellsOnceThatThereIsNoTray) {
    start(briefly);
    EXPECT_TRUE(comes(none));
    EXPECT_FALSE(watch->hasFound());
    canEmbed = true;
    emit embedding->appeared();
    EXPECT_TRUE(comes(found));
    EXPECT_EQ(none, 1);
}

TEST_F(TrayHostWatchTest, EmbedsAtOnceWhereNobodyKeepsAListOfIcons) {
    canEmbed = true;
    start(unending);
    EXPECT_TRUE(comes(found));
}

TEST_F(TrayHostWatchTest, EmbedsInATrayThatComesLater) {
    start(unending);
    embed();
    EXPECT_TRUE(comes(found));
}

TEST_F(TrayHostWatchTest, PrefersAHostToAnEmbeddingTray) {
    canEmbed = true;
    FakeIconList list(bus.connection(), false);
    start(unending);
    ASSERT_TRUE(comes(list.questions));
    embed();
    QTest::qWait(1); // it would be taken in the next turn
    EXPECT_EQ(found, 0);
    list.registerHost();
    EXPECT_TRUE(comes(found));
}

TEST_F(TrayHostWatchTest, EmbedsWhenTheHostDoesNotCome) {
    canEmbed = true;
    FakeIconList list(bus.connection(), false);
    start(briefly);
    EXPECT_TRUE(comes(found));
    EXPECT_GT(list.questions, 0);
    EXPECT_EQ(none, 0);
}

TEST_F(TrayHostWatchTest, EmbedsOnceTheListOfIconsIsGone) {
    canEmbed = true;
    std::optional<FakeIconList> list;
    list.emplace(bus.connection(), false);
    start(unending);
    ASSERT_TRUE(comes(list->questions));
    list.reset();
    EXPECT_TRUE(comes(found));
}

TEST_F(TrayHostWatchTest, NeedsNoBus) {
    canEmbed = true;
    startOn(QDBusConnection("no such connection"), unending);
    EXPECT_TRUE(comes(found));
}

TEST_F(TrayHostWatchTest, IsDoneWithTheFirstTray) {
    canEmbed = true;
    start(briefly);
    ASSERT_TRUE(comes(found));
    FakeIconList list(bus.connection(), false);
    list.registerHost();
    EXPECT_TRUE(QTest::qWaitFor([&] { return embedding.isNull(); }, bound));
    QTest::qWait(static_cast<int>(2 * briefly.count())); // beyond the patience
    EXPECT_EQ(found, 1);
    EXPECT_EQ(none, 0);
    EXPECT_EQ(list.questions, 0);
}

TEST(X11EmbeddingTray, IsNowhereWithoutX) {
    const X11EmbeddingTray tray;
    EXPECT_FALSE(tray.isThere());
}

} // namespace
} // namespace quorrel
