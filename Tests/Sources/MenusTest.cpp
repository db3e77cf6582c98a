// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MenuLayout.h"
#include "Tests/Sources/WindowTest.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quorrel {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Field;
using ::testing::IsEmpty;

namespace {

/// An item as a line: "TITLE [image size] -> action", what is not there left out.
std::string line(const MenuItem& item) {
    std::string result = item.isSeparator ? "--" : item.title;
    if (item.image)
        result += " [" + item.image->name + " " + std::to_string(item.image->size) + "]";
    if (!item.action.empty())
        result += " -> " + std::string(item.action);
    return result;
}

std::vector<std::string> lines(const Menu& menu) {
    std::vector<std::string> result;
    for (const auto& item : menu.items())
        result.push_back(line(item));
    return result;
}

/// What the user sees of it.
std::vector<std::string> visibleLines(const Menu& menu) {
    std::vector<std::string> result;
    for (const auto& item : menu.items())
        if (!item.isHidden)
            result.push_back(line(item));
    return result;
}

int changes(Menu& menu, const std::function<void()>& during) {
    int result = 0;
    const auto subscription = menu.observe([&] { ++result; });
    during();
    return result;
}

} // namespace

TEST(MenuLayoutTest, BeginsWithoutFavouritesAndWithTheEndMarkerHidden) {
    const auto mountMenu = std::make_shared<Menu>("Mount");
    const auto unmountMenu = std::make_shared<Menu>("Unmount");
    const auto menu = MenuLayout::popMenu(FakeStringTable(), mountMenu, unmountMenu);
    const auto start = menu->indexOfItemWithTag(69).value();
    const auto end = menu->indexOfItemWithTag(96).value();
    EXPECT_EQ(end, start + 1);
    EXPECT_FALSE(menu->items()[start].isHidden);
    EXPECT_TRUE(menu->items()[end].isHidden);
}

class MenusTest : public ControllerTest {
protected:
    MenusTest() { controller->applicationDidFinishLaunching(); }

    /// What stands between the markers.
    [[nodiscard]] Menu::Items favourites() const {
        const auto& items = controller->popMenu->items();
        const auto begin = items.begin();
        return { begin + position(MenuLayout::startMarkerTag) + 1, begin + position(MenuLayout::endMarkerTag) };
    }
    [[nodiscard]] std::vector<std::string> favouriteLines() const {
        std::vector<std::string> result;
        for (const auto& item : favourites())
            result.push_back(line(item));
        return result;
    }
    [[nodiscard]] bool endMarkerIsHidden() const {
        return controller->popMenu->items()[static_cast<std::size_t>(position(MenuLayout::endMarkerTag))].isHidden;
    }

    static void makeFavourite(const std::shared_ptr<HostDefinition>& host, const char* share) {
        host->sharePointForName(share)->favroite.set(true);
    }

    /// Whoever takes an item out of the menu loses a marker.
    void removeItemWithTag(int tag) {
        const auto index = controller->popMenu->indexOfItemWithTag(tag);
        ASSERT_TRUE(index);
        controller->popMenu->replaceItems(*index, *index + 1, {});
    }

private:
    [[nodiscard]] std::ptrdiff_t position(int tag) const {
        return static_cast<std::ptrdiff_t>(controller->popMenu->indexOfItemWithTag(tag).value());
    }
};

TEST_F(MenusTest, WithAnEmptyCatalogueBothSubmenusAreEmptyAndNoFavouritesShow) {
    controller->makeMountpopMenu();
    EXPECT_THAT(controller->mountMenu->items(), IsEmpty());
    EXPECT_THAT(controller->unmountMenu->items(), IsEmpty());
    EXPECT_THAT(favourites(), IsEmpty());
    EXPECT_TRUE(endMarkerIsHidden());
}

TEST_F(MenusTest, TheStatusItemShowsTheFixedItemsWithSingleSeparators) {
    ASSERT_EQ(statusBar.menu(), controller->popMenu);
    EXPECT_THAT(visibleLines(*controller->popMenu),
        ElementsAre("Mount", "Unmount", "Mount All -> mountAllListItem", "Unmount All -> unmountAllListItem", "--",
            "Show Shares -> showMountList", "Add Share… -> addMountSheet", "Preferences -> showPreferences", "--",
            "About Quorrel -> showAbout", "Help -> help", "--", "Quit -> terminate"));
    EXPECT_EQ(controller->popMenu->items()[0].submenu, controller->mountMenu);
    EXPECT_EQ(controller->popMenu->items()[1].submenu, controller->unmountMenu);
}

