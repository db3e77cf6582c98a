// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/CatalogueWindow.h"

#include "Desktop/RecordListModel.h"
#include "Foundation/Text.h"
#include "Tests/Desktop/CatalogueWindowFixture.h"
#include "Tests/Desktop/WidgetWalk.h"
#include "Tests/Fakes/HostileNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QDialog>
#include <QLabel>
#include <QListView>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class CatalogueWindowTest : public CatalogueWindowFixture {
protected:
    CatalogueWindowTest() {
        window.emplace(environment, images);
        window->bindMountsList(&sharePoints);
        window->bindHostsList(&hosts);
    }

    void show() {
        window->makeKeyAndOrderFront();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window->widget()));
        turn();
    }

    template <typename Widget>
    [[nodiscard]] Widget& find(const char* name) {
        auto* found = window->widget()->findChild<Widget*>(name);
        if (!found)
            qFatal("There is no %s", name);
        return *found;
    }

    [[nodiscard]] QListView& hostsList() { return find<QListView>("hostsList"); }
    [[nodiscard]] QListView& sharePointsList() { return find<QListView>("sharePointsList"); }

    [[nodiscard]] static std::string selectedName(const QListView& list) {
        const auto rows = list.selectionModel()->selectedRows();
        return rows.isEmpty() ? "" : rows.front().data().toString().toStdString();
    }

    static void clickRow(QListView& list, int row) {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, place(list, row));
    }
    static void doubleClickRow(QListView& list, int row) {
        QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, place(list, row));
    }
    [[nodiscard]] static QPoint place(const QListView& list, int row) {
        return list.visualRect(list.model()->index(row, 0)).center();
    }

    void press(int key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : window->widget(),
            static_cast<Qt::Key>(key), modifiers);
    }

    std::optional<CatalogueWindow> window;
};

TEST_F(CatalogueWindowTest, showsTheSelectionOfTheListsAndWritesTheUsers) {
    const auto nas = addHost("nas", { "docs", "music" });
    addHost("attic", { "films" });
    select(nas);
    show();
    EXPECT_EQ(selectedName(hostsList()), "nas");
    EXPECT_EQ(sharePointsList().model()->rowCount(), 2);
    EXPECT_EQ(selectedName(sharePointsList()), "");

    clickRow(sharePointsList(), 1);
    EXPECT_THAT(sharePoints.selectedObjects(), ElementsAre(nas->sharePointForName("music")));
    clickRow(hostsList(), 0);
    EXPECT_THAT(hosts.selectedObjects(), ElementsAre(hosts.arrangedObjects()[0]));
    EXPECT_THAT(sharePoints.selectedObjects(), IsEmpty());
    EXPECT_EQ(sharePointsList().model()->index(0, 0).data().toString().toStdString(), "films");

    select(nas);
    sharePoints.setSelectedObjects({ nas->sharePointForName("docs") });
    EXPECT_EQ(selectedName(hostsList()), "nas");
    EXPECT_EQ(selectedName(sharePointsList()), "docs");
    hosts.setSelectedObjects({});
    EXPECT_EQ(selectedName(hostsList()), "");
}

TEST_F(CatalogueWindowTest, theSelectionSurvivesWhateverComesAndGoesAroundIt) {
    const auto nas = addHost("nas", { "docs", "music", "photos" });
    select(nas);
    const auto music = nas->sharePointForName("music");
    sharePoints.setSelectedObjects({ music });
    show();
    int changes = 0;
    const auto hostSelection
        = hosts.observe([&](ListChange change) { changes += change == ListChange::Selection ? 1 : 0; });
    const auto sharePointSelection
        = sharePoints.observe([&](ListChange change) { changes += change == ListChange::Selection ? 1 : 0; });

    addHost("attic");
    hosts.setSortDescriptors({ { "displayName", SortOrder::Descending } });
    music->sharePoint.set("a cappella");
    sharePoints.rearrange();
    addSharePoint(nas, smb, "B");
    nas->sharePoints.remove(nas->sharePointForName("docs"));
    showSelectedHost();
    turn();
    EXPECT_EQ(selectedName(hostsList()), "nas");
    EXPECT_EQ(selectedName(sharePointsList()), "a cappella");
    EXPECT_EQ(changes, 0);

    nas->sharePoints.remove(music);
    showSelectedHost();
    EXPECT_EQ(selectedName(sharePointsList()), "");
    EXPECT_THAT(sharePoints.selectedObjects(), IsEmpty());
    EXPECT_EQ(changes, 1);
}

