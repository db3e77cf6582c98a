// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Preferences.h"
#include "Foundation/StringTable.h"
#include "Foundation/Text.h"
#include "Platform/Application.h"
#include "Platform/PreferencesWindow.h"
#include "Platform/Workspace.h"
#include "Sources/AddMountWindowController.h"
#include "Sources/ControllerWindows.h"
#include "Sources/HostDefinition.h"
#include "Sources/MainWindow.h"
#include "Sources/PasswordWindowController.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/SharePointRemoval.h"

#include <string>

namespace quorrel {

void QuorrelAppDelegate::bindLists() {
    showHosts();
    m_hostsSubscription = observe("hosts", [this](std::string_view, Change change) {
        if (change == Change::Did)
            onMainThread([this] { showHosts(); });
    });
    m_selectionSubscription = hostsArrayController.observe([this](ListChange change) {
        if (change == ListChange::Selection)
            followSelectedHost();
    });
    if (auto* windows = m_environment.windows) {
        windows->window.bindMountsList(&mountsArrayController);
        windows->window.bindHostsList(&hostsArrayController);
        windows->application.setDelegate(this);
        m_endsSubscription = m_opQueue->observeEnds([this] { validateActionsSoon(); });
        m_lineSubscription = m_workLine.observeEmptied([this] { validateActionsSoon(); });
    }
}

void QuorrelAppDelegate::unbindLists() {
    m_hostsSubscription.cancel();
    m_selectionSubscription.cancel();
    m_sharePointsSubscription.cancel();
    m_endsSubscription.cancel();
    m_lineSubscription.cancel();
    m_namesSubscription.cancel();
    if (auto* windows = m_environment.windows) {
        windows->application.setDelegate(nullptr);
        windows->window.bindMountsList(nullptr);
        windows->window.bindHostsList(nullptr);
    }
}

void QuorrelAppDelegate::validateActions() {
    if (auto* windows = m_environment.windows)
        windows->window.validateActions();
}

void QuorrelAppDelegate::soon(std::atomic<bool> QuorrelAppDelegate::*isDue, void (QuorrelAppDelegate::*task)()) {
    // Each looks at every share or every name: servers that come by the hundred must not have each of them do so.
    if (!m_environment.windows || (this->*isDue).exchange(true))
        return;
    m_environment.mainThreadQueue.post([weakSelf = std::weak_ptr(m_self), isDue, task] {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        (*self)->*isDue = false;
        ((*self)->*task)();
    });
}

void QuorrelAppDelegate::serverNamesChanged() {
    if (m_addMountWindowController && m_addMountWindowController->isShown())
        m_addMountWindowController->serverNamesChanged();
}

void QuorrelAppDelegate::showHosts() {
    // Who has selected nothing in a list with something in it meant it.
    const bool isLeftBare
        = hostsArrayController.selectedObjects().empty() && !hostsArrayController.arrangedObjects().empty();
    hostsArrayController.setContent(hosts.snapshot());
    if (m_isMountListShown && !isLeftBare)
        selectSomeHost();
}

void QuorrelAppDelegate::selectSomeHost() {
    const auto& all = hostsArrayController.arrangedObjects();
    if (hostsArrayController.selectedObjects().empty() && !all.empty())
        hostsArrayController.setSelectedObjects({ all.front() });
}

void QuorrelAppDelegate::followSelectedHost() {
    const auto host = selectedHost();
    if (host == m_hostOnShow)
        return;
    m_hostOnShow = host;
    m_sharePointsSubscription = host ? host->observe("sharePoints",
                                    [this](std::string_view, Change change) {
                                        if (change == Change::Did)
                                            onMainThread([this] { showSharePoints(); });
                                    })
                                     : Subscription();
    showSharePoints();
}

void QuorrelAppDelegate::showSharePoints() {
    mountsArrayController.setContent(
        m_hostOnShow ? m_hostOnShow->sharePoints.snapshot() : std::vector<SharePointPointer>());
}

void QuorrelAppDelegate::getHostPassword(const SharePointPointer& sharePoint) {
    if (sharePoint && wantsPassword(*sharePoint))
        showHostPasswordWindow(sharePoint);
}

bool QuorrelAppDelegate::wantsPassword(const SharePointDefinition& sharePoint) {
    if (!isSet(sharePoint.passwordPrompt.get()))
        return false;
    const auto service = sharePoint.parentService.get().lock();
    const auto host = service ? service->parentHost.get().lock() : nullptr;
    return !host || host->passwordIsEmpty();
}

void QuorrelAppDelegate::showHostPasswordWindow(const SharePointPointer& sharePoint) {
    if (m_isPrompting || m_isTerminating)
        return;
    if (!m_passwordWindowController)
        m_passwordWindowController = std::make_unique<PasswordWindowController>(m_environment.passwordWindow);
    m_passwordWindowController->setMount(sharePoint);
    // The prompt runs an event loop of its own, and the caller is in the middle of its work.
    const MainThreadQueue::Pause pause(m_environment.mainThreadQueue);
    m_isPrompting = true;
    m_passwordWindowController->showWindowModal();
    m_isPrompting = false;
}

void QuorrelAppDelegate::addMountSheet() {
    if (auto* sheet = addMountWindowController()) {
        sheet->setIsAdd(true);
        sheet->setIsEdit(false);
        sheet->showSheetForWindow();
    }
}

void QuorrelAppDelegate::editMountAction() {
    const auto sharePoint = selectedSharePoint();
    if (!sharePoint)
        return;
    if (auto* sheet = addMountWindowController()) {
        sheet->setIsAdd(false);
        sheet->setIsEdit(true);
        sheet->setMount(sharePoint);
        sheet->showSheetForWindow();
    }
}

AddMountWindowController* QuorrelAppDelegate::addMountWindowController() {
    if (!m_environment.windows)
        return nullptr;
    if (!m_addMountWindowController) {
        m_addMountWindowController = std::make_unique<AddMountWindowController>(
            m_environment.windows->addMountWindow, hosts, m_context, m_environment.notificationCenter);
        m_addMountWindowController->setHostsArrayController(&hostsArrayController);
        m_addMountWindowController->setBonjourServices(&bonjourServices);
        m_namesSubscription = observe("bonjourServices", [this](std::string_view, Change change) {
            if (change == Change::Did)
                soon(&QuorrelAppDelegate::m_areNamesDue, &QuorrelAppDelegate::serverNamesChanged);
        });
        m_addMountWindowController->setSavedHandler(
            [this](const SharePointPointer& saved) { onMainThread([this, saved] { selectSaved(saved); }); });
    }
    return m_addMountWindowController->isShown() ? nullptr : m_addMountWindowController.get();
}

void QuorrelAppDelegate::selectSaved(const SharePointPointer& sharePoint) {
    // Until somebody saw the lists, a selection would only fill the next sheet with a server that nobody chose.
    const auto host = sharePoint->parentHost.get().lock();
    if (!host || !m_isMountListShown)
        return;
    hostsArrayController.setSelectedObjects({ host });
    mountsArrayController.setSelectedObjects({ sharePoint });
}

void QuorrelAppDelegate::deleteSelectedMount() {
    const auto sharePoint = selectedSharePoint();
    if (!sharePoint || !m_environment.windows)
        return;
    const auto& strings = m_environment.strings;
    const AlertSheet question {
        .title = strings.text("Do you really want to delete the selected share definition?"),
        .message = strings.text("There is no undo for this operation."),
        .defaultButton = strings.text("Remove"),
        .alternateButton = strings.text("Cancel"),
    };
    m_environment.windows->window.beginAlertSheet(
        question, [self = std::weak_ptr(m_self), asked = std::weak_ptr(sharePoint)](AlertAnswer answer) {
            const auto delegate = self.lock();
            // What is selected by now must not be deleted on the answer to a question about something else.
            if (delegate && (*delegate)->selectedSharePoint() == asked.lock())
                (*delegate)->sheetDidEndShouldDelete(answer);
        });
}

void QuorrelAppDelegate::sheetDidEndShouldDelete(AlertAnswer answer) {
    const auto sharePoint = selectedSharePoint();
    if (answer != AlertAnswer::Default || !sharePoint)
        return;
    const auto service = sharePoint->parentService.get().lock();
    // A catalogue may name a service that its host does not have; such a share point can be deleted too.
    const auto host = service ? service->parentHost.get().lock() : sharePoint->parentHost.get().lock();
    if (!host)
        return;
    removeSharePoint(hosts, host, sharePoint);
    sendSaveNotification();
}

QuorrelAppDelegate::SharePointPointer QuorrelAppDelegate::selectedSharePoint() const {
    const auto& selected = mountsArrayController.selectedObjects();
    return selected.empty() ? nullptr : selected.front();
}

void QuorrelAppDelegate::showMountList() {
    if (!m_environment.windows)
        return;
    m_environment.windows->application.activateIgnoringOtherApps();
    auto& window = m_environment.windows->window;
    if (!m_environment.preferences.value("NSWindow Frame MainWindow"))
        window.center();
    m_isMountListShown = true;
    selectSomeHost();
    window.makeKeyAndOrderFront();
}

void QuorrelAppDelegate::showPreferences() {
    if (!m_environment.windows)
        return;
    auto& window = m_environment.windows->preferences;
    window.center();
    window.orderFrontRegardless();
    window.makeKeyAndOrderFront();
}

void QuorrelAppDelegate::switchTab(const MenuItem& sender) {
    if (m_environment.windows)
        m_environment.windows->preferences.selectTabViewItemWithIdentifier(std::to_string(sender.tag));
}

void QuorrelAppDelegate::showAbout() {
    const auto& strings = m_environment.strings;
    if (m_environment.windows)
        m_environment.windows->application.orderFrontStandardAboutPanel(
            { "Quorrel", m_environment.version, strings.text("Keeps network shares mounted."),
                strings.text("GNU General Public License, version 3 or later") });
}

void QuorrelAppDelegate::help() {
    if (!m_environment.helpPage.empty())
        open(m_environment.helpPage, m_environment.strings.text("The help page could not be opened."));
}

void QuorrelAppDelegate::openMountedFolder() {
    const auto sharePoint = selectedSharePoint();
    const auto path = sharePoint ? textOf(sharePoint->volumePath.get()) : std::string();
    if (sharePoint && sharePoint->mounted.get() && !path.empty())
        open(path, Text::filledOnOneLine(m_environment.strings.text("The folder %@ could not be opened."), { path }));
}

void QuorrelAppDelegate::open(const std::string& url, const std::string& complaint) {
    if (m_environment.workspace.openURL(url))
        return;
    m_environment.log.line("Nothing could be started to open %@", { url });
    if (m_environment.windows)
        m_environment.windows->window.showNotice(
            complaint, m_environment.strings.text("No program for it could be started."));
}

void QuorrelAppDelegate::toggleFavroite() {
    const auto sharePoint = selectedSharePoint();
    if (!sharePoint)
        return;
    sharePoint->favroite.set(!isSet(sharePoint->favroite.get()));
    sendSaveNotification();
}

QuorrelAppDelegate::HostPointer QuorrelAppDelegate::selectedHost() const {
    const auto& selected = hostsArrayController.selectedObjects();
    return selected.empty() ? nullptr : selected.front();
}

} // namespace quorrel
