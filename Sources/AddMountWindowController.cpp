// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/AddMountWindowController.h"

#include "Foundation/NotificationCenter.h"
#include "Foundation/Text.h"
#include "Foundation/TextList.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/SharePointRemoval.h"

#include <algorithm>
#include <set>
#include <utility>

namespace quorrel {

namespace {

constexpr const char* appleService = "Apple Filing Protocol (afp)";
constexpr const char* fileTransferService = "File Transfer Protocol (ftp)";

bool isEmpty(const OptionalText& text) {
    return textOf(text).empty();
}

/// Whether the host has a share point of that name under that service. The host's own search by name finds the first
/// of all services only.
bool holds(const HostDefinition& host, const OptionalText& name, const std::shared_ptr<ServiceDefinition>& service) {
    const auto all = host.sharePoints.snapshot();
    return std::any_of(all.begin(), all.end(), [&](const auto& each) {
        return each->sharePoint.get() == name && each->parentService.get().lock() == service;
    });
}

} // namespace

/// What alerts and panels that a sheet left open hold weakly, so that they never reach the next sheet.
struct AddMountWindowController::Sheet final {
    bool isEnding = false;
    bool hasRemovedMount = false;
};

AddMountWindowController::AddMountWindowController(AddMountWindow& window, ObservableList<HostPointer>& hosts,
    CatalogueContextPointer context, NotificationCenter& notificationCenter)
    : transportTypes { appleService, "Server Message Block (smb)", "Common Internet File System (cifs)",
        "WebDAV (http)", "Secure WebDAV (https)", fileTransferService }
    , m_window(window)
    , m_hosts(hosts)
    , m_context(std::move(context))
    , m_notificationCenter(notificationCenter) { }

AddMountWindowController::~AddMountWindowController() {
    if (m_sheet)
        m_window.orderOut();
}

void AddMountWindowController::showSheetForWindow() {
    if (m_sheet)
        return;
    m_sheet = std::make_shared<Sheet>();
    _DisplayType.set(appleService);
    _Automatically.set(true);
    if (const auto mount = m_mount.lock())
        fillFrom(*mount);
    if (m_isAdd && m_hostsArrayController)
        takeSelectedHost();
    m_window.beginSheet(*this);
}

void AddMountWindowController::fillFrom(const SharePointDefinition& mount) {
    const auto host = mount.parentHost.get().lock();
    const auto service = mount.parentService.get().lock();
    _Name.set(host ? host->displayName.get() : std::nullopt);
    _DisplayType.set(service ? service->displayType.get() : std::nullopt);
    _SharePoint.set(mount.sharePoint.get());
    _UserName.set(mount.userName.get());
    _Password.set(mount.password.get());
    _PasswordPrompt.set(mount.passwordPrompt.get());
    _GuestLogin.set(mount.guestLogin.get());
    _Automatically.set(mount.automatically.get());
    _Favroite.set(mount.favroite.get());
    _script.set(mount.script.get());
    _scriptArguments.set(mount.scriptArguments.get());
    _isDelayed.set(mount.isDelayed.get());
    _delaySeconds.set(mount.delaySeconds.get());
}

void AddMountWindowController::takeSelectedHost() {
    const auto& selected = m_hostsArrayController->selectedObjects();
    if (selected.empty()) {
        m_window.focus(AddMountWindow::Control::ServerName);
        return;
    }
    _Name.set(selected.front()->displayName.get());
    m_window.focus(AddMountWindow::Control::SharePoint);
}

void AddMountWindowController::addMountSaveAction() {
    if (!m_sheet || m_sheet->isEnding || complains())
        return;
    if (m_isEdit) {
        removeEditedMount();
        m_isAdd = true;
    }
    const auto added = m_isAdd ? addSharePoint() : nullptr;
    if (!added)
        return;
    endSheet();
    m_notificationCenter.post("900", this);
    if (m_savedHandler)
        m_savedHandler(added);
}

void AddMountWindowController::askToCancel() {
    if (!isEditedMountRemoved()) {
        cancelMountSheet();
        return;
    }
    const auto& strings = m_context->strings;
    const AlertSheet question {
        .title = strings.text("Do you want to give up the share you were editing?"),
        .message = strings.text("It is no longer in the catalogue. Only saving it under another name brings it back."),
        .defaultButton = strings.text("Keep Editing"),
        .alternateButton = strings.text("Give Up"),
    };
    m_window.runQuestion(question, [this, sheet = std::weak_ptr(m_sheet)](AlertAnswer answer) {
        if (answer != AlertAnswer::Alternate || !sheet.lock())
            return;
        cancelMountSheet();
        // What was given up is to be out of the menus and of the file too, not back after the next start.
        m_notificationCenter.post("900", this);
    });
}

void AddMountWindowController::cancelMountSheet() {
    if (m_sheet && !m_sheet->isEnding)
        endSheet();
}

void AddMountWindowController::endSheet() {
    m_sheet->isEnding = true;
    m_window.endSheet();
}

void AddMountWindowController::didEndSheet() {
    m_window.orderOut();
    m_sheet.reset();
    for (auto* text : { &_Name, &_DisplayType, &_SharePoint, &_UserName, &_Password })
        text->set(std::nullopt);
    for (auto* flag : { &_PasswordPrompt, &_GuestLogin, &_Automatically, &_Favroite })
        flag->set(std::nullopt);
    _script.set(std::nullopt);
    _scriptArguments.set(std::nullopt);
    _isDelayed.set(std::nullopt);
    _delaySeconds.set(std::nullopt);
    m_isEditedMountRemoved.set(false);
    m_mount.reset();
}

void AddMountWindowController::selectScript() {
    if (!m_sheet)
        return;
    m_window.runOpenPanel(
        OpenPanelOptions(), [this, sheet = std::weak_ptr(m_sheet)](const std::optional<std::string>& path) {
            if (path && sheet.lock())
                _script.set(path);
        });
}

bool AddMountWindowController::complains() {
    using Control = AddMountWindow::Control;
    const auto& strings = m_context->strings;
    if (isEmpty(_Name.get())) {
        alert(strings.text("Oups!"), strings.text("Server Name is a needed field."), Control::ServerName);
        return true;
    }
    if (isEmpty(_SharePoint.get()) && _DisplayType.get() != fileTransferService) {
        alert(strings.text("Hey!"), strings.text("Share name is a needed field"), Control::SharePoint);
        return true;
    }
    if (isEmpty(_UserName.get()) && !isSet(_GuestLogin.get())) {
        alert(
            strings.text("Hey!"), strings.text("User Name needed, or check the guest login option"), Control::UserName);
        return true;
    }
    return false;
}

void AddMountWindowController::alert(
    const std::string& title, const std::string& message, std::optional<AddMountWindow::Control> focusAfterwards) {
    m_window.runAlert(
        title, message, m_context->strings.text("Ok"), [this, focusAfterwards, sheet = std::weak_ptr(m_sheet)] {
            if (focusAfterwards && sheet.lock())
                m_window.focus(*focusAfterwards);
        });
}

void AddMountWindowController::removeEditedMount() {
    const auto mount = m_mount.lock();
    // Once it is out, whatever else is saved from this sheet is an addition.
    m_mount.reset();
    const auto host = mount ? mount->parentHost.get().lock() : nullptr;
    if (!host)
        return;
    removeSharePoint(m_hosts, host, mount);
    m_sheet->hasRemovedMount = true;
}

AddMountWindowController::SharePointPointer AddMountWindowController::addSharePoint() {
    const auto hosts = m_hosts.snapshot();
    const auto found = std::find_if(
        hosts.begin(), hosts.end(), [name = _Name.get()](const auto& host) { return host->displayName.get() == name; });
    return found != hosts.end() ? addToHost(*found) : addWithNewHost();
}

AddMountWindowController::SharePointPointer AddMountWindowController::addToHost(const HostPointer& host) {
    const auto name = _SharePoint.get();
    auto service = host->serviceForDisplayType(_DisplayType.get());
    const bool isNameTaken = service && host->sharePointForName(name);
    if (isNameTaken && holds(*host, name, service)) {
        refuseDuplicate();
        return nullptr;
    }
    if (!service)
        service = addService(host);
    auto sharePoint = newSharePoint(host, service, isNameTaken ? EmptyPassword::LeftOut : EmptyPassword::Copied);
    sharePoint->resetStatus();
    host->sharePoints.append(sharePoint);
    host->updateCounts();
    return sharePoint;
}

void AddMountWindowController::refuseDuplicate() {
    if (m_sheet->hasRemovedMount)
        m_isEditedMountRemoved.set(true);
    const auto& strings = m_context->strings;
    alert(strings.text("Oups!"),
        Text::filledOnOneLine(strings.text("%@ already exists for %@ under the %@ service.\n Can't add."),
            { textOf(_SharePoint.get()), textOf(_Name.get()), textOf(_DisplayType.get()) }));
}

AddMountWindowController::SharePointPointer AddMountWindowController::addWithNewHost() {
    const auto host = HostDefinition::initWithName(textOf(_Name.get()), m_context);
    const auto service = addService(host);
    host->icon.set(_DisplayType.get() == appleService ? Globals::getDefaultMacComputerIcon(m_context->workspace)
                                                      : Globals::getDefaultPCComputerIcon(m_context->workspace));
    auto sharePoint = newSharePoint(host, service);
    host->sharePoints.append(sharePoint);
    host->updateCounts();
    m_hosts.append(host);
    host->resetStatus();
    return sharePoint;
}

std::shared_ptr<ServiceDefinition> AddMountWindowController::addService(const HostPointer& host) const {
    auto service = ServiceDefinition::initWithParentHost(host);
    service->displayType.set(_DisplayType.get());
    // As after loading, so that the server's next appearance finds the service by it.
    service->type.set(Globals::getFullServiceName(_DisplayType.get()));
    host->services.append(service);
    return service;
}

AddMountWindowController::SharePointPointer AddMountWindowController::newSharePoint(
    const HostPointer& host, const std::shared_ptr<ServiceDefinition>& service, EmptyPassword emptyPassword) const {
    auto result = std::make_shared<SharePointDefinition>(m_context);
    result->parentService.set(service);
    result->parentHost.set(host);
    result->setDisplayType(service->displayType.get());
    result->sharePoint.set(_SharePoint.get());
    result->userName.set(_UserName.get());
    if (emptyPassword == EmptyPassword::Copied || !isEmpty(_Password.get()))
        result->password.set(_Password.get());
    result->passwordPrompt.set(_PasswordPrompt.get());
    result->guestLogin.set(_GuestLogin.get());
    result->automatically.set(_Automatically.get());
    result->favroite.set(_Favroite.get());
    result->script.set(_script.get());
    result->scriptArguments.set(_scriptArguments.get());
    result->isDelayed.set(_isDelayed.get());
    result->delaySeconds.set(_delaySeconds.get());
    return result;
}

void AddMountWindowController::serverNamesChanged() {
    willChangeValueForKey("serverNames");
    didChangeValueForKey("serverNames");
}

std::vector<std::string> AddMountWindowController::serverNames() const {
    std::set<std::pair<std::string, std::string>> sorted; // in lower case, then as it is
    const auto add = [&](const std::string& name) {
        if (!name.empty())
            sorted.emplace(Text::lowerCase(name), name);
    };
    for (const auto& host : m_hosts.snapshot())
        add(textOf(host->displayName.get()));
    if (m_bonjourServices)
        for (const auto& name : m_bonjourServices->snapshot())
            add(name);
    std::vector<std::string> result;
    result.reserve(sorted.size());
    for (const auto& [lowerCase, name] : sorted)
        result.push_back(name);
    return result;
}

} // namespace quorrel
