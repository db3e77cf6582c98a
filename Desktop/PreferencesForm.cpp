// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PreferencesForm.h"

#include "Desktop/DesktopEnvironment.h"
#include "Desktop/WrappedLabel.h"
#include "Foundation/Preferences.h"
#include "Foundation/Text.h"
#include "Sources/LoginItem.h"
#include "Sources/Reachability.h"

#include <QAccessible>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <utility>

namespace quorrel {

namespace {

constexpr const char* connectivityHost = "monitorConnectivityHost";
constexpr int textWidth = 60; // characters

/// The layout of what stands under a check box's text.
QVBoxLayout* addIndented(QBoxLayout& layout, const QWidget& window) {
    auto* row = new QHBoxLayout;
    row->addSpacing(window.style()->pixelMetric(QStyle::PM_IndicatorWidth)
        + window.style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing));
    auto* indented = new QVBoxLayout;
    row->addLayout(indented, 1);
    layout.addLayout(row);
    return indented;
}

} // namespace

PreferencesForm::PreferencesForm(
    const DesktopEnvironment& environment, LoginItem& loginItem, const std::string& logFile)
    : m_environment(environment)
    , m_loginItem(loginItem)
    , m_tabs(new QTabWidget)
    , m_changes(environment.mainThreadQueue, [this](bool) { showPreferences(); }) {
    setObjectName("preferencesForm");
    setWindowTitle(environment.text("Preferences"));

    auto* layout = new QVBoxLayout(this);
    m_tabs->setObjectName("preferencesTabs");
    m_tabs->setFocusPolicy(Qt::NoFocus); // to assistive tools it would be a stop without a name beside its bar
    m_tabs->tabBar()->setFocusPolicy(Qt::TabFocus); // follows the widget's own
    m_tabs->tabBar()->setObjectName("preferencesTabBar");
    m_tabs->tabBar()->setAccessibleName(windowTitle());
    m_tabs->addTab(generalTab(logFile), environment.text("&General"));
    m_tabs->addTab(discoveryTab(), environment.text("&Discovery"));
    m_tabs->addTab(networkTab(), environment.text("Ne&twork"));
    layout->addWidget(m_tabs);
    addProblem(*layout);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    auto* close = buttons->button(QDialogButtonBox::Close);
    close->setObjectName("closePreferences");
    close->setText(environment.text("&Close"));
    close->setIcon({}); // no other button has one
    close->setAutoDefault(false); // Enter in a text field must not close the window
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    connect(new QShortcut(Qt::CTRL | Qt::Key_W, this), &QShortcut::activated, this, &QDialog::reject);

    for (const auto& flag : m_flags)
        m_subscriptions.push_back(environment.preferences.observe(
            flag.key, [this](const auto&) { m_changes.add([](bool& changed) { changed = true; }); }));
    m_subscriptions.push_back(environment.preferences.observe(
        connectivityHost, [this](const auto&) { m_changes.add([](bool& changed) { changed = true; }); }));
    showPreferences();
}

void PreferencesForm::selectTab(std::string_view identifier) {
    for (int index = 0; index < m_tabs->count(); ++index)
        if (identifier == std::to_string(index + 1))
            m_tabs->setCurrentIndex(index);
}

void PreferencesForm::showEvent(QShowEvent* event) {
    if (!event->spontaneous()) {
        showProblem({});
        showLoginItem();
    }
    QDialog::showEvent(event);
}

QWidget* PreferencesForm::generalTab(const std::string& logFile) {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    m_openAtLogin = new QCheckBox(m_environment.text("&Open Quorrel at login"));
    m_openAtLogin->setObjectName("openAtLogin");
    connect(m_openAtLogin, &QCheckBox::toggled, this, &PreferencesForm::storeLoginItem);
    layout->addWidget(m_openAtLogin);
    addFlag(*layout, m_environment.text("&Unmount the shares of a server that disappears"), "unmountDrives");
    auto* log = addFlag(*layout, m_environment.text("Write a &log"), "logToConsole");
    auto* below = addIndented(*layout, *this);
    addHint(*below,
        m_environment.text("The log tells what Quorrel did and why a mount failed. It holds no passwords, and it is "
                           "never shortened:"),
        *log);
    auto* path = new QLabel(QString::fromStdString(logFile));
    path->setObjectName("logFile");
    path->setAccessibleDescription(m_environment.text("Log file")); // what it is called by is the path
    path->setTextFormat(Qt::PlainText);
    path->setAlignment(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) | Qt::AlignVCenter);
    path->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    below->addWidget(path);
    layout->addStretch();
    return tab;
}

