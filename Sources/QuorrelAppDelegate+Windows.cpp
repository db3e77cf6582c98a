// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Sources/HostDefinition.h"
#include "Sources/PasswordWindowController.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"

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

void QuorrelAppDelegate::addMountSheet() { }
void QuorrelAppDelegate::editMountAction() { }
void QuorrelAppDelegate::deleteSelectedMount() { }
void QuorrelAppDelegate::sheetDidEndShouldDelete(AlertAnswer) { }
void QuorrelAppDelegate::showMountList() { }
void QuorrelAppDelegate::showPreferences() { }
void QuorrelAppDelegate::switchTab(const MenuItem&) { }
void QuorrelAppDelegate::showAbout() { }
void QuorrelAppDelegate::help() { }
void QuorrelAppDelegate::openMountedFolder() { }
void QuorrelAppDelegate::toggleFavroite() { }

} // namespace quorrel
