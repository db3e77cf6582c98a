// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/DesktopEnvironment.h"
#include "Desktop/HostListModel.h"
#include "Desktop/SelectionLink.h"
#include "Desktop/SharePointListModel.h"
#include "Sources/CatalogueLists.h"

#include <QMainWindow>

class QLabel;
class QMenu;
class QStackedWidget;

namespace quorrel {

class CatalogueActions;
class CatalogueListView;
class SharePointDelegate;

/// The main window's widgets: the hosts beside the share points of the selected one, and what can be done with them.
class CatalogueView final : public QMainWindow {
    Q_OBJECT

public:
    /// The loader must outlive the view.
    CatalogueView(const DesktopEnvironment& environment, const ImageLoader& images);
    ~CatalogueView() override;

    /// Show a list from now on; null: none. The list is borrowed until the next call.
    void showHosts(HostListController* hosts);
    void showSharePoints(SharePointListController* sharePoints);

    /// Asks anew what can be done, when the event loop turns next.
    void validateActions();

signals:
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void makeMenuBar();
    void makeToolBar();
    [[nodiscard]] QWidget* makeHostsPane();
    [[nodiscard]] QWidget* makeSharePointsPane();
    void watchModel(const QAbstractItemModel& model);
    void placeFrame(int firstWidth);

    /// Brings what depends on rows and selections up to date.
    void refresh();
    void refreshPages();
    void refreshDetails();
    void clickSharePoint(const QModelIndex& index, const QPoint& position);
    void doubleClickSharePoint(const QModelIndex& index, const QPoint& position);
    [[nodiscard]] bool isOnStar(const QModelIndex& index, const QPoint& position) const;

    const DesktopEnvironment m_environment;
    const ImageLoader& m_images;
    CatalogueActions* const m_actions;
    HostListModel m_hostsModel;
    SharePointListModel m_sharePointsModel;
    CatalogueListView* const m_hostsList;
    CatalogueListView* const m_sharePointsList;
    SharePointDelegate* const m_sharePointDelegate;
    QStackedWidget* const m_pages; ///< the lists, or that there are no hosts
    QStackedWidget* const m_sharePointPages; ///< the share points, or why there are none
    QLabel* const m_details;
    SelectionLink<HostDefinition> m_hostSelection;
    SelectionLink<SharePointDefinition> m_sharePointSelection;
};

} // namespace quorrel
