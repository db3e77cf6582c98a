// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/LoginItem.h"

#include "Platform/LoginItems.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

/// Whether the item opens the application, or what lies inside it.
bool isInside(const LoginItemsList& list, const LoginItemEntry& item, const std::string& applicationPath) {
    const auto path = list.resolve(item);
    return path && path->starts_with(applicationPath);
}

} // namespace

LoginItem::LoginItem(LoginItems& loginItems, std::string applicationPath)
    : m_loginItems(loginItems)
    , m_applicationPath(std::move(applicationPath)) { }

void LoginItem::addLoginItem() {
    // Every path begins with an empty one, so a program that does not know where it is must not remove anything.
    const auto list = m_applicationPath.empty() ? nullptr : m_loginItems.open();
    if (!list)
        return;
    if (oOpenAtLogin)
        enableLoginItemWithLoginItemsReference(*list, m_applicationPath);
    else
        disableLoginItemWithLoginItemsReference(*list, m_applicationPath);
}

bool LoginItem::isLoginItem() const {
    const auto list = m_applicationPath.empty() ? nullptr : m_loginItems.open();
    if (!list)
        return false;
    const auto items = list->snapshot();
    return std::any_of(items.begin(), items.end(),
        [&](const LoginItemEntry& item) { return isInside(*list, item, m_applicationPath); });
}

void LoginItem::enableLoginItemWithLoginItemsReference(LoginItemsList& list, const std::string& applicationPath) {
    static_cast<void>(list.insertItemURL(applicationPath)); // whoever shows the state reads it back
}

void LoginItem::disableLoginItemWithLoginItemsReference(LoginItemsList& list, const std::string& applicationPath) {
    for (const auto& item : list.snapshot())
        if (isInside(list, item, applicationPath))
            list.remove(item);
}

} // namespace quorrel