TEST_F(CatalogueWindowTest, theSelectionSurvivesInAListThatIsShownAnew) {
    std::vector<std::string> names;
    for (int number = 1000; number < 1200; ++number)
        names.push_back(std::to_string(number));
    const auto nas = addHost("nas", names);
    select(nas);
    sharePoints.setSelectedObjects({ nas->sharePointForName("1100") });
    show();
    const QSignalSpy resets(sharePointsList().model(), &QAbstractItemModel::modelReset);
    for (int number = 1001; number < 1200; number += 2)
        nas->sharePoints.remove(nas->sharePointForName(std::to_string(number)));
    showSelectedHost();
    turn();
    EXPECT_EQ(resets.count(), 1) << "too much went for one by one";
    EXPECT_EQ(selectedName(sharePointsList()), "1100");
    EXPECT_THAT(sharePoints.selectedObjects(), ElementsAre(nas->sharePointForName("1100")));
}

TEST_F(CatalogueWindowTest, recordsMayChangeOnFourThreadsWhileTheyAreShown) {
    const auto nas = addHost("nas", std::vector<std::string>(1, "selected"));
    std::vector<SharePointPointer> many;
    for (int number = 0; number < 40; ++number)
        many.push_back(addSharePoint(nas, smb, std::to_string(number)));
    select(nas);
    sharePoints.setSelectedObjects({ nas->sharePointForName("selected") });
    show();
    const QSignalSpy resets(sharePointsList().model(), &QAbstractItemModel::modelReset);
    std::atomic<int> running = 4;
    std::vector<std::thread> workers;
    for (std::size_t worker = 0; worker < 4; ++worker)
        workers.emplace_back([&many, &running, worker] {
            for (int round = 0; round < 200; ++round)
                for (auto index = worker; index < many.size(); index += 4) {
                    many[index]->setMounting(true);
                    many[index]->setLastError("It is round " + std::to_string(round));
                    many[index]->setMounted(round % 2 == 1);
                    many[index]->setMounting(false);
                }
            --running;
        });
    while (running > 0)
        turn();
    for (auto& worker : workers)
        worker.join();
    turn();
    EXPECT_EQ(selectedName(sharePointsList()), "selected");
    EXPECT_EQ(resets.count(), 0);
    EXPECT_EQ(sharePointsList().model()->index(0, 0).data(RecordRole::status).toString().toStdString(), "Online");
}

TEST_F(CatalogueWindowTest, theFailureOfTheSelectedShareIsThereToBeRead) {
    const auto nas = addHost("nas", { "docs" });
    select(nas);
    const auto docs = nas->sharePoints.snapshot()[0];
    sharePoints.setSelectedObjects({ docs });
    show();
    auto& details = find<QLabel>("details");
    EXPECT_EQ(details.text().toStdString(), "");
    std::thread([&] { docs->setLastError("The server does not know <b>anna</b>"); }).join();
    turn();
    EXPECT_EQ(details.text().toStdString(), "The server does not know <b>anna</b>");
    EXPECT_EQ(details.textFormat(), Qt::PlainText);
    EXPECT_TRUE(details.isVisible());
    sharePoints.setSelectedObjects({});
    EXPECT_EQ(details.text().toStdString(), "");
}

