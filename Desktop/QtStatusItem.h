// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/StatusBar.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <memory>
#include <optional>

namespace quorrel {

class ActionTarget;
class ImageLoader;
class MenuRenderer;
class TrayHostWatch;

/// An icon in the tray, there once the watch has found one. A click on it performs "showMountList". Main thread.
class QtStatusItem final : public StatusItem {
public:
    /// All of it must outlive the object.
    QtStatusItem(TrayHostWatch& hosts, ActionTarget& actions, const ImageLoader& images);
    ~QtStatusItem() override;

    void setImage(const Image& image) override;
    /// Handed to the tray as the selected state's icon; no tray that is known today draws it.
    void setAlternateImage(const Image& image) override;
    void setHighlightMode(bool isOn) override;
    void setMenu(std::shared_ptr<Menu> menu) override;

private:
    void appear();
    void showIcon();
    void showMenu();
    void activated(QSystemTrayIcon::ActivationReason reason);

    ActionTarget& m_actions;
    const ImageLoader& m_images;
    Image m_image;
    Image m_alternateImage;
    bool m_hasHighlight = false;
    std::shared_ptr<Menu> m_model;
    std::optional<QMenu> m_menu; // these three once there is a tray
    std::unique_ptr<MenuRenderer> m_renderer;
    std::optional<QSystemTrayIcon> m_icon;
    QObject m_life; // ends the connections
};

} // namespace quorrel
