// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AboutPanel.h"

#include "Desktop/DesktopEnvironment.h"
#include "Desktop/ImageLoader.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Preferences.h"
#include "Platform/Application.h"
#include "Tests/Desktop/WidgetWalk.h"
#include "Tests/Fakes/FakeActionTarget.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <string>

namespace quorrel {

using testing::ElementsAre;
using testing::IsEmpty;

class AboutPanelTest : public testing::Test {
protected:
    [[nodiscard]] QString textOf(const char* name) const {
        const auto* label = panel.window()->findChild<QLabel*>(name);
        return label && label->isVisible() ? label->text() : QString();
    }
    [[nodiscard]] QPushButton& button(const char* name) const { return *panel.window()->findChild<QPushButton*>(name); }
    [[nodiscard]] QPlainTextEdit& licence() const { return *panel.window()->findChild<QPlainTextEdit*>("licenceText"); }

    FakeActionTarget actions;
    StringTable strings;
    Preferences preferences;
    MainThreadQueue queue;
    DesktopEnvironment environment { actions, strings, preferences, queue };
    ImageLoader images;
    AboutPanelOptions options { "Quorrel", "Version 1.2.3", "Keeps network shares <mounted> & so on.",
        "GPL-3.0-or-later" };
    AboutPanel panel { environment, images };
};

TEST_F(AboutPanelTest, itShowsWhatItIsTold) {
    EXPECT_EQ(panel.window(), nullptr);
    panel.show(options);
    ASSERT_NE(panel.window(), nullptr);
    EXPECT_TRUE(panel.window()->isVisible());
    EXPECT_FALSE(panel.window()->isModal());
    EXPECT_EQ(panel.window()->windowTitle(), "About Quorrel");
    EXPECT_EQ(textOf("aboutName"), "Quorrel");
    EXPECT_EQ(textOf("aboutVersion"), "Version 1.2.3");
    EXPECT_EQ(textOf("aboutDescription"), "Keeps network shares <mounted> & so on.");
    EXPECT_EQ(textOf("aboutLicence"), "GPL-3.0-or-later");
    EXPECT_FALSE(panel.window()->findChild<QLabel*>("aboutIcon")->pixmap().isNull());
}

TEST_F(AboutPanelTest, whatIsNotKnownTakesNoPlace) {
    options.version = "";
    panel.show(options);
    EXPECT_FALSE(panel.window()->findChild<QLabel*>("aboutVersion")->isVisible());
}

TEST_F(AboutPanelTest, thereIsOnePanel) {
    panel.show(options);
    const QPointer<QDialog> first = panel.window();
    first->setWindowState(Qt::WindowMinimized);
    panel.show(options);
    EXPECT_EQ(panel.window(), first);
    EXPECT_FALSE(first->isMinimized());
    EXPECT_TRUE(QTest::qWaitForWindowActive(first));
}

TEST_F(AboutPanelTest, theWholeLicenceIsOneClickAway) {
    panel.show(options);
    EXPECT_FALSE(licence().isVisible());
    const auto before = panel.window()->size();
    QTest::mouseClick(&button("showLicence"), Qt::LeftButton);
    EXPECT_TRUE(licence().isVisible());
    EXPECT_TRUE(licence().toPlainText().contains("GNU GENERAL PUBLIC LICENSE"));
    EXPECT_TRUE(licence().toPlainText().contains("END OF TERMS AND CONDITIONS"));
    EXPECT_THAT(WidgetWalk::cutTexts(*panel.window()), IsEmpty());
    QTest::mouseClick(&button("showLicence"), Qt::LeftButton);
    EXPECT_FALSE(licence().isVisible());
    EXPECT_EQ(panel.window()->size(), before);
}

TEST_F(AboutPanelTest, closingItLeavesNothingBehind) {
    for (const auto& close : { std::function<void()>([&] { QTest::keyClick(panel.window(), Qt::Key_Escape); }),
             std::function<void()>([&] { QTest::keyClick(panel.window(), Qt::Key_W, Qt::ControlModifier); }),
             std::function<void()>([&] { QTest::mouseClick(&button("closeAbout"), Qt::LeftButton); }) }) {
        panel.show(options);
        const QPointer<QDialog> window = panel.window();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        close();
        EXPECT_TRUE(QTest::qWaitFor([&] { return window.isNull(); }));
        EXPECT_EQ(panel.window(), nullptr);
    }
}

TEST_F(AboutPanelTest, itsEndTakesItsWindowAlong) {
    QPointer<QDialog> window;
    {
        AboutPanel other(environment, images);
        other.show(options);
        window = other.window();
    }
    EXPECT_TRUE(window.isNull());
}

TEST_F(AboutPanelTest, keyboardAndScreenReaderReachEverything) {
    panel.show(options);
    for (const bool isLicenceShown : { false, true }) {
        button("showLicence").setChecked(isLicenceShown);
        EXPECT_THAT(WidgetWalk::withoutObjectName(*panel.window()), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutAccessibleName(*panel.window()), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutMnemonic(*panel.window()), IsEmpty());
        EXPECT_THAT(WidgetWalk::ambiguousMnemonics(*panel.window()), IsEmpty());
        EXPECT_THAT(WidgetWalk::cutTexts(*panel.window()), IsEmpty());
    }
}

TEST_F(AboutPanelTest, theTabKeyComesToEveryButton) {
    panel.show(options);
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.window()));
    for (const bool isLicenceShown : { false, true }) {
        button("showLicence").setChecked(isLicenceShown);
        button("showLicence").setFocus();
        std::vector<std::string> reached;
        do {
            reached.push_back(QApplication::focusWidget()->objectName().toStdString());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        } while (QApplication::focusWidget() != &button("showLicence") && reached.size() < 9);
        if (isLicenceShown)
            EXPECT_THAT(reached, ElementsAre("showLicence", "closeAbout", "licenceText"));
        else
            EXPECT_THAT(reached, ElementsAre("showLicence", "closeAbout"));
    }
}

} // namespace quorrel
