// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/MenuRenderer.h"

#include "Desktop/ImageLoader.h"
#include "Tests/Desktop/RecordingActions.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QCoreApplication>
#include <QEventLoop>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Counts how often a menu's rows come and go.
class RowCounter final : public QObject {
public:
    explicit RowCounter(QMenu& menu) { menu.installEventFilter(this); }

    int added = 0;
    int removed = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        added += event->type() == QEvent::ActionAdded;
        removed += event->type() == QEvent::ActionRemoved;
        return false;
    }
};

class MenuRendererTest : public testing::Test {
protected:
    static MenuItem hostItem(const std::string& name, const std::vector<std::string>& shares) {
        auto submenu = std::make_shared<Menu>(name);
        submenu->addItem(MenuItem::command("Server", "mountThisHostMenuItem"));
        submenu->addItem(MenuItem::separator());
        for (const auto& share : shares)
            submenu->addItem(MenuItem::command(share, "mountMenuItem"));
        MenuItem item { name };
        item.submenu = std::move(submenu);
        return item;
    }

    void fill() {
        mountMenu->addItem(hostItem("mars", { "films", "music" }));
        mountMenu->addItem(hostItem("venus", { "photos" }));
        MenuItem mount { "Mount" };
        mount.submenu = mountMenu;
        model->addItem(mount);
        model->addItem(MenuItem::command("Show Shares", "showMountList"));
    }

    void render(MenuLabel::Drawer drawer = MenuLabel::Drawer::Qt) {
        renderer.emplace(menu, model, drawer, actions, images);
    }

