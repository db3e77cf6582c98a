// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/DesktopApplication.h"

#include "Tests/Desktop/RecordingActions.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <string>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int bound = 10000; // milliseconds

class DesktopApplicationTest : public testing::Test {
protected:
    /// 1 for one that does not end by itself.
    static int resultOfLoop() {
        QTimer late;
        QObject::connect(&late, &QTimer::timeout, [] { QCoreApplication::exit(1); });
        late.start(bound);
        return QApplication::exec();
    }

    DesktopApplication application { [this](const AboutPanelOptions& options) {
        panels.push_back(options.applicationName + ' ' + options.version);
    } };
    RecordingActions delegate;
    std::vector<std::string> panels;
};

TEST_F(DesktopApplicationTest, ForwardsToItsDelegate) {
    application.setDelegate(&delegate);
    application.perform("help", MenuItem { "Help" });
    EXPECT_THAT(delegate.performed, ElementsAre("help Help"));
    EXPECT_EQ(application.validate("help"), (ActionState { true, "help" }));
}

TEST_F(DesktopApplicationTest, DoesNothingForNobody) {
    application.perform("help", {});
    EXPECT_FALSE(application.validate("help").isEnabled);
    application.setDelegate(&delegate);
    application.setDelegate(nullptr);
    application.perform("help", {});
    EXPECT_THAT(delegate.performed, IsEmpty());
}

TEST_F(DesktopApplicationTest, HandsTheAboutPanelOn) {
    application.orderFrontStandardAboutPanel({ "Quorrel", "1.2", {}, {} });
    EXPECT_THAT(panels, ElementsAre("Quorrel 1.2"));
}

TEST_F(DesktopApplicationTest, GoesOnWhenItsLastWindowIsClosed) {
    QWidget window;
    window.show();
    constexpr int own = 7;
    QTimer::singleShot(0, &window, [&window] {
        window.close();
        // In a later turn of the loop, which there is not where the closing ended it.
        QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(own); });
    });
    EXPECT_EQ(resultOfLoop(), own);
}

TEST_F(DesktopApplicationTest, BringsItsWindowToTheFront) {
    QWidget window;
    window.showMinimized();
    QWidget other;
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    other.hide();
    application.activateIgnoringOtherApps();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_FALSE(window.isMinimized());
}

TEST_F(DesktopApplicationTest, EndsTheLoopAlsoBeforeItStarts) {
    application.terminate();
    EXPECT_EQ(resultOfLoop(), 0);
}

TEST_F(DesktopApplicationTest, RaisesAModalWindowInsteadOfEnteringACommandTwice) {
    application.setDelegate(&delegate);
    QWidget window;
    window.show();
    QDialog prompt;
    prompt.setModal(true);
    prompt.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&prompt));
    window.activateWindow();
    application.perform("mountAllListItem", {});
    EXPECT_THAT(delegate.performed, IsEmpty());
    EXPECT_TRUE(QTest::qWaitForWindowActive(&prompt));
    prompt.hide();
    application.perform("mountAllListItem", {});
    EXPECT_THAT(delegate.performed, ElementsAre("mountAllListItem"));
}

TEST_F(DesktopApplicationTest, ForwardsWhileASheetBlocksOneWindow) {
    application.setDelegate(&delegate);
    QWidget window;
    window.show();
    QDialog sheet(&window);
    sheet.open();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&sheet));
    application.perform("showPreferences", {});
    EXPECT_THAT(delegate.performed, ElementsAre("showPreferences"));
}

TEST_F(DesktopApplicationTest, TerminatesThroughAModalWindowThatWillNotClose) {
    struct Stubborn final : QDialog {
        void closeEvent(QCloseEvent* event) override { event->ignore(); }
    };
    application.setDelegate(&delegate);
    delegate.meanwhile = [this] { application.terminate(); };
    int later = -1;
    QTimer::singleShot(0, qApp, [&] {
        Stubborn prompt;
        QTimer::singleShot(0, &prompt, [&] { application.perform("terminate", {}); });
        prompt.exec();
        Stubborn next; // as a command that asks for one password after the other
        later = next.exec();
    });
    EXPECT_EQ(resultOfLoop(), 0);
    EXPECT_NE(later, QDialog::Accepted);
    EXPECT_THAT(delegate.performed, ElementsAre("terminate")); // which is in the middle of a command
}

} // namespace
} // namespace quorrel
