// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/CatalogueWindow.h"

#include "Desktop/AlertBox.h"
#include "Desktop/CatalogueView.h"
#include "Desktop/WindowPlacement.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <chrono>
#include <utility>

namespace quorrel {

namespace {

using namespace std::chrono_literals;

constexpr auto keptAfterClosing = 30s;

} // namespace

CatalogueWindow::CatalogueWindow(const DesktopEnvironment& environment, const ImageLoader& images)
    : m_environment(environment)
    , m_images(images) { }

CatalogueWindow::~CatalogueWindow() = default;

void CatalogueWindow::center() {
    WindowPlacement::center(view());
}

void CatalogueWindow::makeKeyAndOrderFront() {
    auto& window = view();
    WindowPlacement::bringToFront(window);
    window.activateWindow();
    m_releaseTimer->stop();
}

void CatalogueWindow::orderFrontRegardless() {
    makeKeyAndOrderFront(); // which program is the active one is the window manager's to decide
}

void CatalogueWindow::bindHostsList(HostListController* hosts) {
    m_hosts = hosts;
    if (m_view)
        m_view->showHosts(hosts);
}

void CatalogueWindow::bindMountsList(SharePointListController* sharePoints) {
    m_sharePoints = sharePoints;
    if (m_view)
        m_view->showSharePoints(sharePoints);
}

void CatalogueWindow::validateActions() {
    if (m_view)
        m_view->validateActions();
}

void CatalogueWindow::beginAlertSheet(const AlertSheet& sheet, AlertHandler handler) {
    AlertBox::ask(&view(), sheet, AlertAnswer::Alternate, std::move(handler));
}

void CatalogueWindow::showNotice(const std::string& title, const std::string& message) {
    auto* box = new AlertBox(&view(), QMessageBox::Information, title, message);
    box->setWindowModality(Qt::NonModal);
    box->addButton(QMessageBox::Ok)->setObjectName("noticeButton");
    box->show();
}

QWidget* CatalogueWindow::widget() {
    return &view();
}

CatalogueView& CatalogueWindow::view() {
    if (!m_view)
        make();
    if (!m_view->isVisible())
        m_releaseTimer->start(); // a sheet may stand on a window that is never shown
    return *m_view;
}

void CatalogueWindow::make() {
    m_view = std::make_unique<CatalogueView>(m_environment, m_images);
    m_view->showHosts(m_hosts);
    m_view->showSharePoints(m_sharePoints);
    m_releaseTimer = new QTimer(m_view.get());
    m_releaseTimer->setObjectName("releaseTimer");
    m_releaseTimer->setSingleShot(true);
    m_releaseTimer->setInterval(keptAfterClosing);
    QObject::connect(m_view.get(), &CatalogueView::closed, m_releaseTimer, qOverload<>(&QTimer::start));
    QObject::connect(m_releaseTimer, &QTimer::timeout, m_view.get(), [this] { release(); });
}

void CatalogueWindow::release() {
    if (m_view->isVisible())
        return;
    // What stands on the window would go with it, under its owner's hands.
    const bool isInUse
        = QApplication::activeModalWidget() || !m_view->findChildren<QDialog*>(Qt::FindDirectChildrenOnly).isEmpty();
    if (isInUse)
        m_releaseTimer->start(keptAfterClosing);
    else
        m_view.release()->deleteLater(); // its timer calls this
}

} // namespace quorrel
