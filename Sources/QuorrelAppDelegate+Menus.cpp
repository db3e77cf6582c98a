// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/StringTable.h"
#include "Sources/HostDefinition.h"
#include "Sources/MenuLayout.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace quorrel {

namespace {

constexpr int imageSize = 16;
constexpr int favouriteIndentation = 2;

/// What the items of one submenu do.
struct HostMenuActions final {
    Selector ofServer;
    Selector ofShare;
};

std::shared_ptr<Menu> menuOfHost(
    const HostDefinition& host, const std::string& name, const StringTable& strings, const HostMenuActions& actions) {
    const auto sharePoints = host.sharePoints.snapshot();
    Menu::Items items;
    items.reserve(sharePoints.size() + 2);
    items.push_back(MenuItem::command(strings.text("Server"), actions.ofServer));
    items.push_back(MenuItem::separator());
    for (const auto& sharePoint : sharePoints) {
        auto shareName = textOf(sharePoint->sharePoint.get());
        if (shareName.empty())
            continue;
        items.push_back(MenuItem::command(std::move(shareName), actions.ofShare));
        items.back().image = Image { "drive.png", imageSize };
    }
    auto menu = std::make_shared<Menu>(name);
    menu->replaceItems(0, 0, std::move(items));
    return menu;
}

/// One item per display name: the commands take it for a key, and serve every host that bears it.
Menu::Items hostItems(const std::vector<std::shared_ptr<HostDefinition>>& hosts, const StringTable& strings,
    const HostMenuActions& actions) {
    std::unordered_set<std::string> names;
    Menu::Items items;
    items.reserve(hosts.size());
    for (const auto& host : hosts) {
        const auto [name, isNew] = names.insert(textOf(host->displayName.get()));
        if (!isNew)
            continue;
        MenuItem item { *name };
        item.image = host->icon.get();
        if (item.image)
            item.image->size = imageSize;
        item.submenu = menuOfHost(*host, *name, strings, actions);
        items.push_back(std::move(item));
    }
    return items;
}

MenuItem favouriteItem(const std::string& hostName, const std::string& shareName, bool isMounted) {
    auto title = hostName;
    title.append(MenuLayout::favouriteSeparator).append(shareName);
    auto item = MenuItem::command(std::move(title), "mountFavroiteItem");
    item.indentationLevel = favouriteIndentation;
    item.image = Image { isMounted ? "disconnect.png" : "connect.png", imageSize };
    item.toolTip = item.title;
    return item;
}

/// In the reverse of the catalogue's order, as the menu lists them.
Menu::Items favouriteItems(const std::vector<std::shared_ptr<HostDefinition>>& hosts) {
    Menu::Items items;
    for (const auto& host : hosts)
        for (const auto& sharePoint : host->sharePoints.snapshot()) {
            if (!isSet(sharePoint->favroite.get()))
                continue;
            if (const auto name = textOf(sharePoint->sharePoint.get()); !name.empty())
                items.push_back(favouriteItem(textOf(host->displayName.get()), name, sharePoint->mounted.get()));
        }
    std::reverse(items.begin(), items.end());
    return items;
}

MenuItem favouritesHeader(const StringTable& strings) {
    MenuItem item { strings.text("Favorites") };
    item.image = Image { "etoile_menu.png", imageSize };
    return item;
}

/// A submenu with nothing in it cannot be opened.
void fill(Menu& submenu, Menu::Items items, Menu& supermenu) {
    submenu.replaceItems(0, submenu.items().size(), std::move(items));
    if (const auto parent = supermenu.indexOfItemWithSubmenu(&submenu))
        supermenu.setEnabled(*parent, !submenu.items().empty());
}

} // namespace

void QuorrelAppDelegate::makeMountpopMenu() {
    if (!m_statusBarItem)
        return; // nobody sees the menus
    const auto all = hosts.snapshot();
    const auto& strings = m_environment.strings;
    fill(*mountMenu, hostItems(all, strings, { "mountThisHostMenuItem", "mountMenuItem" }), *popMenu);
    fill(*unmountMenu, hostItems(all, strings, { "unmountThisHostMenuItem", "unmountMenuItem" }), *popMenu);
    makeFavroitesMenu();
}

void QuorrelAppDelegate::makeFavroitesMenu() {
    const auto start = popMenu->indexOfItemWithTag(MenuLayout::startMarkerTag);
    const auto end = popMenu->indexOfItemWithTag(MenuLayout::endMarkerTag);
    if (!m_statusBarItem || !start || !end || *end < *start)
        return;
    auto items = favouriteItems(hosts.snapshot());
    auto endMarker = popMenu->items()[*end];
    endMarker.isHidden = items.empty();
    if (!items.empty())
        items.insert(items.begin(), favouritesHeader(m_environment.strings));
    // The end marker is replaced with the rest, so that all of it is one announcement.
    items.push_back(std::move(endMarker));
    popMenu->replaceItems(*start + 1, *end + 1, std::move(items));
}

} // namespace quorrel
