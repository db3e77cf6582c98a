// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/CatalogueActions.h"

#include "Desktop/CatalogueListView.h"
#include "Desktop/CatalogueView.h"
#include "Tests/Desktop/CatalogueWindowFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAction>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QToolButton>
#include <QToolTip>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Key final {
    const char* action;
    int key;
    Qt::KeyboardModifiers modifiers = {};
};

const Key keys[] = {
    { "mountSelectedListItem", Qt::Key_M, Qt::ControlModifier },
    { "unmountSelectedListItem", Qt::Key_U, Qt::ControlModifier },
    { "openMountedFolder", Qt::Key_O, Qt::ControlModifier },
    { "toggleFavroite", Qt::Key_D, Qt::ControlModifier },
    { "addMountSheet", Qt::Key_N, Qt::ControlModifier },
    { "editMountAction", Qt::Key_F2 },
    { "deleteSelectedMount", Qt::Key_Delete },
    { "mountThisHostListItem", Qt::Key_M, Qt::ControlModifier | Qt::AltModifier },
    { "unmountThisHostListItem", Qt::Key_U, Qt::ControlModifier | Qt::AltModifier },
    { "mountAllListItem", Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier },
    { "unmountAllListItem", Qt::Key_U, Qt::ControlModifier | Qt::ShiftModifier },
    { "showPreferences", Qt::Key_Comma, Qt::ControlModifier },
    { "terminate", Qt::Key_Q, Qt::ControlModifier },
    { "help", Qt::Key_F1 },
    { "showAbout", Qt::Key_F1, Qt::ShiftModifier },
};

class CatalogueActionsTest : public CatalogueWindowFixture {
protected:
    CatalogueActionsTest() {
        nas = addHost("nas", { "docs", "music" });
        select(nas);
        view.emplace(environment, images);
        view->showHosts(&hosts);
        view->showSharePoints(&sharePoints);
        view->show();
        view->activateWindow();
    }

    void SetUp() override {
        ASSERT_TRUE(QTest::qWaitForWindowActive(&*view));
        turn();
    }

    [[nodiscard]] QAction& action(const char* name) { return *view->findChild<QAction*>(name); }
    [[nodiscard]] CatalogueListView& list() { return *view->findChild<CatalogueListView*>("sharePointsList"); }
    [[nodiscard]] CatalogueListView& hostsList() { return *view->findChild<CatalogueListView*>("hostsList"); }
    [[nodiscard]] QToolButton* button(const std::string& name) {
        return view->findChild<QToolButton*>(QString::fromStdString(name + "Button"));
    }

    [[nodiscard]] QRect row(int number) { return list().visualRect(list().model()->index(number, 0)); }
    void clickRow(int number) { QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, row(number).center()); }
    [[nodiscard]] QPoint star(int number) { return { row(number).right() - 16, row(number).center().y() }; }

    HostPointer nas;
    std::optional<CatalogueView> view;
};

