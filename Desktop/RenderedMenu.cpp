// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/RenderedMenu.h"

#include "Desktop/ImageLoader.h"
#include "Desktop/ShownText.h"
#include "Foundation/ActionTarget.h"

#include <QAction>
#include <QMenu>
#include <QMetaObject>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <tuple>
#include <utility>

namespace quorrel {

struct RenderedMenu::Row final {
    MenuItem item; // without the model's menus
    std::string submenuTitle;
    QAction* action = nullptr;
    QMenu* submenu = nullptr;
    std::unique_ptr<RenderedMenu> renderedSubmenu {};

    /// Whether the row can stand for the item, the rows of its submenu aside.
    [[nodiscard]] bool fits(const MenuItem& other) const {
        const auto fields = [](const MenuItem& each) {
            return std::tie(each.title, each.tag, each.image, each.indentationLevel, each.toolTip, each.isEnabled,
                each.isHidden, each.isSeparator, each.action);
        };
        return fields(item) == fields(other) && (submenu != nullptr) == (other.submenu != nullptr)
            && (!other.submenu || submenuTitle == other.submenu->title());
    }
};

RenderedMenu::RenderedMenu(QMenu& menu, std::string title, const MenuRendering& rendering)
    : m_menu(menu)
    , m_rendering(rendering)
    , m_sendersMenu(std::make_shared<const Menu>(std::move(title))) {
    m_menu.setToolTipsVisible(true);
}

RenderedMenu::~RenderedMenu() {
    removeRows(0, m_rows.size());
}

std::size_t RenderedMenu::show(const Menu::Items& items) {
    const auto fits = [](const Row& row, const MenuItem& item) { return row.fits(item); };
    const auto head = static_cast<std::size_t>(
        std::mismatch(m_rows.begin(), m_rows.end(), items.begin(), items.end(), fits).first - m_rows.begin());
    const auto behind = static_cast<std::ptrdiff_t>(head);
    const auto tail = static_cast<std::size_t>(
        std::mismatch(m_rows.rbegin(), m_rows.rend() - behind, items.rbegin(), items.rend() - behind, fits).first
        - m_rows.rbegin());

    removeRows(head, m_rows.size() - tail);
    auto* before = head < m_rows.size() ? m_rows[head].action : nullptr;
    std::vector<Row> added;
    const auto count = items.size() - tail - head;
    added.reserve(count);
    for (auto index = head; index < items.size() - tail; ++index)
        added.push_back(madeRow(items[index], before));
    m_rows.insert(
        m_rows.begin() + behind, std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));

    for (std::size_t index = 0; index < items.size(); ++index)
        if (items[index].submenu)
            m_rendering.below.emplace_back(m_rows[index].renderedSubmenu.get(), items[index].submenu);
    return count;
}

void RenderedMenu::removeRows(std::size_t first, std::size_t last) {
    for (auto index = first; index < last; ++index) {
        auto& row = m_rows[index];
        // A menu that still has rows when it goes leaves them behind on the bus.
        row.renderedSubmenu.reset();
        m_menu.removeAction(row.action);
        if (row.submenu)
            row.submenu->deleteLater();
        else
            row.action->deleteLater();
    }
    const auto begin = m_rows.begin();
    m_rows.erase(begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(last));
}

RenderedMenu::Row RenderedMenu::madeRow(const MenuItem& item, QAction* before) {
    Row row { item, {} };
    row.item.menu = nullptr;
    row.item.submenu.reset();
    if (item.submenu) {
        row.submenuTitle = item.submenu->title();
        row.submenu = new QMenu(&m_menu);
        row.action = row.submenu->menuAction();
        row.renderedSubmenu = std::make_unique<RenderedMenu>(*row.submenu, row.submenuTitle, m_rendering);
    } else {
        row.action = madeAction(item);
    }
    row.action->setText(MenuLabel::textOf(item, m_rendering.drawer));
    row.action->setToolTip(ShownText::toolTip(ShownText::line(item.toolTip)));
    if (item.image)
        row.action->setIcon(m_rendering.images.icon(*item.image));
    row.action->setEnabled(item.isEnabled);
    row.action->setVisible(!item.isHidden);
    m_menu.insertAction(before, row.action);
    return row;
}

QAction* RenderedMenu::madeAction(const MenuItem& item) {
    auto* action = new QAction(&m_menu);
    action->setSeparator(item.isSeparator);
    if (item.action.empty())
        return action;
    auto sender = item;
    sender.menu = m_sendersMenu.get();
    sender.submenu.reset();
    const auto perform = [&actions = m_rendering.actions, sender = std::move(sender), menu = m_sendersMenu] {
        actions.perform(sender.action, sender);
    };
    QObject::connect(action, &QAction::triggered, &m_rendering.turn,
        [turn = &m_rendering.turn, perform] { QMetaObject::invokeMethod(turn, perform, Qt::QueuedConnection); });
    return action;
}

} // namespace quorrel