TEST_F(MenusTest, FavouritesStandBetweenSeparatorsInTheWholeMenu) {
    makeFavourite(addHost("Office", smb, { "Public" }), "Public");
    controller->makeMountpopMenu();
    EXPECT_THAT(visibleLines(*controller->popMenu),
        ElementsAre("Mount", "Unmount", "Mount All -> mountAllListItem", "Unmount All -> unmountAllListItem", "--",
            "Favorites [etoile_menu.png 16]", "Office : Public [connect.png 16] -> mountFavroiteItem", "--",
            "Show Shares -> showMountList", "Add Share… -> addMountSheet", "Preferences -> showPreferences", "--",
            "About Quorrel -> showAbout", "Help -> help", "--", "Quit -> terminate"));
}

TEST_F(MenusTest, ASubmenuWithNothingInItCannotBeOpened) {
    EXPECT_FALSE(controller->popMenu->items()[0].isEnabled);
    EXPECT_FALSE(controller->popMenu->items()[1].isEnabled);
    addHost("Office", smb, {});
    controller->makeMountpopMenu();
    EXPECT_TRUE(controller->popMenu->items()[0].isEnabled);
    EXPECT_TRUE(controller->popMenu->items()[1].isEnabled);
    controller->hosts.removeAll();
    controller->makeMountpopMenu();
    EXPECT_FALSE(controller->popMenu->items()[0].isEnabled);
    EXPECT_FALSE(controller->popMenu->items()[1].isEnabled);
}

TEST_F(MenusTest, EveryHostHasASubmenuOfItsSharesInBothMenusWhateverIsMounted) {
    const auto office = addHost("Office", smb, { "Public", "Music" });
    office->sharePointForName("Music")->setMounted(true);
    office->icon.set(Image { "/icons/desktop.png", 48 });
    const auto attic = addHost("Attic", ftp, { "Old" });
    attic->icon.set(std::nullopt);

    controller->makeMountpopMenu();

    for (const auto& menu : { controller->mountMenu, controller->unmountMenu }) {
        EXPECT_THAT(lines(*menu), ElementsAre("Office [/icons/desktop.png 16]", "Attic"));
        EXPECT_EQ(menu->items()[0].submenu->title(), "Office");
        EXPECT_EQ(menu->items()[1].submenu->title(), "Attic");
    }
    EXPECT_THAT(lines(*controller->mountMenu->items()[0].submenu),
        ElementsAre("Server -> mountThisHostMenuItem", "--", "Public [drive.png 16] -> mountMenuItem",
            "Music [drive.png 16] -> mountMenuItem"));
    EXPECT_THAT(lines(*controller->unmountMenu->items()[0].submenu),
        ElementsAre("Server -> unmountThisHostMenuItem", "--", "Public [drive.png 16] -> unmountMenuItem",
            "Music [drive.png 16] -> unmountMenuItem"));
    EXPECT_THAT(lines(*controller->unmountMenu->items()[1].submenu),
        ElementsAre("Server -> unmountThisHostMenuItem", "--", "Old [drive.png 16] -> unmountMenuItem"));
    EXPECT_EQ(office->icon.get()->size, 48);
}

TEST_F(MenusTest, AHostWithoutSharePointsStillHasTheServerItemAndASeparator) {
    addHost("Office", smb, {});
    controller->makeMountpopMenu();
    EXPECT_THAT(
        lines(*controller->mountMenu->items()[0].submenu), ElementsAre("Server -> mountThisHostMenuItem", "--"));
    EXPECT_THAT(
        lines(*controller->unmountMenu->items()[0].submenu), ElementsAre("Server -> unmountThisHostMenuItem", "--"));
}

TEST_F(MenusTest, HostsOfOneNameShareAnItemMadeFromTheFirst) {
    addHost("Office", smb, { "Public" });
    addHost("Attic", smb, {});
    addHost("Office", ftp, { "Music" });
    controller->makeMountpopMenu();
    ASSERT_EQ(controller->mountMenu->items().size(), 2U);
    EXPECT_THAT(lines(*controller->mountMenu->items()[0].submenu),
        ElementsAre("Server -> mountThisHostMenuItem", "--", "Public [drive.png 16] -> mountMenuItem"));
    EXPECT_EQ(controller->unmountMenu->items().size(), 2U);
}

