// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/CatalogueActions.h"

#include "Desktop/ImageLoader.h"
#include "Desktop/ShownText.h"

#include <QAction>
#include <QHelpEvent>
#include <QIcon>
#include <QKeySequence>
#include <QMenu>
#include <QTimer>
#include <QWidget>

#include <string>

namespace quorrel {

namespace {

struct Command final {
    const char* selector;
    const char* title;
    const char* toolTitle; ///< null for a command that no button gives
    const char* image;
    const char* shortcut;
};

constexpr int imageSize = 24;

// clang-format off
constexpr Command commands[] = {
    { "mountSelectedListItem", localizable("&Mount"), localizable("Mount"), "mount.png", "Ctrl+M" },
    { "unmountSelectedListItem", localizable("&Unmount"), localizable("Unmount"), "unmount.png", "Ctrl+U" },
    { "openMountedFolder", localizable("&Open Folder"), localizable("Open Folder"), "open-folder.png", "Ctrl+O" },
    { "toggleFavroite", localizable("&Favorite"), nullptr, "star.png", "Ctrl+D" },
    { "addMountSheet", localizable("&Add Share…"), localizable("Add"), "add.png", "Ctrl+N" },
    { "editMountAction", localizable("&Edit…"), localizable("Edit"), "edit.png", "F2" },
    { "deleteSelectedMount", localizable("&Delete…"), localizable("Delete"), "delete.png", "Del" },
    { "mountThisHostListItem", localizable("Mount &Server"), nullptr, "mount.png", "Ctrl+Alt+M" },
    { "unmountThisHostListItem", localizable("Unmount Se&rver"), nullptr, "unmount.png", "Ctrl+Alt+U" },
    { "mountAllListItem", localizable("Mount A&ll"), localizable("Mount All"), "mount-all.png", "Ctrl+Shift+M" },
    { "unmountAllListItem", localizable("U&nmount All"), localizable("Unmount All"), "unmount-all.png",
        "Ctrl+Shift+U" },
    { "showPreferences", localizable("&Preferences…"), nullptr, "preferences.png", "Ctrl+," },
    { "terminate", localizable("&Quit"), nullptr, "", "Ctrl+Q" },
    { "help", localizable("Quorrel &Help"), nullptr, "help.png", "F1" },
    { "showAbout", localizable("&About Quorrel"), nullptr, "quorrel.png", "Shift+F1" },
};
// clang-format on

const Command& commandOf(const QAction& action) {
    return commands[action.data().toInt()];
}

QString tip(const QAction& action, const QString& reason) {
    const auto keys = action.shortcut().toString(QKeySequence::NativeText);
    const auto tip = ShownText::withoutMnemonic(action.text()) + " (" + keys + ')';
    return reason.isEmpty() ? tip : tip + '\n' + reason;
}

} // namespace

CatalogueActions::CatalogueActions(const DesktopEnvironment& environment, const ImageLoader& images, QWidget& window)
    : QObject(&window)
    , m_environment(environment)
    , m_soon(new QTimer(this)) {
    m_soon->setSingleShot(true);
    m_soon->setInterval(0);
    connect(m_soon, &QTimer::timeout, this, &CatalogueActions::validate);
    int number = 0;
    for (const auto& command : commands) {
        auto* action = new QAction(m_environment.text(command.title), this);
        action->setObjectName(command.selector);
        action->setData(number++);
        action->setIconText(m_environment.text(command.toolTitle ? command.toolTitle : command.title));
        action->setIcon(images.icon({ command.image, imageSize }));
        action->setShortcut(QKeySequence::fromString(command.shortcut));
        // The menu bar's platform integration must not sort them into places of its own.
        action->setMenuRole(QAction::NoRole);
        // An assistive tool waits until what it triggered is done, and a command may ask for a password first.
        connect(
            action, &QAction::triggered, this, [this, action] { perform(*action); }, Qt::QueuedConnection);
        window.addAction(action);
    }
}

QAction* CatalogueActions::action(Selector selector) const {
    return findChild<QAction*>(
        QString::fromUtf8(selector.data(), static_cast<qsizetype>(selector.size())), Qt::FindDirectChildrenOnly);
}

QMenu* CatalogueActions::makeMenu(
    const QString& title, const char* name, std::initializer_list<Selector> selectors, QWidget* parent) {
    auto* menu = new QMenu(title, parent);
    menu->setObjectName(name);
    menu->setToolTipsVisible(true);
    menu->installEventFilter(this);
    for (const auto selector : selectors)
        if (selector.empty())
            menu->addSeparator();
        else
            menu->addAction(action(selector));
    connect(menu, &QMenu::aboutToShow, this, &CatalogueActions::validate);
    return menu;
}

void CatalogueActions::perform(const QAction& action) {
    const auto& command = commandOf(action);
    MenuItem sender;
    sender.title = ShownText::withoutMnemonic(action.text()).toStdString();
    sender.action = command.selector;
    validateSoon(); // what it does may change what can be done
    m_environment.actions.perform(command.selector, sender);
}

void CatalogueActions::validate() {
    m_soon->stop();
    for (auto* action : findChildren<QAction*>(Qt::FindDirectChildrenOnly)) {
        const auto state = m_environment.actions.validate(commandOf(*action).selector);
        action->setEnabled(state.isEnabled);
        const auto text = tip(*action, state.isEnabled ? QString() : QString::fromStdString(state.reason));
        action->setStatusTip(text);
        action->setToolTip(ShownText::toolTip(text));
    }
}

void CatalogueActions::describe(QWidget& button, const QAction& action) {
    const auto follow = [&button, &action] { button.setAccessibleDescription(action.statusTip()); };
    connect(&action, &QAction::changed, &button, follow);
    follow();
}

void CatalogueActions::validateSoon() {
    if (!m_soon->isActive())
        m_soon->start();
}

bool CatalogueActions::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::ToolTip)
        return false;
    // In a menu, a tip that repeats what it stands beside is in the way.
    const auto* menu = qobject_cast<const QMenu*>(watched);
    const auto* action = menu ? menu->actionAt(static_cast<const QHelpEvent*>(event)->pos()) : nullptr;
    return action && action->isEnabled();
}

} // namespace quorrel