    static void turn() {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    static std::vector<std::string> texts(const QMenu& menu) {
        std::vector<std::string> found;
        for (const auto* action : menu.actions())
            found.push_back(action->isSeparator() ? "-" : action->text().toStdString());
        return found;
    }

    static QMenu* submenu(const QMenu& menu, qsizetype index) { return menu.actions().at(index)->menu<QMenu*>(); }

    static qsizetype objects(const QObject& root) { return root.findChildren<QObject*>().size(); }

    const std::shared_ptr<Menu> model = std::make_shared<Menu>("Quorrel");
    const std::shared_ptr<Menu> mountMenu = std::make_shared<Menu>("Mount");
    RecordingActions actions;
    ImageLoader images;
    QMenu menu;
    std::optional<MenuRenderer> renderer;
};

TEST_F(MenuRendererTest, ShowsTheModelAtOnce) {
    fill();
    render();
    EXPECT_THAT(texts(menu), ElementsAre("Mount", "Show Shares"));
    EXPECT_THAT(texts(*submenu(menu, 0)), ElementsAre("mars", "venus"));
    EXPECT_THAT(texts(*submenu(*submenu(menu, 0), 0)), ElementsAre("Server", "-", "films", "music"));
}

TEST_F(MenuRendererTest, ShowsEveryFieldOfAnItem) {
    MenuItem favourite = MenuItem::command("R&D_1 : <b>x</b>", "mountFavroiteItem");
    favourite.indentationLevel = 2;
    favourite.toolTip = favourite.title;
    favourite.image = Image { "connect.png", 16 };
    model->addItem(favourite);
    MenuItem hidden { "hidden" };
    hidden.isHidden = true;
    model->addItem(hidden);
    auto disabled = MenuItem::command("disabled", "help");
    disabled.isEnabled = false;
    model->addItem(disabled);
    MenuItem header { "Favorites" };
    header.image = Image { "no such image.png", 16 };
    model->addItem(header);
    render();

    const auto rows = menu.actions();
    EXPECT_EQ(rows[0]->text(), "\u2003\u2003R&&D_1 : <b>x</b>");
    EXPECT_FALSE(rows[0]->toolTip().contains("<b>"));
    EXPECT_TRUE(rows[0]->toolTip().contains("&lt;b&gt;x"));
    EXPECT_FALSE(rows[0]->icon().isNull());
    EXPECT_TRUE(menu.toolTipsVisible());
    EXPECT_FALSE(rows[1]->isVisible());
    EXPECT_FALSE(rows[2]->isEnabled());
    EXPECT_TRUE(rows[3]->isEnabled());
    EXPECT_TRUE(rows[3]->icon().isNull());
    rows[3]->trigger();
    turn();
    EXPECT_THAT(actions.performed, IsEmpty());
}

TEST_F(MenuRendererTest, EscapesForWhoeverDraws) {
    model->addItem(MenuItem::command("my_share", "x"));
    render(MenuLabel::Drawer::Desktop);
    EXPECT_THAT(texts(menu), ElementsAre("my__share"));
}

TEST_F(MenuRendererTest, RendersOncePerTurnHoweverOftenTheModelChanges) {
    render();
    RowCounter counter(menu);
    for (int index = 0; index < 10; ++index) {
        model->removeAllItems();
        model->addItem(MenuItem::command("row " + std::to_string(index), "x"));
    }
    EXPECT_EQ(counter.added, 0);
    turn();
    EXPECT_EQ(counter.added, 1);
    EXPECT_EQ(counter.removed, 0);
    EXPECT_THAT(texts(menu), ElementsAre("row 9"));
}

TEST_F(MenuRendererTest, HearsOfChangesBelow) {
    fill();
    render();
    mountMenu->items()[1].submenu->addItem(MenuItem::command("music", "mountMenuItem"));
    turn();
    EXPECT_THAT(texts(*submenu(*submenu(menu, 0), 1)), ElementsAre("Server", "-", "photos", "music"));
}

TEST_F(MenuRendererTest, ChangesNoActionWhenTheModelIsRebuiltAlike) {
    fill();
    render();
    const auto before = menu.findChildren<QAction*>();
    const auto rows = menu.actions();
    RowCounter counter(menu);
    mountMenu->removeAllItems();
    model->removeAllItems();
    fill();
    turn();
    EXPECT_EQ(menu.findChildren<QAction*>(), before);
    EXPECT_EQ(menu.actions(), rows);
    EXPECT_EQ(counter.added + counter.removed, 0);
}

TEST_F(MenuRendererTest, TouchesOnlyWhatDiffers) {
    fill();
    render();
    auto* const mars = submenu(*submenu(menu, 0), 0);
    const auto films = mars->actions().at(2);
    auto* const show = menu.actions().at(1);

    model->replaceItems(1, 1, { MenuItem::command("mars : films", "mountFavroiteItem") });
    mountMenu->items()[0].submenu->addItem(MenuItem::command("texts", "mountMenuItem"));
    turn();

    EXPECT_THAT(texts(menu), ElementsAre("Mount", "mars : films", "Show Shares"));
    EXPECT_EQ(menu.actions().at(2), show);
    EXPECT_EQ(submenu(*submenu(menu, 0), 0), mars);
    EXPECT_EQ(mars->actions().at(2), films);
    EXPECT_THAT(texts(*mars), ElementsAre("Server", "-", "films", "music", "texts"));
}

TEST_F(MenuRendererTest, FollowsEveryKindOfChange) {
    render();
    const std::vector<std::vector<std::string>> states {
        { "a" },
        { "a", "a" },
        { "a", "a", "a" },
        { "a", "b", "a" },
        { "b", "a" },
        {},
        { "x", "y", "z" },
        { "z", "y", "x" },
        { "y" },
    };
    for (const auto& state : states) {
        Menu::Items items;
        for (const auto& title : state)
            items.push_back(MenuItem::command(title, "x"));
        model->replaceItems(0, model->items().size(), items);
        turn();
        EXPECT_EQ(texts(menu), state);
    }
}

TEST_F(MenuRendererTest, ReplacesARowWhoseSubmenuComesOrGoesOrIsRenamed) {
    fill();
    render();
    auto item = hostItem("mars", { "films" });
    item.submenu = nullptr;
    mountMenu->replaceItems(0, 1, { item });
    turn();
    EXPECT_EQ(submenu(*submenu(menu, 0), 0), nullptr);
    item.submenu = std::make_shared<Menu>("other");
    item.submenu->addItem(MenuItem::command("films", "mountMenuItem"));
    mountMenu->replaceItems(0, 1, { item });
    turn();
    submenu(*submenu(menu, 0), 0)->actions().at(0)->trigger();
    item.submenu = std::make_shared<Menu>("another");
    item.submenu->addItem(MenuItem::command("films", "mountMenuItem"));
    mountMenu->replaceItems(0, 1, { item });
    turn();
    submenu(*submenu(menu, 0), 0)->actions().at(0)->trigger();
    turn();
    EXPECT_THAT(actions.performed, ElementsAre("mountMenuItem films in other", "mountMenuItem films in another"));
}

TEST_F(MenuRendererTest, PerformsWithASenderThatKnowsItsMenu) {
    fill();
    render();
    submenu(*submenu(menu, 0), 0)->actions().at(3)->trigger();
    EXPECT_THAT(actions.performed, IsEmpty()); // not before Qt is done with the click
    turn();
    EXPECT_THAT(actions.performed, ElementsAre("mountMenuItem music in mars"));
}

TEST_F(MenuRendererTest, PerformsThoughTheRowIsGoneByThen) {
    fill();
    render();
    mountMenu->removeAllItems();
    submenu(*submenu(menu, 0), 0)->actions().at(2)->trigger();
    turn();
    turn();
    EXPECT_THAT(actions.performed, ElementsAre("mountMenuItem films in mars"));
}

TEST_F(MenuRendererTest, KeepsTheSenderWhileACommandTakesEverythingAway) {
    fill();
    render();
    actions.meanwhile = [this] {
        mountMenu->removeAllItems();
        model->removeAllItems();
        turn();
        renderer.reset();
        turn();
    };
    submenu(*submenu(menu, 0), 0)->actions().at(2)->trigger();
    turn();
    EXPECT_THAT(actions.performed, ElementsAre("mountMenuItem films in mars"));
    EXPECT_EQ(actions.titleAfterwards, "mars");
    EXPECT_THAT(texts(menu), IsEmpty());
}

TEST_F(MenuRendererTest, ChangesUnderAnOpenMenu) {
    fill();
    render();
    menu.popup({ 0, 0 });
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&menu));
    auto* const mount = submenu(menu, 0);
    menu.setActiveAction(mount->menuAction());
    mount->popup({ 50, 0 });
    ASSERT_TRUE(QTest::qWaitForWindowExposed(mount));
    model->removeAllItems();
    model->addItem(MenuItem::command("Show Shares", "showMountList"));
    turn();
    EXPECT_THAT(texts(menu), ElementsAre("Show Shares"));
    EXPECT_TRUE(menu.isVisible());
    QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(menu.actions().at(0)).center());
    turn();
    EXPECT_THAT(actions.performed, ElementsAre("showMountList Show Shares in Quorrel"));
}