TEST_F(CatalogueWindowTest, asksAnewWhatCanBeDoneWhenToldTo) {
    window->validateActions(); // there is nothing yet that could
    show();
    const auto* action = window->widget()->findChild<QAction*>("unmountAllListItem");
    EXPECT_TRUE(action->isEnabled());
    actions.setState("unmountAllListItem", { false, "No share is mounted." });
    turn();
    EXPECT_TRUE(action->isEnabled()) << "nobody said anything";
    window->validateActions();
    turn();
    EXPECT_FALSE(action->isEnabled());
    EXPECT_THAT(action->toolTip().toStdString(), testing::HasSubstr("No share is mounted."));
}

TEST_F(CatalogueWindowTest, withoutHostsItSaysWhatToDoNext) {
    show();
    EXPECT_FALSE(hostsList().isVisible());
    auto buttons = window->widget()->findChildren<QPushButton*>("emptyPageButton");
    buttons.removeIf([](const auto* button) { return !button->isVisible(); });
    ASSERT_EQ(buttons.size(), 1);
    EXPECT_EQ(buttons[0]->text().toStdString(), "&Add Share…");
    QTest::mouseClick(buttons[0], Qt::LeftButton);
    EXPECT_THAT(takePerformed(), ElementsAre("addMountSheet"));
    addHost("nas");
    EXPECT_TRUE(hostsList().isVisible());
    hosts.setContent({});
    EXPECT_FALSE(hostsList().isVisible());
}

TEST_F(CatalogueWindowTest, whereNoShareIsToBeSeenItSaysWhy) {
    const auto title = [&] {
        for (const auto* label : window->widget()->findChildren<QLabel*>("emptyPageTitle"))
            if (label->isVisible())
                return label->text().toStdString();
        return std::string();
    };
    const auto nas = addHost("nas");
    show();
    EXPECT_EQ(title(), "No server selected");
    select(nas);
    EXPECT_EQ(title(), "No shares on this server");
    addSharePoint(nas, smb, "docs");
    showSelectedHost();
    EXPECT_EQ(title(), "");
    EXPECT_TRUE(sharePointsList().isVisible());
}

TEST_F(CatalogueWindowTest, aListThatIsTakenAwayIsGone) {
    select(addHost("nas", { "docs" }));
    show();
    window->bindHostsList(nullptr);
    window->bindMountsList(nullptr);
    EXPECT_EQ(hostsList().model()->rowCount(), 0);
    EXPECT_EQ(sharePointsList().model()->rowCount(), 0);
    hosts.setContent({});
    HostListController others { [](const HostPointer&, std::string_view) { return std::string(); } };
    others.setContent({ hostNamed("attic") });
    window->bindHostsList(&others);
    EXPECT_EQ(hostsList().model()->rowCount(), 1);
    window.reset(); // before the list
}

TEST_F(CatalogueWindowTest, aQuestionIsAnsweredByItsButtonsAndItsClosing) {
    show();
    const AlertSheet sheet { "Delete <docs>?", "It will be unmounted & forgotten.", "&Delete", "&Keep" };
    std::vector<AlertAnswer> answers;
    const auto ask = [&] {
        window->beginAlertSheet(sheet, [&](AlertAnswer answer) { answers.push_back(answer); });
        return window->widget()->findChild<QDialog*>("alert");
    };
    QPointer<QDialog> box = ask();
    ASSERT_TRUE(box);
    EXPECT_EQ(box->windowModality(), Qt::WindowModal);
    EXPECT_THAT(answers, IsEmpty());
    auto* accept = box->findChild<QPushButton*>("defaultButton");
    EXPECT_TRUE(accept->isDefault());
    EXPECT_EQ(accept->text().toStdString(), "&Delete");
    EXPECT_EQ(box->findChild<QPushButton*>("alternateButton")->text().toStdString(), "&Keep");
    std::vector<std::string> texts;
    for (const auto* label : box->findChildren<QLabel*>())
        if (!label->text().isEmpty())
            texts.push_back(label->text().toStdString());
    EXPECT_THAT(texts, testing::IsSupersetOf({ sheet.title, sheet.message }));

    QTest::keyClick(box, Qt::Key_Return);
    EXPECT_THAT(answers, ElementsAre(AlertAnswer::Default));
    QTest::mouseClick(ask()->findChild<QPushButton*>("alternateButton"), Qt::LeftButton);
    EXPECT_THAT(answers, ElementsAre(AlertAnswer::Default, AlertAnswer::Alternate));
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QTest::keyClick(ask(), Qt::Key_Escape);
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ask()->close();
    EXPECT_THAT(answers,
        ElementsAre(AlertAnswer::Default, AlertAnswer::Alternate, AlertAnswer::Alternate, AlertAnswer::Alternate));
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(box);
}

