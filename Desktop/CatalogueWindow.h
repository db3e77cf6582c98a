// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/DesktopEnvironment.h"
#include "Sources/MainWindow.h"

#include <memory>

class QTimer;
class QWidget;

namespace quorrel {

class CatalogueView;
class ImageLoader;

/// The main window. Its widgets are made when they are first wanted and given up some time after the window was closed:
/// the program spends most of its life without one.
class CatalogueWindow final : public MainWindow {
public:
    /// The loader must outlive the window.
    CatalogueWindow(const DesktopEnvironment& environment, const ImageLoader& images);
    ~CatalogueWindow() override;
    CatalogueWindow(const CatalogueWindow&) = delete;
    CatalogueWindow& operator=(const CatalogueWindow&) = delete;

    void center() override;
    void makeKeyAndOrderFront() override;
    void orderFrontRegardless() override;
    void bindHostsList(HostListController* hosts) override;
    void bindMountsList(SharePointListController* sharePoints) override;
    void validateActions() override;
    void beginAlertSheet(const AlertSheet& sheet, AlertHandler handler) override;
    void showNotice(const std::string& title, const std::string& message) override;

    /// What sheets stand on, made if need be. Ask each time: it does not live as long as this.
    [[nodiscard]] QWidget* widget();

private:
    [[nodiscard]] CatalogueView& view();
    void make();
    void release();

    const DesktopEnvironment m_environment;
    const ImageLoader& m_images;
    HostListController* m_hosts = nullptr;
    SharePointListController* m_sharePoints = nullptr;
    std::unique_ptr<CatalogueView> m_view;
    QTimer* m_releaseTimer = nullptr; // the view's
};

} // namespace quorrel
