// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/CatalogueView.h"

#include "Desktop/CatalogueActions.h"
#include "Desktop/CatalogueListView.h"
#include "Desktop/EmptyPage.h"
#include "Desktop/ImageLoader.h"
#include "Desktop/SharePointDelegate.h"
#include "Desktop/ShownText.h"
#include "Desktop/WindowFrame.h"

#include <QAbstractItemDelegate>
#include <QAction>
#include <QCloseEvent>
#include <QEvent>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace quorrel {

namespace {

// The pages of the two stacks, in the order in which they are put in.
enum Page { ListsPage, NoHostsPage };
enum SharePointPage { SharePointsPage, NoSharePointsPage, NoSelectionPage };

// In characters and lines of the user's font.
constexpr int firstHostColumns = 38;
constexpr int firstSharePointColumns = 50; // who, and the longest name of a service
constexpr int firstLines = 30;
constexpr int leastNameColumns = 20;
constexpr int leastRows = 3;
constexpr int detailsLines = 2;

QAbstractItemView& showing(QAbstractItemView& view, QAbstractItemModel& model) {
    view.setModel(&model);
    return view;
}

/// What a list takes to show so much of each name beside all else.
int widthFor(const CatalogueListView& list, int nameColumns) {
    return list.itemDelegate()->sizeHint(list.rowOption({}), {}).width()
        + nameColumns * list.fontMetrics().averageCharWidth();
}

/// Leaves room for some rows, and in each for the beginning of a name.
void keepLegible(CatalogueListView& list) {
    const auto row = list.itemDelegate()->sizeHint(list.rowOption({}), {});
    list.setMinimumSize(widthFor(list, leastNameColumns), leastRows * row.height() + 2 * list.frameWidth());
}

QLabel* headingFor(QWidget* list, const QString& text) {
    auto* heading = new QLabel(text);
    heading->setBuddy(list);
    list->setAccessibleName(ShownText::withoutMnemonic(text)); // of a list, the buddy does not count
    return heading;
}

QWidget* column(std::initializer_list<QWidget*> widgets) {
    auto* pane = new QWidget;
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    for (auto* widget : widgets)
        layout->addWidget(widget);
    return pane;
}

} // namespace

CatalogueView::CatalogueView(const DesktopEnvironment& environment, const ImageLoader& images)
    : m_environment(environment)
    , m_images(images)
    , m_actions(new CatalogueActions(environment, images, *this))
    , m_hostsModel(images, environment.mainThreadQueue)
    , m_sharePointsModel(environment.strings, images, environment.mainThreadQueue)
    , m_hostsList(new CatalogueListView)
    , m_sharePointsList(new CatalogueListView)
    , m_sharePointDelegate(new SharePointDelegate(environment.strings, images, m_sharePointsList))
    , m_pages(new QStackedWidget)
    , m_sharePointPages(new QStackedWidget)
    , m_details(new QLabel)
    , m_hostSelection(showing(*m_hostsList, m_hostsModel), m_hostsModel)
    , m_sharePointSelection(showing(*m_sharePointsList, m_sharePointsModel), m_sharePointsModel) {
    setObjectName("catalogueWindow");
    setWindowTitle(QStringLiteral("Quorrel"));
    setWindowIcon(images.icon({ "quorrel.png", 32 }));
    makeMenuBar();
    makeToolBar();

    auto* lists = new QSplitter;
    lists->setObjectName("lists");
    lists->setChildrenCollapsible(false);
    lists->addWidget(makeHostsPane());
    lists->addWidget(makeSharePointsPane());
    lists->setStretchFactor(0, 1);
    lists->setStretchFactor(1, 2);
    // Qt puts mirrored panes a pixel too far to the right, where their frame would be cut.
    lists->setContentsMargins(0, 0, lists->isRightToLeft() ? 1 : 0, 0);
    const QList<int> widths { widthFor(*m_hostsList, firstHostColumns),
        widthFor(*m_sharePointsList, firstSharePointColumns) };
    lists->setSizes(widths);
    m_pages->setObjectName("pages");
    // Below both lists, so that they end side by side.
    auto* listsPage = column({ lists, m_details });
    static_cast<QVBoxLayout*>(listsPage->layout())->setStretchFactor(lists, 1);
    m_pages->addWidget(listsPage);
    m_pages->addWidget(new EmptyPage(m_environment.text("No servers yet"),
        m_environment.text("Add a share, and Quorrel keeps it mounted whenever its server can be reached."),
        m_actions->action("addMountSheet")));
    setCentralWidget(column({ m_pages }));
    const auto margin = style()->pixelMetric(QStyle::PM_LayoutLeftMargin);
    centralWidget()->layout()->setContentsMargins(margin, margin, margin, margin);

    for (const auto* view : { m_hostsList, m_sharePointsList })
        connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, this, &CatalogueView::refresh);
    watchModel(m_hostsModel);
    watchModel(m_sharePointsModel);
    refresh();
    m_actions->validate();
    placeFrame(widths[0] + lists->handleWidth() + widths[1] + 2 * margin);
    m_hostsList->setFocus();
}