TEST_F(CatalogueWindowTest, aQuestionThatIsStillOpenAtTheEndIsNotAnswered) {
    show();
    window->beginAlertSheet({ "Delete?", "Really", "Yes", "No" }, [](AlertAnswer) { FAIL(); });
    window.reset();
    QApplication::processEvents();
}

TEST_F(CatalogueWindowTest, aNoticeStandsInNobodysWay) {
    show();
    window->showNotice("No tray", "Quorrel shows this window instead.");
    QPointer<QDialog> box = window->widget()->findChild<QDialog*>("alert");
    ASSERT_TRUE(box);
    EXPECT_EQ(box->windowModality(), Qt::NonModal);
    EXPECT_TRUE(box->isVisible());
    QTest::mouseClick(box->findChild<QPushButton*>("noticeButton"), Qt::LeftButton);
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(box);
}

TEST_F(CatalogueWindowTest, anyNameInANoticeIsPlainTextOnOneLine) {
    show();
    for (const auto& [evil, name] : hostileNames()) {
        window->showNotice(
            Text::filledOnOneLine(strings.text("The folder %@ could not be opened."), { "/home/ann/Volumes/" + name }),
            "No program for it could be started.");
        auto* box = window->widget()->findChild<QDialog*>("alert");
        ASSERT_TRUE(box) << evil;
        for (const auto* label : { "qt_msgbox_label", "qt_msgbox_informativelabel" }) {
            const auto* shown = box->findChild<QLabel*>(label);
            EXPECT_EQ(shown->textFormat(), Qt::PlainText) << evil;
            EXPECT_LE(shown->text().size(), 1001) << evil;
            for (const QChar character : shown->text())
                EXPECT_TRUE(character.category() != QChar::Other_Control && character != QChar(0x202e)
                    && character != QChar(0x2028) && character != QChar(0x2066))
                    << evil;
        }
        EXPECT_TRUE(box->windowTitle().startsWith("The folder /home/ann/Volumes/")) << evil;
        QTest::mouseClick(box->findChild<QPushButton*>("noticeButton"), Qt::LeftButton);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(CatalogueWindowTest, onFirstUseItIsCentredAndLaterWhereItWasLeft) {
    window->center();
    window->makeKeyAndOrderFront();
    const auto available = window->widget()->screen()->availableGeometry();
    const auto distance = window->widget()->frameGeometry().center() - available.center();
    EXPECT_LE(distance.manhattanLength(), 10); // how large its frame is, is known once it is shown
    window->widget()->move(30, 20);
    window->widget()->resize(700, 450);
    window->widget()->close();
    EXPECT_EQ(preferences.text("NSWindow Frame MainWindow"), "30 20 700 450");
    window.emplace(environment, images);
    window->makeKeyAndOrderFront();
    EXPECT_EQ(window->widget()->pos(), QPoint(30, 20));
    EXPECT_EQ(window->widget()->size(), QSize(700, 450));
}

TEST_F(CatalogueWindowTest, itsWidgetsAreMadeWhenWantedAndGivenUpAfterClosing) {
    EXPECT_THAT(QApplication::topLevelWidgets(), IsEmpty());
    select(addHost("nas", { "docs" }));
    show();
    const QPointer<QWidget> widget = window->widget();
    auto* timer = widget->findChild<QTimer*>("releaseTimer");
    ASSERT_TRUE(timer);
    widget->close();
    EXPECT_TRUE(timer->isActive());
    window->makeKeyAndOrderFront(); // in time
    EXPECT_FALSE(timer->isActive());
    widget->close();
    timer->start(0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !widget; }));
    EXPECT_THAT(QApplication::topLevelWidgets(), IsEmpty());
    show();
    EXPECT_EQ(selectedName(hostsList()), "nas");
    EXPECT_EQ(sharePointsList().model()->rowCount(), 1);
}