TEST_F(MenuRendererTest, LeavesNothingBehindInAThousandRebuilds) {
    fill();
    render();
    std::vector<qsizetype> counts;
    for (int index = 0; index < 1000; ++index) {
        model->removeAllItems();
        mountMenu->removeAllItems();
        if (index % 2 == 0)
            model->addItem(MenuItem::command("other", "x"));
        else
            fill();
        turn();
        if (index % 2 == 1)
            counts.push_back(objects(menu));
    }
    EXPECT_THAT(texts(menu), ElementsAre("Mount", "Show Shares"));
    EXPECT_EQ(counts.front(), counts.back());
    renderer.reset();
    turn();
    EXPECT_EQ(menu.findChildren<QMenu*>().size(), 0);
    EXPECT_THAT(texts(menu), IsEmpty());
}

TEST_F(MenuRendererTest, LetsOtherEventsPassBetweenThousandsOfRows) {
    constexpr int hosts = 200;
    const std::vector<std::string> shares(10, "share");
    Menu::Items items;
    for (int number = 0; number < hosts; ++number)
        items.push_back(hostItem("host " + std::to_string(number), shares));
    model->replaceItems(0, 0, std::move(items));
    render();
    const auto drawnHosts = [&] {
        const auto actions = menu.actions();
        return std::count_if(
            actions.begin(), actions.end(), [](const QAction* each) { return !each->menu()->actions().empty(); });
    };
    EXPECT_EQ(menu.actions().size(), hosts);
    EXPECT_GT(drawnHosts(), 0);
    EXPECT_LT(drawnHosts(), hosts);
    int turns = 0;
    for (auto drawn = drawnHosts(); drawn < hosts && turns < hosts; ++turns) {
        turn();
        const auto more = drawnHosts();
        ASSERT_GT(more, drawn);
        drawn = more;
    }
    EXPECT_GT(turns, 1);
    EXPECT_EQ(texts(*menu.actions().back()->menu()).size(), shares.size() + 2);
}

TEST_F(MenuRendererTest, DropsWhatIsLeftToDrawOfAMenuThatIsReplaced) {
    Menu::Items items;
    for (int number = 0; number < 200; ++number)
        items.push_back(hostItem("host", std::vector<std::string>(10, "share")));
    model->replaceItems(0, 0, std::move(items));
    render();
    model->replaceItems(0, model->items().size(), { hostItem("earth", { "books" }) });
    turn();
    turn();
    EXPECT_THAT(texts(menu), ElementsAre("earth"));
    EXPECT_THAT(texts(*menu.actions().front()->menu()), ElementsAre("Server", "-", "books"));
}

TEST_F(MenuRendererTest, RendersNoMoreOnceItIsGone) {
    render();
    model->addItem(MenuItem::command("late", "x"));
    renderer.reset();
    turn();
    EXPECT_THAT(texts(menu), IsEmpty());
}

} // namespace
} // namespace quorrel
