// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/MenuLabel.h"
#include "Desktop/RenderedMenu.h"
#include "Foundation/Menu.h"
#include "Foundation/Subscription.h"

#include <QObject>

#include <memory>

class QMenu;

namespace quorrel {

class ActionTarget;
class ImageLoader;

/// Keeps a Qt menu like a menu of the model: once per turn of the event loop, however often that was changed, and
/// touching only rows that differ, since the menu may be open or on its way over the bus. Thousands of rows take more
/// than one turn, from the top downwards, so that nothing else has to wait for them. Main thread.
///
/// What the user triggers is performed in the next turn, when Qt and the bus are done with the click. Its sender is a
/// copy, whose menu has the title that it had when the row was made.
class MenuRenderer final {
public:
    /// The first time at once. The references must outlive the object.
    MenuRenderer(QMenu& menu, std::shared_ptr<Menu> model, MenuLabel::Drawer drawer, ActionTarget& actions,
        const ImageLoader& images);
    MenuRenderer(const MenuRenderer&) = delete;
    MenuRenderer& operator=(const MenuRenderer&) = delete;
    /// Leaves the Qt menu empty.
    ~MenuRenderer();

private:
    void renderSoon();
    void render();
    void goOn();

    QObject m_turn; // what waits for the next turn dies with it
    const std::shared_ptr<Menu> m_model;
    MenusToShow m_below;
    const std::unique_ptr<RenderedMenu> m_rendered;
    bool m_isPending = false;
    bool m_isGoingOn = false;
    Subscription m_subscription;
};

} // namespace quorrel