CatalogueView::~CatalogueView() = default;

void CatalogueView::showHosts(HostListController* hosts) {
    m_hostSelection.setController(hosts);
}

void CatalogueView::showSharePoints(SharePointListController* sharePoints) {
    m_sharePointSelection.setController(sharePoints);
}

void CatalogueView::validateActions() {
    m_actions->validateSoon();
}

void CatalogueView::closeEvent(QCloseEvent* event) {
    event->accept();
    emit closed();
}

void CatalogueView::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    // Shares of hosts that are not shown change what can be done, too.
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        m_actions->validateSoon();
}

void CatalogueView::makeMenuBar() {
    auto* close = new QAction(m_environment.text("&Close"), this);
    close->setObjectName("closeWindow");
    close->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_W));
    connect(close, &QAction::triggered, this, &QWidget::close);

    menuBar()->setObjectName("menuBar");
    auto* file = m_actions->makeMenu(
        m_environment.text("&File"), "fileMenu", { "addMountSheet", {}, "showPreferences", {}, "terminate" }, this);
    file->insertAction(m_actions->action("terminate"), close);
    menuBar()->addMenu(file);
    menuBar()->addMenu(m_actions->makeMenu(m_environment.text("&Share"), "shareMenu",
        { "mountSelectedListItem", "unmountSelectedListItem", "openMountedFolder", {}, "editMountAction",
            "toggleFavroite", "deleteSelectedMount", {}, "mountThisHostListItem", "unmountThisHostListItem", {},
            "mountAllListItem", "unmountAllListItem" },
        this));
    menuBar()->addMenu(m_actions->makeMenu(m_environment.text("&Help"), "helpMenu", { "help", {}, "showAbout" }, this));
}

void CatalogueView::makeToolBar() {
    auto* bar = addToolBar(m_environment.text("Tool bar"));
    bar->setObjectName("toolBar");
    bar->setMovable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu); // it would offer to hide the bar for good
    bar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    bar->setIconSize({ 24, 24 });
    for (const Selector selector :
        std::initializer_list<Selector> { "mountSelectedListItem", "unmountSelectedListItem", "openMountedFolder", {},
            "mountAllListItem", "unmountAllListItem", {}, "addMountSheet", "editMountAction", "deleteSelectedMount" }) {
        if (selector.empty()) {
            bar->addSeparator();
            continue;
        }
        auto* action = m_actions->action(selector);
        bar->addAction(action);
        auto* button = bar->widgetForAction(action);
        button->setObjectName(action->objectName() + "Button");
        CatalogueActions::describe(*button, *action);
    }
    // Where the window is too narrow for all of them.
    bar->findChild<QToolButton*>("qt_toolbar_ext_button")->setAccessibleName(m_environment.text("More commands"));
}

QWidget* CatalogueView::makeHostsPane() {
    m_hostsList->setObjectName("hostsList");
    m_hostsList->setItemDelegate(new RecordDelegate(m_hostsList));
    keepLegible(*m_hostsList);
    auto* menu = m_actions->makeMenu(
        {}, "hostContextMenu", { "mountThisHostListItem", "unmountThisHostListItem", {}, "addMountSheet" }, this);
    connect(m_hostsList, &CatalogueListView::menuWanted, menu, [menu](const QPoint& place) { menu->popup(place); });
    return column({ headingFor(m_hostsList, m_environment.text("Ser&vers")), m_hostsList });
}