TEST_F(MenusTest, AnItemIsTheKeyOfItsCommandsForEveryHostOfItsName) {
    const auto first = addHost("Office", smb, { "Public" });
    const auto second = addHost("Office", ftp, { "Music" });
    controller->makeMountpopMenu();
    occupyQueue();
    controller->mountThisHostMenuItem(controller->mountMenu->items()[0].submenu->items()[0]);
    EXPECT_TRUE(first->sharePointForName("Public")->manualMount.get());
    EXPECT_TRUE(second->sharePointForName("Music")->manualMount.get());
    EXPECT_EQ(waitingOperations(), 2U);
    controller->opQueue().cancelAllOperations();
}

TEST_F(MenusTest, ASharePointWithoutANameAppearsNowhere) {
    const auto host = addHost("Office", smb, { "Public" });
    addShare(host, smb, "")->favroite.set(true);
    const auto nameless = addShare(host, smb, "x");
    nameless->sharePoint.set(std::nullopt);
    nameless->favroite.set(true);
    controller->makeMountpopMenu();
    EXPECT_THAT(lines(*controller->mountMenu->items()[0].submenu),
        ElementsAre("Server -> mountThisHostMenuItem", "--", "Public [drive.png 16] -> mountMenuItem"));
    EXPECT_EQ(controller->unmountMenu->items()[0].submenu->items().size(), 3U);
    EXPECT_THAT(favourites(), IsEmpty());
    EXPECT_TRUE(endMarkerIsHidden());
}

TEST_F(MenusTest, AMountedFavouriteIsIndentedAndOffersToDisconnect) {
    const auto host = addHost("Office", smb, { "Public", "Music" });
    makeFavourite(host, "Public");
    host->sharePointForName("Public")->setMounted(true);

    controller->makeMountpopMenu();

    EXPECT_THAT(favouriteLines(),
        ElementsAre("Favorites [etoile_menu.png 16]", "Office : Public [disconnect.png 16] -> mountFavroiteItem"));
    const auto items = favourites();
    EXPECT_TRUE(items[0].isEnabled);
    EXPECT_EQ(items[0].indentationLevel, 0);
    EXPECT_EQ(items[1].indentationLevel, 2);
    EXPECT_EQ(items[1].toolTip, "Office : Public");
    EXPECT_THAT(items, Each(Field(&MenuItem::menu, controller->popMenu.get())));
    EXPECT_FALSE(endMarkerIsHidden());
}

TEST_F(MenusTest, FavouritesAreListedInTheReverseOfTheCataloguesOrder) {
    const auto first = addHost("A", smb, { "a1", "a2", "a3" });
    const auto second = addHost("B", smb, { "b1" });
    for (const char* share : { "a1", "a3" })
        makeFavourite(first, share);
    makeFavourite(second, "b1");
    controller->makeFavroitesMenu();
    EXPECT_THAT(favouriteLines(),
        ElementsAre("Favorites [etoile_menu.png 16]", "B : b1 [connect.png 16] -> mountFavroiteItem",
            "A : a3 [connect.png 16] -> mountFavroiteItem", "A : a1 [connect.png 16] -> mountFavroiteItem"));
}

TEST_F(MenusTest, ARebuildLeavesNothingOfTheFormerMenus) {
    const auto host = addHost("Office", smb, { "Public" });
    makeFavourite(host, "Public");
    controller->makeMountpopMenu();
    const auto fixedItems = controller->popMenu->items().size() - 2;
    controller->makeMountpopMenu();
    EXPECT_THAT(favouriteLines(),
        ElementsAre("Favorites [etoile_menu.png 16]", "Office : Public [connect.png 16] -> mountFavroiteItem"));
    EXPECT_EQ(controller->mountMenu->items().size(), 1U);
    host->sharePointForName("Public")->favroite.set(false);
    controller->makeMountpopMenu();
    EXPECT_THAT(favourites(), IsEmpty());
    EXPECT_TRUE(endMarkerIsHidden());
    EXPECT_EQ(controller->popMenu->items().size(), fixedItems);
}