QWidget* PreferencesForm::discoveryTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* master = addFlag(*layout, m_environment.text("&Browse the local network for servers"), "BrowseForServices");
    auto* kinds = addIndented(*layout, *this);
    addFlag(*kinds, m_environment.text("&AFP (Apple Filing Protocol)"), "afp");
    addFlag(*kinds, m_environment.text("&SMB (Server Message Block)"), "smb");
    addFlag(*kinds, m_environment.text("&WebDAV (http)"), "http");
    addFlag(*kinds, m_environment.text("&FTP (File Transfer Protocol)"), "ftp");
    addHint(*kinds,
        m_environment.text("A kind that you switch on while browsing is off is browsed for until Quorrel quits."),
        *master);
    auto* scan = addFlag(*layout, m_environment.text("Search for Windows computers by &NetBIOS"), "scanForSMBHosts");
    addHint(*addIndented(*layout, *this),
        m_environment.text("The search runs once when Quorrel starts, and once when you switch it on."), *scan);
    addFlag(*layout, m_environment.text("Offer the names in /etc/&hosts as servers"), "lookUpHostFile");
    layout->addStretch();
    return tab;
}

QWidget* PreferencesForm::networkTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* label = new QLabel(m_environment.text("&Mount automatically when this host can be reached:"));
    layout->addWidget(label);
    m_connectivityHost = new QLineEdit;
    m_connectivityHost->setObjectName(connectivityHost);
    m_connectivityHost->setPlaceholderText(defaultReachabilityTarget);
    m_connectivityHost->setClearButtonEnabled(true);
    m_connectivityHost->findChild<QToolButton*>()->setAccessibleName(m_environment.text("Clear"));
    label->setBuddy(m_connectivityHost);
    connect(m_connectivityHost, &QLineEdit::textChanged, this, [this](const QString& text) {
        const auto host = text.trimmed().toStdString();
        if (host != m_environment.preferences.text(connectivityHost)) // otherwise it only shows what is stored
            store(connectivityHost, host);
    });
    layout->addWidget(m_connectivityHost);
    addHint(*layout,
        QString::fromStdString(
            Text::filled(m_environment.strings.text(
                             "Left empty, the host is %@. A change counts from the next start of Quorrel on."),
                { defaultReachabilityTarget })),
        *m_connectivityHost);
    layout->addStretch();
    return tab;
}

void PreferencesForm::addProblem(QBoxLayout& layout) {
    m_problem = new QWidget;
    auto* row = new QHBoxLayout(m_problem);
    row->setContentsMargins(0, 0, 0, 0);
    auto* icon = new QLabel;
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size));
    row->addWidget(icon, 0, Qt::AlignTop);
    m_problemText = new WrappedLabel(textWidth);
    m_problemText->setObjectName("preferencesProblem");
    row->addWidget(m_problemText, 1);
    m_problem->hide();
    layout.addWidget(m_problem);
}

QCheckBox* PreferencesForm::addFlag(QBoxLayout& layout, const QString& title, const std::string& key) {
    auto* box = new QCheckBox(title);
    box->setObjectName(QString::fromStdString(key));
    connect(box, &QCheckBox::toggled, this, [this, key](bool isOn) {
        if (isOn != m_environment.preferences.boolean(key)) // otherwise it only shows what is stored
            store(key, isOn);
    });
    layout.addWidget(box);
    m_flags.push_back({ key, box });
    return box;
}

void PreferencesForm::addHint(QBoxLayout& layout, const QString& text, QWidget& explained) {
    layout.addWidget(new WrappedLabel(textWidth, text));
    explained.setAccessibleDescription(text);
}

void PreferencesForm::store(const std::string& key, PreferenceValue value) {
    const bool isStored = m_environment.preferences.set(key, std::move(value));
    showProblem(
        isStored ? QString() : m_environment.text("The change could not be stored. It holds until Quorrel quits."));
}

void PreferencesForm::storeLoginItem(bool isOn) {
    m_loginItem.oOpenAtLogin = isOn;
    m_loginItem.addLoginItem();
    showLoginItem();
    showProblem(m_openAtLogin->isChecked() == isOn
            ? QString()
            : m_environment.text("What is opened at login could not be changed."));
}

void PreferencesForm::showProblem(const QString& text) {
    m_problemText->setText(text);
    m_problem->setVisible(!text.isEmpty());
    if (!text.isEmpty()) {
        QAccessibleEvent alert(m_problemText, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
}

void PreferencesForm::showPreferences() {
    for (const auto& flag : m_flags)
        flag.box->setChecked(m_environment.preferences.boolean(flag.key));
    // What is stored is trimmed; a blank that was typed stays, and so does the cursor.
    const auto host = QString::fromStdString(m_environment.preferences.text(connectivityHost));
    if (m_connectivityHost->text().trimmed() != host)
        m_connectivityHost->setText(host);
}

void PreferencesForm::showLoginItem() {
    const QSignalBlocker blocker(m_openAtLogin);
    m_openAtLogin->setChecked(m_loginItem.isLoginItem());
}

} // namespace quorrel