TEST_F(CatalogueWindowTest, itStaysUnderASheetThatStandsOnIt) {
    show();
    const QPointer<QWidget> widget = window->widget();
    auto* sheet = new QDialog(widget);
    auto* timer = widget->findChild<QTimer*>("releaseTimer");
    QSignalSpy looks(timer, &QTimer::timeout);
    widget->close();
    timer->start(0);
    ASSERT_TRUE(looks.wait());
    ASSERT_TRUE(widget);
    delete sheet;
    EXPECT_TRUE(timer->isActive()) << "it looks again";
    EXPECT_GT(timer->interval(), 1000) << "in a while";
    timer->start(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !widget; }));
}

TEST_F(CatalogueWindowTest, oneThatOnlyASheetWantedIsGivenUpToo) {
    const QPointer<QWidget> widget = window->widget();
    auto* timer = widget->findChild<QTimer*>("releaseTimer");
    EXPECT_TRUE(timer->isActive());
    timer->start(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !widget; }));
}

TEST_F(CatalogueWindowTest, isFitForKeyboardAndScreenReader) {
    const auto nas = addHost("nas", { "docs" });
    show();
    for (const bool isSelected : { false, true }) {
        if (isSelected)
            select(nas);
        turn();
        const auto& shown = *window->widget();
        EXPECT_THAT(WidgetWalk::withoutObjectName(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutAccessibleName(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutMnemonic(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::ambiguousMnemonics(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::cutTexts(shown), IsEmpty());
    }
    EXPECT_THAT(WidgetWalk::tabOrder(*window->widget()), ElementsAre("hostsList", "sharePointsList"));
    const auto docs = nas->sharePoints.snapshot()[0];
    docs->setLastError("No such share");
    sharePoints.setSelectedObjects({ docs });
    EXPECT_THAT(WidgetWalk::tabOrder(*window->widget()), ElementsAre("hostsList", "sharePointsList", "details"));
    EXPECT_EQ(WidgetWalk::accessibleName(find<QLabel>("details")), "No such share");
    EXPECT_EQ(WidgetWalk::accessibleName(hostsList()), "Servers");
    EXPECT_EQ(WidgetWalk::accessibleName(sharePointsList()), "Shares");
    EXPECT_EQ(WidgetWalk::accessibleName(find<QToolButton>("qt_toolbar_ext_button")), "More commands");
}

TEST_F(CatalogueWindowTest, aButtonIsDescribedInPlainWords) {
    actions.setState("mountSelectedListItem", { false, "Select a share first." });
    show();
    for (auto* button : window->widget()->findChildren<QAbstractButton*>()) {
        const auto description = QAccessible::queryAccessibleInterface(button)->text(QAccessible::Description);
        EXPECT_THAT(description.toStdString(), Not(HasSubstr("<"))) << button->objectName().toStdString();
    }
    const auto described = [this] {
        auto& mount = find<QToolButton>("mountSelectedListItemButton");
        return QAccessible::queryAccessibleInterface(&mount)->text(QAccessible::Description).toStdString();
    };
    EXPECT_EQ(described(), "Mount (Ctrl+M)\nSelect a share first.");
    actions.setState("mountSelectedListItem", {});
    select(addHost("nas"));
    turn();
    EXPECT_EQ(described(), "Mount (Ctrl+M)");
}

} // namespace
} // namespace quorrel