TEST_F(MenusTest, AVolumesComingChangesTheFavouritesAndLeavesTheSubmenusAlone) {
    makeFavourite(addHost("Office", smb, { "Public" }), "Public");
    controller->makeMountpopMenu();
    const auto submenu = controller->mountMenu->items()[0].submenu;
    int favouriteChanges = 0;
    const auto inSubmenus = changes(*controller->mountMenu,
        [&] { favouriteChanges = changes(*controller->popMenu, [&] { announceVolume(91, "Public"); }); });
    EXPECT_THAT(favouriteLines(),
        ElementsAre("Favorites [etoile_menu.png 16]", "Office : Public [disconnect.png 16] -> mountFavroiteItem"));
    EXPECT_EQ(favouriteChanges, 1);
    EXPECT_EQ(inSubmenus, 0);
    EXPECT_EQ(controller->mountMenu->items()[0].submenu, submenu);
    announceVolume(90, "Public");
    EXPECT_THAT(favouriteLines(),
        ElementsAre("Favorites [etoile_menu.png 16]", "Office : Public [connect.png 16] -> mountFavroiteItem"));
}

TEST_F(MenusTest, EachMenuIsAnnouncedOnceHoweverMuchIsInIt) {
    for (const char* name : { "A", "B", "C" })
        makeFavourite(addHost(name, smb, { "x", "y" }), "x");
    controller->makeMountpopMenu();
    const auto rebuild = [this] { controller->makeMountpopMenu(); };
    EXPECT_EQ(changes(*controller->mountMenu, rebuild), 1);
    EXPECT_EQ(changes(*controller->unmountMenu, rebuild), 1);
    // It hears of its submenus too.
    EXPECT_EQ(changes(*controller->popMenu, rebuild), 3);
}

TEST_F(MenusTest, WithoutAMarkerTheMenuStaysAsItIs) {
    makeFavourite(addHost("Office", smb, { "Public" }), "Public");
    controller->makeMountpopMenu();
    controller->hosts.removeAll();
    for (const int tag : { MenuLayout::endMarkerTag, MenuLayout::startMarkerTag }) {
        removeItemWithTag(tag);
        const auto before = lines(*controller->popMenu);
        EXPECT_EQ(changes(*controller->popMenu, [this] { controller->makeFavroitesMenu(); }), 0);
        EXPECT_EQ(lines(*controller->popMenu), before);
    }
}

TEST_F(MenusTest, MarkersInTheWrongOrderMarkNothing) {
    auto start = MenuItem::separator();
    start.tag = MenuLayout::startMarkerTag;
    removeItemWithTag(MenuLayout::startMarkerTag);
    controller->popMenu->addItem(start);
    makeFavourite(addHost("Office", smb, { "Public" }), "Public");
    const auto before = lines(*controller->popMenu);
    controller->makeFavroitesMenu();
    EXPECT_EQ(lines(*controller->popMenu), before);
}

TEST_F(MenusTest, NamesAreKeptAsTheyAre) {
    const std::vector<std::string> names { "a : b", "my_share", "Tom & Jerry", "a\tb", "a\nb", " x ",
        "\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d", "<b>x</b>" };
    for (const auto& name : names)
        makeFavourite(addHost(name, smb, { name.c_str() }), name.c_str());
    controller->makeMountpopMenu();
    std::vector<std::string> hostTitles;
    std::vector<std::string> menuTitles;
    std::vector<std::string> shareTitles;
    for (const auto& item : controller->mountMenu->items()) {
        hostTitles.push_back(item.title);
        menuTitles.push_back(item.submenu->title());
        shareTitles.push_back(item.submenu->items().at(2).title);
    }
    EXPECT_EQ(hostTitles, names);
    EXPECT_EQ(menuTitles, names);
    EXPECT_EQ(shareTitles, names);
    std::vector<std::string> favouriteTitles;
    for (const auto& item : favourites())
        favouriteTitles.push_back(item.title);
    std::vector<std::string> expected { "Favorites" };
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        expected.push_back(*name + " : " + *name);
    EXPECT_THAT(favouriteTitles, ElementsAreArray(expected));
}

TEST_F(MenusTest, ANamelessHostHasAnItemWithoutATitle) {
    const auto host = addHost("x", smb, { "Public" });
    host->displayName.set(std::nullopt);
    controller->makeMountpopMenu();
    ASSERT_EQ(controller->mountMenu->items().size(), 1U);
    EXPECT_EQ(controller->mountMenu->items()[0].title, "");
}

TEST_F(MenusTest, ARebuildIsHarmlessToAnItemThatWasTakenFromTheMenu) {
    makeFavourite(addHost("192.168.1.20", smb, { "Public" }), "Public");
    controller->makeMountpopMenu();
    const auto submenu = controller->mountMenu->items()[0].submenu;
    const auto item = submenu->items()[2];
    controller->makeMountpopMenu();
    ASSERT_NE(controller->mountMenu->items()[0].submenu, submenu);
    controller->mountMenuItem(item);
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 1U);
}

