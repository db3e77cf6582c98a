// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/WindowFrame.h"

#include "Foundation/Preferences.h"
#include "Tests/Fakes/FakePreferencesStore.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <optional>
#include <string>

namespace quorrel {
namespace {

constexpr auto key = "frame";

class WindowFrameTest : public testing::Test {
protected:
    struct Placed final {
        explicit Placed(Preferences& preferences)
            : frame(new WindowFrame(window, preferences, key)) { }
        [[nodiscard]] QTimer& timer() const { return *frame->findChild<QTimer*>("frameTimer"); }
        QWidget window;
        WindowFrame* frame;
    };

    /// By its frame's corner, as a user does.
    static void place(QWidget& window, const QRect& frame) {
        window.resize(frame.size());
        window.move(frame.topLeft());
    }

    [[nodiscard]] std::string kept() const { return preferences.text(key); }

    std::shared_ptr<FakePreferencesStore> store = std::make_shared<FakePreferencesStore>();
    Preferences preferences { store };
};

TEST_F(WindowFrameTest, aWindowComesBackWhereItWas) {
    {
        Placed placed(preferences);
        EXPECT_FALSE(placed.frame->restore());
        place(placed.window, { 40, 50, 320, 240 });
        EXPECT_EQ(preferences.value(key), std::nullopt); // nobody has seen it yet
        placed.window.show();
        placed.window.close();
    }
    EXPECT_EQ(kept(), "40 50 320 240");
    Placed placed(preferences);
    EXPECT_TRUE(placed.frame->restore());
    placed.window.show();
    EXPECT_EQ(placed.window.pos(), QPoint(40, 50));
    EXPECT_EQ(placed.window.size(), QSize(320, 240));
}

TEST_F(WindowFrameTest, isWrittenOnceWhenTheMovingHasEnded) {
    Placed placed(preferences);
    placed.window.show();
    QApplication::processEvents();
    for (int step = 1; step <= 20; ++step) {
        placed.window.move(step, 2 * step);
        placed.window.resize(300 + step, 200);
        QApplication::processEvents();
    }
    EXPECT_EQ(store->saveCount(), 0);
    EXPECT_TRUE(placed.timer().isActive());
    placed.timer().start(0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !placed.timer().isActive(); }));
    EXPECT_EQ(kept(), "20 40 320 200");
    EXPECT_EQ(store->saveCount(), 1);
    placed.window.close(); // nothing new
    EXPECT_EQ(store->saveCount(), 1);
}

TEST_F(WindowFrameTest, isWrittenAtAnEndThatComesRightAfterAMove) {
    {
        Placed placed(preferences);
        placed.window.show();
        place(placed.window, { 11, 12, 313, 214 });
    }
    EXPECT_EQ(kept(), "11 12 313 214");
}

TEST_F(WindowFrameTest, isWrittenWhenTheProgramEndsRightAfterAMove) {
    Placed placed(preferences);
    QTimer::singleShot(0, &placed.window, [&] {
        placed.window.show();
        place(placed.window, { 21, 22, 323, 224 });
        QCoreApplication::exit(0);
    });
    QApplication::exec();
    EXPECT_TRUE(placed.window.isVisible());
    EXPECT_EQ(kept(), "21 22 323 224");
}

TEST_F(WindowFrameTest, aWindowThatFillsTheScreenKeepsItsFormerFrame) {
    Placed placed(preferences);
    place(placed.window, { 40, 50, 320, 240 });
    placed.window.show();
    placed.timer().start(0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !placed.timer().isActive(); }));
    placed.window.showMaximized();
    placed.window.close();
    EXPECT_EQ(kept(), "40 50 320 240");
}

TEST_F(WindowFrameTest, whatIsNoFrameIsNotOne) {
    for (const auto* text : { "", "1 2 3", "1 2 3 4 5", "a b c d", "0 0 0 100", "0 0 100 -1", "0 0 99999999999 1",
             "0 0 2000000 10", "1,2,3,4", "1.5 2 3 4" })
        EXPECT_EQ(WindowFrame::parsed(text), std::nullopt) << text;
    EXPECT_EQ(WindowFrame::parsed("-10 20 300 200"), QRect(-10, 20, 300, 200));
    preferences.set(key, "nonsense");
    Placed placed(preferences);
    EXPECT_FALSE(placed.frame->restore());
}

TEST_F(WindowFrameTest, aFrameIsBroughtBackToAScreen) {
    const QList<QRect> screens { { 0, 0, 1000, 800 }, { 1000, 0, 600, 400 } };
    const auto fitted = [&](const QRect& frame) { return WindowFrame::fitted(frame, screens); };
    EXPECT_EQ(fitted({ 10, 20, 300, 200 }), QRect(10, 20, 300, 200));
    EXPECT_EQ(fitted({ 1100, 50, 300, 200 }), QRect(1100, 50, 300, 200)); // the second screen is one, too
    EXPECT_EQ(fitted({ 5000, 5000, 300, 200 }), QRect(700, 600, 300, 200)); // a screen that is gone
    EXPECT_EQ(fitted({ -200, -100, 300, 200 }), QRect(0, 0, 300, 200));
    EXPECT_EQ(fitted({ 950, 300, 400, 300 }), QRect(1000, 100, 400, 300)); // mostly on the second
    EXPECT_EQ(fitted({ 100, 100, 4000, 3000 }), QRect(0, 0, 1000, 800));
}

TEST_F(WindowFrameTest, aFrameOnNoScreenOfTodayIsShownAllTheSame) {
    preferences.set(key, "90000 90000 300 200");
    Placed placed(preferences);
    EXPECT_TRUE(placed.frame->restore());
    EXPECT_TRUE(placed.window.screen()->availableGeometry().contains(placed.window.geometry()));
    EXPECT_EQ(placed.window.size(), QSize(300, 200));
}

} // namespace
} // namespace quorrel
