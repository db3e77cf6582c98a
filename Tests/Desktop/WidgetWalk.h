// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QDialogButtonBox>
#include <QKeySequence>
#include <QLabel>
#include <QWidget>

#include <map>
#include <string>
#include <vector>

/// What every window of the program is held to, by keyboard and by ear. Each walk returns the widgets that fall short,
/// so that a test expects an empty list and a failure says where to look.
namespace quorrel::WidgetWalk {

/// How a widget is called in a failure: class and object name.
[[nodiscard]] inline std::string described(const QWidget& widget) {
    return std::string(widget.metaObject()->className()) + " \"" + widget.objectName().toStdString() + '"';
}

/// Whether the widget is part of another that answers for it, as the line edit in a spin box is.
[[nodiscard]] inline bool isPart(const QWidget& widget) {
    if (widget.objectName().startsWith(QLatin1String("qt_")))
        return true;
    const auto* parent = widget.parentWidget();
    return parent
        && (parent->inherits("QComboBox") || parent->inherits("QAbstractSpinBox")
            || parent->inherits("QAbstractScrollArea") || parent->inherits("QHeaderView")
            || parent->inherits("QLineEdit") || parent->inherits("QTabBar"));
}

/// What the user can reach, shown or not yet scrolled to, enabled or not, in the order in which it was made; widgets
/// that are hidden for good and those of other windows are left out.
[[nodiscard]] inline std::vector<const QWidget*> reachableWidgets(const QWidget& window) {
    std::vector<const QWidget*> found;
    for (const auto* widget : window.findChildren<QWidget*>())
        if (widget->focusPolicy() != Qt::NoFocus && !widget->focusProxy() && widget->window() == &window
            && widget->isVisibleTo(&window) && !isPart(*widget))
            found.push_back(widget);
    return found;
}

/// As a screen reader says it: a text of its own, the label that it is the buddy of, or the accessible name.
[[nodiscard]] inline std::string accessibleName(const QWidget& widget) {
    auto* interface = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(&widget));
    return interface ? interface->text(QAccessible::Name).toStdString() : std::string();
}

[[nodiscard]] inline std::vector<std::string> withoutObjectName(const QWidget& window) {
    std::vector<std::string> found;
    for (const auto* widget : reachableWidgets(window))
        if (widget->objectName().isEmpty())
            found.push_back(described(*widget) + " named " + accessibleName(*widget));
    return found;
}

[[nodiscard]] inline std::vector<std::string> withoutAccessibleName(const QWidget& window) {
    std::vector<std::string> found;
    for (const auto* widget : reachableWidgets(window))
        if (accessibleName(*widget).empty())
            found.push_back(described(*widget));
    return found;
}

/// The key that jumps to the widget, of its own text or of a label that it is the buddy of; empty for none.
[[nodiscard]] inline QKeySequence mnemonic(const QWidget& widget) {
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget); button && !button->shortcut().isEmpty())
        return button->shortcut();
    for (const auto* label : widget.window()->findChildren<QLabel*>())
        if (label->buddy() == &widget)
            return QKeySequence::mnemonic(label->text());
    return {};
}

/// Controls that no key jumps to. A dialog's own buttons have Enter and Escape, lists and bars their own keys.
[[nodiscard]] inline std::vector<std::string> withoutMnemonic(const QWidget& window) {
    std::vector<std::string> found;
    for (const auto* widget : reachableWidgets(window)) {
        const bool isOwnButton = qobject_cast<const QDialogButtonBox*>(widget->parentWidget()) != nullptr;
        const bool hasOwnKeys = widget->inherits("QAbstractItemView") || widget->inherits("QTabBar")
            || widget->inherits("QToolButton") || widget->inherits("QAbstractScrollArea") || widget->inherits("QLabel");
        if (!isOwnButton && !hasOwnKeys && mnemonic(*widget).isEmpty())
            found.push_back(described(*widget));
    }
    return found;
}

/// Keys that jump to more than one place, each with the widgets that want it.
[[nodiscard]] inline std::vector<std::string> ambiguousMnemonics(const QWidget& window) {
    std::map<std::string, std::vector<std::string>> wanted;
    for (const auto* widget : reachableWidgets(window))
        if (const auto key = mnemonic(*widget); !key.isEmpty())
            wanted[key.toString().toStdString()].push_back(described(*widget));
    std::vector<std::string> found;
    for (const auto& [key, widgets] : wanted) {
        if (widgets.size() < 2)
            continue;
        auto line = key + ':';
        for (const auto& widget : widgets)
            line += ' ' + widget;
        found.push_back(std::move(line));
    }
    return found;
}

/// The object names of the shown and enabled widgets in the order in which the Tab key visits them, from the first on.
[[nodiscard]] inline std::vector<std::string> tabOrder(const QWidget& window) {
    std::vector<std::string> names;
    const auto* end = &window;
    for (const auto* widget = window.nextInFocusChain(); widget && widget != end; widget = widget->nextInFocusChain())
        if ((widget->focusPolicy() & Qt::TabFocus) && widget->isVisibleTo(&window) && widget->isEnabledTo(&window)
            && !widget->focusProxy() && !isPart(*widget))
            names.push_back(widget->objectName().toStdString());
    return names;
}

/// Texts that do not fit where they stand: labels, buttons and check boxes smaller than what they show.
[[nodiscard]] inline std::vector<std::string> cutTexts(const QWidget& window) {
    std::vector<std::string> found;
    for (const auto* widget : window.findChildren<QWidget*>()) {
        const bool hasText = qobject_cast<const QAbstractButton*>(widget) || qobject_cast<const QLabel*>(widget);
        if (!hasText || widget->window() != &window || !widget->isVisibleTo(&window) || isPart(*widget))
            continue;
        const auto wanted = widget->minimumSizeHint();
        const int height = widget->hasHeightForWidth() ? widget->heightForWidth(widget->width()) : wanted.height();
        if (widget->width() < wanted.width() || widget->height() < height)
            found.push_back(described(*widget));
    }
    return found;
}

/// Shown widgets of which a part lies where their parent is not, so that nobody sees it.
[[nodiscard]] inline std::vector<std::string> outsideTheirParents(const QWidget& window) {
    std::vector<std::string> found;
    for (const auto* widget : window.findChildren<QWidget*>())
        if (widget->window() == &window && widget->isVisibleTo(&window) && !isPart(*widget)
            && !widget->parentWidget()->rect().contains(widget->geometry()))
            found.push_back(described(*widget) + " in " + described(*widget->parentWidget()));
    return found;
}

} // namespace quorrel::WidgetWalk
