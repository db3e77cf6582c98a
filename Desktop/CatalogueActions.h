// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/DesktopEnvironment.h"
#include "Foundation/ActionTarget.h"

#include <QObject>

class QAction;
class QMenu;
class QTimer;

namespace quorrel {

class ImageLoader;

/// The main window's commands, each with its shortcut, its picture and, where it cannot be given, the reason why.
/// Menus, tool bar and keys share them. Each is found by the name of what it performs.
class CatalogueActions final : public QObject {
    Q_OBJECT

public:
    /// The shortcuts hold in the window, which owns this.
    CatalogueActions(const DesktopEnvironment& environment, const ImageLoader& images, QWidget& window);

    [[nodiscard]] QAction* action(Selector selector) const;

    /// A menu of these; an empty selector is a separator. It explains what cannot be chosen.
    QMenu* makeMenu(const QString& title, const char* name, std::initializer_list<Selector> selectors, QWidget* parent);

    /// Keeps the button's description what the action's tool tip says, without the markup.
    static void describe(QWidget& button, const QAction& action);

    /// Asks anew what can be done.
    void validate();
    /// The same, once, when the event loop turns next: for what changes many times.
    void validateSoon();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void perform(const QAction& action);

    const DesktopEnvironment m_environment;
    QTimer* const m_soon; // a child
};

} // namespace quorrel