TEST_F(CatalogueActionsTest, everyCommandHasItsKey) {
    for (const auto& each : keys) {
        QTest::keyClick(&hostsList(), static_cast<Qt::Key>(each.key), each.modifiers);
        EXPECT_THAT(takePerformed(), ElementsAre(each.action));
    }
    QTest::keyClick(&hostsList(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(view->isVisible());
    EXPECT_THAT(takePerformed(), IsEmpty());
}

TEST_F(CatalogueActionsTest, whatIsHandedOnNamesItself) {
    std::string title;
    std::string selector;
    actions.onPerform = [&](Selector, const MenuItem& sender) {
        title = sender.title;
        selector = sender.action;
    };
    action("mountAllListItem").trigger();
    EXPECT_EQ(title, "") << "who triggered it would wait for all that it does";
    turn();
    EXPECT_EQ(title, "Mount All");
    EXPECT_EQ(selector, "mountAllListItem");
}

TEST_F(CatalogueActionsTest, everyCommandIsInAMenuUnderALetterOfItsOwn) {
    std::set<QAction*> found;
    std::set<QString> menuLetters;
    for (auto* top : view->menuBar()->actions()) {
        EXPECT_TRUE(menuLetters.insert(QKeySequence::mnemonic(top->text()).toString()).second);
        std::set<QString> letters;
        for (auto* each : top->menu()->actions()) {
            if (each->isSeparator())
                continue;
            found.insert(each);
            const auto letter = QKeySequence::mnemonic(each->text()).toString();
            EXPECT_FALSE(letter.isEmpty()) << each->text().toStdString();
            EXPECT_TRUE(letters.insert(letter).second) << each->text().toStdString();
            EXPECT_FALSE(each->shortcut().isEmpty()) << each->text().toStdString();
        }
    }
    for (const auto& each : keys)
        EXPECT_TRUE(found.contains(&action(each.action))) << each.action;
    EXPECT_TRUE(found.contains(&action("closeWindow")));
}

TEST_F(CatalogueActionsTest, theButtonsOfTheToolBarHandOn) {
    for (const auto* name : { "mountSelectedListItem", "unmountSelectedListItem", "openMountedFolder",
             "mountAllListItem", "unmountAllListItem", "addMountSheet", "editMountAction", "deleteSelectedMount" }) {
        ASSERT_TRUE(button(name)) << name;
        EXPECT_FALSE(button(name)->icon().isNull()) << name;
        EXPECT_FALSE(button(name)->text().isEmpty()) << name;
        QTest::mouseClick(button(name), Qt::LeftButton);
        EXPECT_THAT(takePerformed(), ElementsAre(name));
    }
}

TEST_F(CatalogueActionsTest, whatCannotBeDoneIsDisabledAndSaysWhy) {
    actions.setState("unmountSelectedListItem", { false, "It was mounted by <another> program" });
    actions.setState("mountSelectedListItem", { false, "" });
    clickRow(0);
    EXPECT_TRUE(button("unmountSelectedListItem")->isEnabled());
    turn();
    EXPECT_FALSE(button("unmountSelectedListItem")->isEnabled());
    EXPECT_EQ(button("unmountSelectedListItem")->toolTip().toStdString(),
        "<qt>Unmount (Ctrl+U)<br>It was mounted by &lt;another&gt; program</qt>");
    EXPECT_EQ(button("mountSelectedListItem")->toolTip().toStdString(), "<qt>Mount (Ctrl+M)</qt>");
    QTest::mouseClick(button("unmountSelectedListItem"), Qt::LeftButton);
    QTest::keyClick(&list(), Qt::Key_U, Qt::ControlModifier);
    EXPECT_THAT(takePerformed(), IsEmpty());

    actions.setState("unmountSelectedListItem", {});
    nas->sharePointForName("docs")->setMounted(true);
    turn();
    EXPECT_TRUE(button("unmountSelectedListItem")->isEnabled());
    EXPECT_EQ(button("unmountSelectedListItem")->toolTip().toStdString(), "<qt>Unmount (Ctrl+U)</qt>");
}

TEST_F(CatalogueActionsTest, aDisabledButtonShowsItsToolTip) {
    actions.setState("unmountSelectedListItem", { false, "Nothing is mounted" });
    view->findChild<CatalogueActions*>()->validate();
    auto* disabled = button("unmountSelectedListItem");
    QHelpEvent help(QEvent::ToolTip, disabled->rect().center(), disabled->mapToGlobal(disabled->rect().center()));
    QApplication::sendEvent(disabled, &help);
    EXPECT_EQ(QToolTip::text(), disabled->toolTip());
    EXPECT_TRUE(disabled->toolTip().contains("Nothing is mounted"));
    QToolTip::hideText();
}

TEST_F(CatalogueActionsTest, aMenuExplainsOnlyWhatCannotBeChosen) {
    actions.setState("help", { false, "There is no help" });
    auto* menu = view->findChild<QMenu*>("helpMenu");
    menu->popup({ 10, 10 });
    const auto explains = [&](const char* name) {
        const auto place = menu->actionGeometry(&action(name)).center();
        QHelpEvent help(QEvent::ToolTip, place, menu->mapToGlobal(place));
        return !view->findChild<CatalogueActions*>()->eventFilter(menu, &help);
    };
    EXPECT_TRUE(menu->toolTipsVisible());
    EXPECT_TRUE(explains("help"));
    EXPECT_FALSE(explains("showAbout"));
    menu->close();
}

class CountingTarget final : public ActionTarget {
public:
    void perform(Selector, const MenuItem&) override { }
    [[nodiscard]] ActionState validate(Selector action) const override {
        ++counts[std::string(action)];
        return {};
    }
    mutable std::map<std::string, int> counts;
};

TEST_F(CatalogueActionsTest, whatCanBeDoneIsAskedOnceATurn) {
    CountingTarget counting;
    CatalogueView other({ counting, strings, preferences, queue }, images);
    other.showHosts(&hosts);
    other.showSharePoints(&sharePoints);
    turn();
    counting.counts.clear();
    for (int round = 0; round < 20; ++round)
        for (const auto& sharePoint : nas->sharePoints.snapshot()) {
            sharePoint->setMounted(round % 2 == 0);
            sharePoints.setSelectedObjects({ sharePoint });
        }
    turn();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !counting.counts.empty(); }));
    for (const auto& each : keys)
        EXPECT_EQ(counting.counts[each.action], 1) << each.action;
}

