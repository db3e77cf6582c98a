// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/StringTable.h"
#include "Sources/AddMountWindowController.h"
#include "Sources/ControllerWindows.h"
#include "Sources/HostDefinition.h"
#include "Sources/MainWindow.h"
#include "Sources/PasswordWindowController.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/SharePointRemoval.h"

namespace quorrel {

void QuorrelAppDelegate::getHostPassword(const SharePointPointer& sharePoint) {
    if (!sharePoint || !isSet(sharePoint->passwordPrompt.get()))
        return;
    const auto service = sharePoint->parentService.get().lock();
    const auto host = service ? service->parentHost.get().lock() : nullptr;
    if (!host || host->passwordIsEmpty())
        showHostPasswordWindow(sharePoint);
}

void QuorrelAppDelegate::showHostPasswordWindow(const SharePointPointer& sharePoint) {
    if (!m_passwordWindowController)
        m_passwordWindowController = std::make_unique<PasswordWindowController>(m_environment.passwordWindow);
    m_passwordWindowController->setMount(sharePoint);
    m_passwordWindowController->showWindowModal();
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
    }
    return m_addMountWindowController->isShown() ? nullptr : m_addMountWindowController.get();
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

void QuorrelAppDelegate::showMountList() { }
void QuorrelAppDelegate::showPreferences() { }
void QuorrelAppDelegate::switchTab(const MenuItem&) { }
void QuorrelAppDelegate::showAbout() { }
void QuorrelAppDelegate::help() { }
void QuorrelAppDelegate::openMountedFolder() { }
void QuorrelAppDelegate::toggleFavroite() { }

} // namespace quorrel
