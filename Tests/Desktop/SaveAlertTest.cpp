// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SaveAlert.h"

#include "Desktop/AlertBox.h"
#include "Tests/Desktop/DesktopFixture.h"
#include "Tests/Fakes/HostileNames.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QPushButton>

namespace quorrel {

class SaveAlertTest : public DesktopFixture {
protected:
    ~SaveAlertTest() override { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    static std::vector<AlertBox*> shown() {
        std::vector<AlertBox*> boxes;
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* box = dynamic_cast<AlertBox*>(widget); box && box->isVisible())
                boxes.push_back(box);
        return boxes;
    }

    SaveAlert alert { strings };
};

TEST_F(SaveAlertTest, namesTheFileAndTheCauseAndHoldsNobodyUp) {
    alert.show("/home/ann/.local/share/Quorrel/Quorrel2.plist", "No space left on device");
    ASSERT_EQ(shown().size(), 1U);
    const auto& box = *shown().front();
    EXPECT_EQ(box.text(), "Your shares could not be saved");
    EXPECT_TRUE(box.informativeText().startsWith(
        "/home/ann/.local/share/Quorrel/Quorrel2.plist cannot be written: No space left on device.\n\n"));
    EXPECT_FALSE(box.isModal());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(SaveAlertTest, theUserClosesIt) {
    alert.show("/a", "b");
    ASSERT_EQ(shown().size(), 1U);
    named<QPushButton>(*shown().front(), "alertButton").click();
    EXPECT_EQ(shown().size(), 0U);
    alert.withdraw();
    alert.show("/a", "c");
    ASSERT_EQ(shown().size(), 1U);
    EXPECT_TRUE(shown().front()->informativeText().startsWith("/a cannot be written: c."));
}

TEST_F(SaveAlertTest, goesWhenTheSharesAreSavedAfterAll) {
    alert.show("/a", "b");
    alert.withdraw();
    EXPECT_EQ(shown().size(), 0U);
    alert.withdraw();
}

TEST_F(SaveAlertTest, whatItSaysOfAnEditedFileStandsUntilItIsRead) {
    alert.showKept("/home/ann/.local/share/Quorrel/Quorrel2.plist");
    ASSERT_EQ(shown().size(), 1U);
    EXPECT_EQ(shown().front()->text(), "Your shares were changed outside Quorrel");
    EXPECT_TRUE(shown().front()->informativeText().startsWith(
        "/home/ann/.local/share/Quorrel/Quorrel2.plist is not as Quorrel left it: it was edited or replaced, "));
    EXPECT_FALSE(shown().front()->isModal());
    alert.show("/a", "No space left on device");
    EXPECT_EQ(shown().size(), 2U);
    alert.withdraw();
    ASSERT_EQ(shown().size(), 1U);
    alert.showKept("/b");
    ASSERT_EQ(shown().size(), 1U);
    EXPECT_TRUE(shown().front()->informativeText().startsWith("/b is not"));
    named<QPushButton>(*shown().front(), "alertButton").click();
    EXPECT_EQ(shown().size(), 0U);
}

TEST_F(SaveAlertTest, aNameCannotForgeLines) {
    alert.show("/a\x1b[2J\x07", "b");
    ASSERT_EQ(shown().size(), 1U);
    EXPECT_FALSE(shown().front()->informativeText().contains(QChar(0x1b)));
    EXPECT_EQ(shown().front()->textFormat(), Qt::PlainText);
}

TEST_F(SaveAlertTest, anyNameIsPlainTextOnALineOfItsOwn) {
    for (const auto& [evil, name] : hostileNames()) {
        alert.show(name, "b");
        ASSERT_EQ(shown().size(), 1U) << evil;
        const auto text = shown().front()->informativeText();
        EXPECT_LE(text.size(), 5001) << evil;
        EXPECT_EQ(text.count('\n'), name.size() < 1000 ? 2 : 0) << evil;
        for (const auto* label : { "qt_msgbox_label", "qt_msgbox_informativelabel" })
            EXPECT_EQ(shown().front()->findChild<QLabel*>(label)->textFormat(), Qt::PlainText) << evil;
        EXPECT_FALSE(text.contains(QChar(0x202e)) || text.contains(QChar(0x1b)) || text.contains(QChar(0))) << evil;
    }
}

TEST_F(SaveAlertTest, goesWithTheProgram) {
    QPointer<AlertBox> box;
    {
        SaveAlert passing(strings);
        passing.show("/a", "b");
        ASSERT_EQ(shown().size(), 1U);
        box = shown().front();
    }
    EXPECT_TRUE(box.isNull());
}

} // namespace quorrel