TEST_F(CatalogueActionsTest, theKeyboardAloneWorksTheLists) {
    hostsList().setFocus();
    addHost("attic", { "films", "cartoons" });
    QTest::keyClick(&hostsList(), Qt::Key_Up);
    EXPECT_EQ(hosts.selectedObjects()[0]->displayName.get(), "attic");
    QTest::keyClick(&hostsList(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &list());
    ASSERT_EQ(sharePoints.selectedObjects().size(), 1U);
    EXPECT_EQ(sharePoints.selectedObjects()[0]->sharePoint.get(), "cartoons");
    QTest::keyClick(&list(), Qt::Key_Down);
    EXPECT_EQ(sharePoints.selectedObjects()[0]->sharePoint.get(), "films");
    QTest::keyClick(&list(), Qt::Key_Return);
    QTest::keyClick(&list(), Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_THAT(takePerformed(), ElementsAre("editMountAction", "editMountAction"));
    QTest::keyClick(&list(), Qt::Key_Backtab);
    EXPECT_EQ(QApplication::focusWidget(), &hostsList());
    QTest::keyClick(&hostsList(), Qt::Key_E, Qt::AltModifier);
    EXPECT_EQ(QApplication::focusWidget(), &list());
    QTest::keyClick(&list(), Qt::Key_V, Qt::AltModifier);
    EXPECT_EQ(QApplication::focusWidget(), &hostsList());
}

TEST_F(CatalogueActionsTest, aDoubleClickOpensWhatIsMountedAndMountsWhatIsNot) {
    const auto doubleClick = [&](const QPoint& place) {
        QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, place);
        return takePerformed();
    };
    actions.setState("openMountedFolder", { false, "Not mounted" });
    EXPECT_THAT(doubleClick(row(1).center()), ElementsAre("mountSelectedListItem"));
    EXPECT_EQ(sharePoints.selectedObjects()[0]->sharePoint.get(), "music");
    actions.setState("openMountedFolder", {});
    EXPECT_THAT(doubleClick(row(1).center()), ElementsAre("openMountedFolder"));
    actions.setState("openMountedFolder", { false, "" });
    actions.setState("mountSelectedListItem", { false, "" });
    EXPECT_THAT(doubleClick(row(1).center()), IsEmpty());
    EXPECT_THAT(doubleClick({ row(1).center().x(), row(1).bottom() + 40 }), IsEmpty()); // below the last row
}

TEST_F(CatalogueActionsTest, aClickOnTheStarTogglesThatShare) {
    std::string toggled;
    actions.onPerform
        = [&](Selector, const MenuItem&) { toggled += textOf(sharePoints.selectedObjects()[0]->sharePoint.get()); };
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, star(1));
    EXPECT_THAT(takePerformed(), ElementsAre("toggleFavroite"));
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, star(0));
    EXPECT_THAT(takePerformed(), ElementsAre("toggleFavroite"));
    EXPECT_EQ(toggled, "musicdocs");
    clickRow(1);
    QTest::mouseClick(list().viewport(), Qt::RightButton, {}, star(1));
    EXPECT_THAT(takePerformed(), IsEmpty());
    // A press that begins elsewhere is no click on the star.
    QTest::mousePress(list().viewport(), Qt::LeftButton, {}, row(0).center());
    QTest::mouseRelease(list().viewport(), Qt::LeftButton, {}, star(0));
    EXPECT_THAT(takePerformed(), IsEmpty());
}

TEST_F(CatalogueActionsTest, theMenuTellsWhetherTheShareIsAFavorite) {
    const auto& favorite = action("toggleFavroite");
    clickRow(0);
    EXPECT_FALSE(favorite.isChecked());
    nas->sharePointForName("docs")->favroite.set(true);
    turn();
    EXPECT_TRUE(favorite.isChecked());
    clickRow(1);
    EXPECT_FALSE(favorite.isChecked());
    action("toggleFavroite").trigger(); // and nobody does it
    turn();
    EXPECT_FALSE(favorite.isChecked());
}

TEST_F(CatalogueActionsTest, aStarThatIsClickedTwiceMountsNothing) {
    actions.setState("openMountedFolder", { false, "" });
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, star(0));
    QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, star(0));
    for (const auto& each : takePerformed())
        EXPECT_EQ(each, "toggleFavroite");
}

TEST_F(CatalogueActionsTest, bothListsHaveAMenuThatHoldsNothingUp) {
    struct Case final {
        CatalogueListView* list;
        const char* menu;
        const char* action;
    };
    for (const auto& each : { Case { &hostsList(), "hostContextMenu", "mountThisHostListItem" },
             Case { &list(), "sharePointContextMenu", "toggleFavroite" } }) {
        auto* menu = view->findChild<QMenu*>(each.menu);
        actions.setState(each.action, { false, "no" });
        for (const auto reason : { QContextMenuEvent::Mouse, QContextMenuEvent::Keyboard }) {
            each.list->setCurrentIndex(each.list->model()->index(0, 0));
            QContextMenuEvent event(reason, { 5, 5 }, each.list->viewport()->mapToGlobal(QPoint(5, 5)));
            QApplication::sendEvent(each.list->viewport(), &event);
            EXPECT_TRUE(menu->isVisible());
            EXPECT_TRUE(menu->actions().contains(&action(each.action)));
            EXPECT_FALSE(action(each.action).isEnabled()); // asked at the last moment
            menu->close();
        }
    }
}

} // namespace
} // namespace quorrel
