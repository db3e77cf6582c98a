// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Image.h"
#include "Foundation/ObserverList.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

class Menu;

/// The name of an action, in static storage; empty for none.
using Selector = std::string_view;

/// One row of a menu, and what an action gets for its sender.
struct MenuItem final {
    std::string title; ///< as it is; a view escapes what its toolkit takes for markup
    const Menu* menu = nullptr; ///< the menu that it is in
    int tag = 0;
    std::optional<Image> image {};
    int indentationLevel = 0;
    std::string toolTip {};
    bool isEnabled = true;
    bool isHidden = false;
    bool isSeparator = false;
    Selector action {};
    std::shared_ptr<Menu> submenu {};

    [[nodiscard]] static MenuItem separator();
    [[nodiscard]] static MenuItem command(std::string title, Selector action);
};

/// A menu of the model that the status item shows. Main thread. It must outlive the items' use as senders.
class Menu final {
public:
    using Items = std::vector<MenuItem>;

    explicit Menu(std::string title = {});
    Menu(const Menu&) = delete;
    Menu& operator=(const Menu&) = delete;
    ~Menu();

    [[nodiscard]] const std::string& title() const { return m_title; }
    [[nodiscard]] const Items& items() const { return m_items; }

    /// The first item with the tag.
    [[nodiscard]] std::optional<std::size_t> indexOfItemWithTag(int tag) const;
    [[nodiscard]] std::optional<std::size_t> indexOfItemWithTitle(std::string_view title) const;
    [[nodiscard]] std::optional<std::size_t> indexOfItemWithSubmenu(const Menu* submenu) const;

    void addItem(MenuItem item);
    void removeAllItems();
    /// Puts the items where those from `first` up to, not including, `last` were; with one announcement.
    /// REQUIRES: first <= last <= the number of items.
    void replaceItems(std::size_t first, std::size_t last, Items items);
    /// Announces nothing where nothing changes.
    void setEnabled(std::size_t index, bool isEnabled);

    /// Called after each change of this menu and of every menu below it. It may change them, and destroys none.
    Subscription observe(std::function<void()> callback);

private:
    void adopt(MenuItem& item);
    void release(MenuItem& item);
    void announce();

    const std::string m_title;
    Items m_items;
    Menu* m_supermenu = nullptr; // hears of this menu's changes
    ObserverList<> m_observers;
};

} // namespace quorrel
