// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MenuLayout.h"

#include "Foundation/StringTable.h"

#include <utility>

namespace quorrel {

namespace {

MenuItem parentOf(const std::shared_ptr<Menu>& submenu) {
    MenuItem item { submenu->title() };
    item.submenu = submenu;
    item.isEnabled = !submenu->items().empty();
    return item;
}

MenuItem marker(int tag) {
    auto item = MenuItem::separator();
    item.tag = tag;
    return item;
}

} // namespace

std::shared_ptr<Menu> MenuLayout::popMenu(
    const StringTable& strings, const std::shared_ptr<Menu>& mountMenu, const std::shared_ptr<Menu>& unmountMenu) {
    auto endMarker = marker(endMarkerTag);
    endMarker.isHidden = true;
    auto menu = std::make_shared<Menu>("Quorrel");
    menu->replaceItems(0, 0,
        {
            parentOf(mountMenu),
            parentOf(unmountMenu),
            MenuItem::command(strings.text("Mount All"), "mountAllListItem"),
            MenuItem::command(strings.text("Unmount All"), "unmountAllListItem"),
            marker(startMarkerTag),
            std::move(endMarker),
            MenuItem::command(strings.text("Show Shares"), "showMountList"),
            MenuItem::command(strings.text("Add Share…"), "addMountSheet"),
            MenuItem::command(strings.text("Preferences"), "showPreferences"),
            MenuItem::separator(),
            MenuItem::command(strings.text("About Quorrel"), "showAbout"),
            MenuItem::command(strings.text("Help"), "help"),
            MenuItem::separator(),
            MenuItem::command(strings.text("Quit"), "terminate"),
        });
    return menu;
}

} // namespace quorrel
