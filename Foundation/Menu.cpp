// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Menu.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quorrel {

namespace {

template <typename Predicate>
std::optional<std::size_t> indexOf(const Menu::Items& items, Predicate predicate) {
    const auto found = std::find_if(items.begin(), items.end(), predicate);
    return found == items.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - items.begin()));
}

} // namespace

MenuItem MenuItem::separator() {
    MenuItem item;
    item.isSeparator = true;
    return item;
}

MenuItem MenuItem::command(std::string title, Selector action) {
    MenuItem item { std::move(title) };
    item.action = action;
    return item;
}

Menu::Menu(std::string title)
    : m_title(std::move(title)) { }

Menu::~Menu() {
    for (auto& item : m_items)
        release(item);
}

std::optional<std::size_t> Menu::indexOfItemWithTag(int tag) const {
    return indexOf(m_items, [&](const MenuItem& item) { return item.tag == tag; });
}

std::optional<std::size_t> Menu::indexOfItemWithTitle(std::string_view title) const {
    return indexOf(m_items, [&](const MenuItem& item) { return item.title == title; });
}

std::optional<std::size_t> Menu::indexOfItemWithSubmenu(const Menu* submenu) const {
    return indexOf(m_items, [&](const MenuItem& item) { return item.submenu.get() == submenu; });
}

void Menu::addItem(MenuItem item) {
    adopt(item);
    m_items.push_back(std::move(item));
    announce();
}

void Menu::removeAllItems() {
    replaceItems(0, m_items.size(), {});
}

void Menu::replaceItems(std::size_t first, std::size_t last, Items items) {
    const auto begin = m_items.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = m_items.begin() + static_cast<std::ptrdiff_t>(last);
    std::for_each(begin, end, [this](MenuItem& item) { release(item); });
    for (auto& item : items)
        adopt(item);
    if (first == 0 && last == m_items.size()) {
        m_items.swap(items); // menus are large where all of one is replaced
    } else {
        const auto place = m_items.erase(begin, end);
        m_items.insert(place, std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()));
    }
    announce();
}

void Menu::setEnabled(std::size_t index, bool isEnabled) {
    if (std::exchange(m_items.at(index).isEnabled, isEnabled) != isEnabled)
        announce();
}

Subscription Menu::observe(std::function<void()> callback) {
    return m_observers.add(std::move(callback));
}

void Menu::adopt(MenuItem& item) {
    item.menu = this;
    if (item.submenu)
        item.submenu->m_supermenu = this;
}

void Menu::release(MenuItem& item) {
    item.menu = nullptr;
    if (item.submenu && item.submenu->m_supermenu == this)
        item.submenu->m_supermenu = nullptr;
}

void Menu::announce() {
    for (auto* menu = this; menu != nullptr; menu = menu->m_supermenu)
        menu->m_observers.notify();
}

} // namespace quorrel
