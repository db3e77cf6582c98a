// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/StringTable.h"
#include "Sources/HostDefinition.h"
#include "Sources/MenuLayout.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

constexpr int imageSize = 16;
constexpr int favouriteIndentation = 2;

/// What the items of a host's submenu do.
struct HostActions final {
    Selector ofServer;
    Selector ofShare;
};

constexpr HostActions mountActions { "mountThisHostMenuItem", "mountMenuItem" };
constexpr HostActions unmountActions { "unmountThisHostMenuItem", "unmountMenuItem" };

/// What both submenus say of a host; read once for the two of them, since a read takes a record's lock.
struct HostEntry final {
    std::string name;
    std::optional<Image> icon;
    std::vector<std::string> shareNames;
};

HostEntry entryOf(const HostDefinition& host, const std::string& name) {
    HostEntry entry { name, host.icon.get(), {} };
    if (entry.icon)
        entry.icon->size = imageSize;
    for (const auto& sharePoint : host.sharePoints.snapshot())
        if (auto shareName = textOf(sharePoint->sharePoint.get()); !shareName.empty())
            entry.shareNames.push_back(std::move(shareName));
    return entry;
}

MenuItem hostItem(HostEntry host, const std::string& server, const HostActions& actions) {
    Menu::Items items;
    items.reserve(host.shareNames.size() + 2);
    items.push_back(MenuItem::command(server, actions.ofServer));
    items.push_back(MenuItem::separator());
    for (auto& shareName : host.shareNames) {
        items.push_back(MenuItem::command(std::move(shareName), actions.ofShare));
        items.back().image = Image { "drive.png", imageSize };
    }
    MenuItem item { host.name };
    item.image = std::move(host.icon);
    item.submenu = std::make_shared<Menu>(std::move(host.name));
    item.submenu->replaceItems(0, 0, std::move(items));
    return item;
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
    const auto server = m_environment.strings.text("Server");
    Menu::Items mountItems;
    Menu::Items unmountItems;
    // One item per display name: the commands take it for a key, and serve every host that bears it.
    std::unordered_set<std::string> names;
    for (const auto& host : hosts.snapshot()) {
        const auto [name, isNew] = names.insert(textOf(host->displayName.get()));
        if (!isNew)
            continue;
        auto entry = entryOf(*host, *name);
        mountItems.push_back(hostItem(entry, server, mountActions));
        unmountItems.push_back(hostItem(std::move(entry), server, unmountActions));
    }
    fill(*mountMenu, std::move(mountItems), *popMenu);
    fill(*unmountMenu, std::move(unmountItems), *popMenu);
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
