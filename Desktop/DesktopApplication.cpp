// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/DesktopApplication.h"

#include <QApplication>
#include <QMetaObject>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

/// Sheets block their window alone, and nothing runs behind them.
QWidget* modalWindow() {
    auto* window = QApplication::activeModalWidget();
    return window && window->windowModality() == Qt::ApplicationModal ? window : nullptr;
}

bool isShownWindow(const QWidget* widget) {
    const auto type = widget->windowType();
    return widget->isVisible() && (type == Qt::Window || type == Qt::Dialog);
}

QWidget* frontWindow() {
    if (auto* modal = QApplication::activeModalWidget())
        return modal;
    if (auto* active = QApplication::activeWindow())
        return active;
    const auto widgets = QApplication::topLevelWidgets();
    const auto found = std::find_if(widgets.begin(), widgets.end(), isShownWindow);
    return found == widgets.end() ? nullptr : *found;
}

void bringToFront(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

} // namespace

DesktopApplication::DesktopApplication(AboutPanelHandler aboutPanel)
    : m_aboutPanel(std::move(aboutPanel)) {
    // The tray stays when the last window goes.
    QApplication::setQuitOnLastWindowClosed(false);
}

void DesktopApplication::activateIgnoringOtherApps() {
    if (auto* window = frontWindow())
        bringToFront(*window);
}

void DesktopApplication::orderFrontStandardAboutPanel(const AboutPanelOptions& options) {
    if (m_aboutPanel)
        m_aboutPanel(options);
}

void DesktopApplication::terminate() {
    // Not by quit(), which asks every window whether it may be closed.
    QMetaObject::invokeMethod(
        qApp, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
}

void DesktopApplication::perform(Selector action, const MenuItem& sender) {
    auto* modal = modalWindow();
    if (modal && action != "terminate")
        bringToFront(*modal);
    else if (m_delegate)
        m_delegate->perform(action, sender);
}

ActionState DesktopApplication::validate(Selector action) const {
    return m_delegate ? m_delegate->validate(action) : ActionState { false, {} };
}

} // namespace quorrel