QWidget* CatalogueView::makeSharePointsPane() {
    m_sharePointsList->setObjectName("sharePointsList");
    m_sharePointsList->setItemDelegate(m_sharePointDelegate);
    keepLegible(*m_sharePointsList);
    auto* menu = m_actions->makeMenu({}, "sharePointContextMenu",
        { "mountSelectedListItem", "unmountSelectedListItem", "openMountedFolder", {}, "editMountAction",
            "toggleFavroite", "deleteSelectedMount" },
        this);
    connect(
        m_sharePointsList, &CatalogueListView::menuWanted, menu, [menu](const QPoint& place) { menu->popup(place); });
    auto* favorite = m_actions->action("toggleFavroite");
    favorite->setCheckable(true);
    // Whether the click made it one is for the record to say.
    connect(favorite, &QAction::triggered, this, &CatalogueView::refresh, Qt::QueuedConnection);
    connect(m_sharePointsList, &CatalogueListView::rowClicked, this, &CatalogueView::clickSharePoint);
    connect(m_sharePointsList, &CatalogueListView::rowDoubleClicked, this, &CatalogueView::doubleClickSharePoint);
    connect(
        m_sharePointsList, &CatalogueListView::returnPressed, m_actions->action("editMountAction"), &QAction::trigger);

    m_details->setObjectName("details");
    m_details->setTextFormat(Qt::PlainText);
    m_details->setWordWrap(true);
    // With the lists, also a path, which reads from left to right in every language.
    m_details->setAlignment(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) | Qt::AlignTop);
    m_details->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_details->setFocusPolicy(Qt::NoFocus); // as long as it is empty
    m_details->setMinimumHeight(detailsLines * fontMetrics().lineSpacing());

    auto* heading = headingFor(m_sharePointsList, m_environment.text("Shar&es"));
    m_sharePointPages->setObjectName("sharePointPages");
    m_sharePointPages->addWidget(column({ heading, m_sharePointsList }));
    m_sharePointPages->addWidget(new EmptyPage(m_environment.text("No shares on this server"),
        m_environment.text("Add the shares that Quorrel is to keep mounted."), m_actions->action("addMountSheet")));
    m_sharePointPages->addWidget(new EmptyPage(
        m_environment.text("No server selected"), m_environment.text("Select a server to see its shares."), nullptr));
    return m_sharePointPages;
}

void CatalogueView::watchModel(const QAbstractItemModel& model) {
    connect(&model, &QAbstractItemModel::dataChanged, this, &CatalogueView::refresh);
    connect(&model, &QAbstractItemModel::rowsInserted, this, &CatalogueView::refresh);
    connect(&model, &QAbstractItemModel::rowsRemoved, this, &CatalogueView::refresh);
    connect(&model, &QAbstractItemModel::modelReset, this, &CatalogueView::refresh);
}

void CatalogueView::placeFrame(int firstWidth) {
    const QSize first(firstWidth, firstLines * fontMetrics().lineSpacing());
    resize(first.expandedTo(sizeHint()).boundedTo(screen()->availableSize()));
    auto* frame = new WindowFrame(*this, m_environment.preferences, "NSWindow Frame MainWindow");
    static_cast<void>(frame->restore());
}

void CatalogueView::refresh() {
    refreshPages();
    refreshDetails();
    m_actions->validateSoon();
}

void CatalogueView::refreshPages() {
    m_pages->setCurrentIndex(m_hostsModel.rowCount() > 0 ? ListsPage : NoHostsPage);
    if (m_sharePointsModel.rowCount() > 0)
        m_sharePointPages->setCurrentIndex(SharePointsPage);
    else
        m_sharePointPages->setCurrentIndex(
            m_hostsList->selectionModel()->hasSelection() ? NoSharePointsPage : NoSelectionPage);
}

void CatalogueView::refreshDetails() {
    const auto selected = m_sharePointsList->selectionModel()->selectedRows();
    const auto row = selected.isEmpty() ? QModelIndex() : selected.front();
    m_actions->action("toggleFavroite")->setChecked(row.data(RecordRole::isFavorite).toBool());
    const auto text = row.data(RecordRole::explanation).toString();
    if (text == m_details->text())
        return; // what is being selected there stays selected
    m_details->setText(text);
    m_details->setFocusPolicy(text.isEmpty() ? Qt::NoFocus : Qt::StrongFocus);
}

void CatalogueView::clickSharePoint(const QModelIndex& index, const QPoint& position) {
    if (isOnStar(index, position))
        m_actions->action("toggleFavroite")->trigger();
}

void CatalogueView::doubleClickSharePoint(const QModelIndex& index, const QPoint& position) {
    if (isOnStar(index, position))
        return;
    m_actions->validate(); // the first click may have selected the row just now
    auto* open = m_actions->action("openMountedFolder");
    (open->isEnabled() ? open : m_actions->action("mountSelectedListItem"))->trigger();
}

bool CatalogueView::isOnStar(const QModelIndex& index, const QPoint& position) const {
    return m_sharePointDelegate->starPlace(m_sharePointsList->rowOption(index)).contains(position);
}

} // namespace quorrel
