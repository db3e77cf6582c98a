// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/MenuLabel.h"
#include "Foundation/Menu.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class QAction;
class QMenu;
class QObject;

namespace quorrel {

class ActionTarget;
class ImageLoader;

class RenderedMenu;

/// Menus that are still to be shown, with what they are to show. Whoever shows a menu puts those below it here.
using MenusToShow = std::deque<std::pair<RenderedMenu*, std::shared_ptr<const Menu>>>;

/// What rows are made with; all of it must outlive them.
struct MenuRendering final {
    MenuLabel::Drawer drawer;
    ActionTarget& actions;
    const ImageLoader& images;
    MenusToShow& below;
    QObject& turn; ///< what the user triggered waits with it for the next turn, and dies with it
};

/// The rows of one Qt menu, with the items that they were made from, and its submenus. Main thread.
class RenderedMenu final {
public:
    /// REQUIRES: the menu is empty, outlives the object, and is changed by nobody else.
    RenderedMenu(QMenu& menu, std::string title, const MenuRendering& rendering);
    RenderedMenu(const RenderedMenu&) = delete;
    RenderedMenu& operator=(const RenderedMenu&) = delete;
    ~RenderedMenu();

    /// Makes the rows show the items, with new actions for those only that differ. What is below them comes later, in
    /// the order of MenuRendering::below. How many rows were made.
    std::size_t show(const Menu::Items& items);

private:
    struct Row;

    void removeRows(std::size_t first, std::size_t last);
    [[nodiscard]] Row madeRow(const MenuItem& item, QAction* before);
    [[nodiscard]] QAction* madeAction(const MenuItem& item);

    QMenu& m_menu;
    const MenuRendering m_rendering;
    const std::shared_ptr<const Menu> m_sendersMenu; // with the title alone; rows share it beyond a change of the model
    std::vector<Row> m_rows;
};

} // namespace quorrel
