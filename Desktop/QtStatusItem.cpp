// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/QtStatusItem.h"

#include "Desktop/ImageLoader.h"
#include "Desktop/MenuRenderer.h"
#include "Desktop/TrayHostWatch.h"
#include "Foundation/ActionTarget.h"

#include <QIcon>
#include <QList>

#include <utility>

namespace quorrel {

namespace {

void addAsSelected(QIcon& icon, const QIcon& selected) {
    for (const auto& size : selected.availableSizes())
        icon.addPixmap(selected.pixmap(size, 1.0), QIcon::Selected);
}

} // namespace

QtStatusItem::QtStatusItem(TrayHostWatch& hosts, ActionTarget& actions, const ImageLoader& images)
    : m_actions(actions)
    , m_images(images) {
    if (hosts.hasFound())
        appear();
    else
        QObject::connect(&hosts, &TrayHostWatch::found, &m_life, [this] { appear(); });
}

QtStatusItem::~QtStatusItem() = default;

void QtStatusItem::setImage(const Image& image) {
    // One that blinks between equal images is not to wake the desktop each time.
    if (std::exchange(m_image, image) != image)
        showIcon();
}

void QtStatusItem::setAlternateImage(const Image& image) {
    if (std::exchange(m_alternateImage, image) != image)
        showIcon();
}

void QtStatusItem::setHighlightMode(bool isOn) {
    if (std::exchange(m_hasHighlight, isOn) != isOn)
        showIcon();
}

void QtStatusItem::setMenu(std::shared_ptr<Menu> menu) {
    m_model = std::move(menu);
    showMenu();
}

void QtStatusItem::appear() {
    m_menu.emplace();
    m_icon.emplace();
    m_icon->setToolTip(QStringLiteral("Quorrel"));
    QObject::connect(&*m_icon, &QSystemTrayIcon::activated, &m_life,
        [this](QSystemTrayIcon::ActivationReason reason) { activated(reason); });
    showIcon();
    showMenu();
    m_icon->show();
}

void QtStatusItem::showIcon() {
    if (!m_icon)
        return;
    auto icon = m_images.icon(m_image);
    if (m_hasHighlight)
        addAsSelected(icon, m_images.icon(m_alternateImage));
    m_icon->setIcon(icon);
}

void QtStatusItem::showMenu() {
    if (!m_icon)
        return;
    m_renderer.reset();
    m_icon->setContextMenu(m_model ? &*m_menu : nullptr);
    if (!m_model)
        return;
    // Only a menu that goes over the bus has a counterpart.
    const auto drawer = m_menu->platformMenu() ? MenuLabel::Drawer::Desktop : MenuLabel::Drawer::Qt;
    m_renderer = std::make_unique<MenuRenderer>(*m_menu, m_model, drawer, m_actions, m_images);
}

void QtStatusItem::activated(QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
        m_actions.perform("showMountList", MenuItem {});
}

} // namespace quorrel