TEST_F(MenusTest, WithoutAStatusItemNoMenusAreBuilt) {
    const ControllerEnvironment bare { static_cast<const ProgramEnvironment&>(environment), passwordWindow };
    controller = std::make_unique<QuorrelAppDelegate>(bare);
    controller->applicationDidFinishLaunching();
    makeFavourite(addHost("Office", smb, { "Public" }), "Public");
    controller->makeMountpopMenu();
    controller->makeFavroitesMenu();
    EXPECT_THAT(controller->mountMenu->items(), IsEmpty());
    EXPECT_THAT(controller->unmountMenu->items(), IsEmpty());
    EXPECT_THAT(favourites(), IsEmpty());
    controller.reset();
}

/// The same in another language.
class TranslatedMenusTest : public MenusTest {
protected:
    TranslatedMenusTest() {
        controller = std::make_unique<QuorrelAppDelegate>(translated);
        controller->applicationDidFinishLaunching();
    }
    ~TranslatedMenusTest() override { controller.reset(); }

    FakeStringTable german { { { "Server", "Der Server" }, { "Favorites", "Favoriten" }, { "Mount", "Verbinden" },
        { "Unmount", "Trennen" }, { "Quit", "Beenden" } } };
    ControllerEnvironment translated { { mounting, resolving, preferences, notificationCenter, files, workspace, german,
                                           log, mainThreadQueue },
        passwordWindow, nullptr, &statusItem };
};

TEST_F(TranslatedMenusTest, TextsAreLookedUpAndNamesAreNot) {
    const auto host = addHost("Server", smb, { "Favorites" });
    makeFavourite(host, "Favorites");
    controller->makeMountpopMenu();
    const auto& items = controller->popMenu->items();
    EXPECT_EQ(items[0].title, "Verbinden");
    EXPECT_EQ(items[1].title, "Trennen");
    EXPECT_EQ(items.back().title, "Beenden");
    EXPECT_THAT(favouriteLines(),
        ElementsAre("Favoriten [etoile_menu.png 16]", "Server : Favorites [connect.png 16] -> mountFavroiteItem"));
    EXPECT_EQ(controller->mountMenu->items()[0].title, "Server");
    EXPECT_THAT(lines(*controller->mountMenu->items()[0].submenu),
        ElementsAre("Der Server -> mountThisHostMenuItem", "--", "Favorites [drive.png 16] -> mountMenuItem"));
}

/// The menus in a program whose every action can do something.
class MenuActionsTest : public WindowTest {
protected:
    MenuActionsTest() {
        controller->applicationDidFinishLaunching(); // it loads the catalogue
        const auto host = addHost("192.168.1.20", smb, { "Public", "Music" });
        host->resolved.set(true);
        const auto mounted = host->sharePointForName("Music");
        mounted->setMounted(true);
        mounted->referenceNumber.set(7);
        mounted->favroite.set(true);
        controller->makeMountpopMenu();
    }

    static void collectActions(const Menu& menu, std::vector<std::string>& actions) {
        for (const auto& item : menu.items()) {
            if (!item.action.empty())
                actions.emplace_back(item.action);
            if (item.submenu)
                collectActions(*item.submenu, actions);
        }
    }
};

TEST_F(MenuActionsTest, EveryActionOfTheMenusIsOneThatTheControllerKnows) {
    std::vector<std::string> actions;
    collectActions(*controller->popMenu, actions);
    EXPECT_EQ(actions.size(), 15U);
    for (const auto& action : actions)
        EXPECT_TRUE(controller->validate(action).isEnabled) << action;
}

TEST_F(MenuActionsTest, ItemsWorkByTheirTitles) {
    const auto share = controller->mountMenu->items().at(0).submenu->items().at(2);
    controller->perform(share.action, share);
    waitUntilIdle();
    ASSERT_EQ(volumes.requests().size(), 1U);
    EXPECT_EQ(volumes.requests().front().volumeName, "Public");

    const auto favourite
        = controller->popMenu->items().at(controller->popMenu->indexOfItemWithTitle("192.168.1.20 : Music").value());
    controller->perform(favourite.action, favourite);
    waitUntilIdle();
    EXPECT_THAT(volumes.unmounts(), ElementsAre(7));
}

} // namespace quorrel
