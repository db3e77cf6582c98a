// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ObservableList.h"
#include "Foundation/Property.h"
#include "Sources/AddMountWindow.h"
#include "Sources/CatalogueContext.h"
#include "Sources/CatalogueLists.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

class NotificationCenter;
class ServiceDefinition;
class TextList;

/// The sheet that adds a share point or changes one. One object serves for the program's life. Main thread.
///
/// The fields are what the sheet's controls show and write; every field is observable under its own name. After each
/// change of the catalogue it posts "900".
class AddMountWindowController final : public Observable {
public:
    using HostPointer = std::shared_ptr<HostDefinition>;
    using SharePointPointer = std::shared_ptr<SharePointDefinition>;
    using SavedHandler = std::function<void(const SharePointPointer& saved)>;

    /// All of it must outlive the controller. A sheet that is still open then is hidden.
    AddMountWindowController(AddMountWindow& window, ObservableList<HostPointer>& hosts,
        CatalogueContextPointer context, NotificationCenter& notificationCenter);
    ~AddMountWindowController();

    // Before each run
    void setIsAdd(bool isAdd) { m_isAdd = isAdd; }
    void setIsEdit(bool isEdit) { m_isEdit = isEdit; }
    /// The share point to edit; null when adding. Not owned.
    void setMount(const SharePointPointer& mount) { m_mount = mount; }
    /// Borrowed; null: none.
    void setHostsArrayController(const HostListController* hosts) { m_hostsArrayController = hosts; }
    void setBonjourServices(const TextList* names) { m_bonjourServices = names; }
    /// Called with each share point that was added, after the post of "900".
    void setSavedHandler(SavedHandler handler) { m_savedHandler = std::move(handler); }

    void showSheetForWindow();
    void addMountSaveAction();
    /// What the user's wish to cancel comes to: at once, or after a question where the edited share would be lost.
    void askToCancel();
    void cancelMountSheet();
    void selectScript();
    void didEndSheet();

    [[nodiscard]] bool isAdd() const { return m_isAdd; }
    [[nodiscard]] bool isEdit() const { return m_isEdit; }
    /// From `showSheetForWindow` to `didEndSheet`; meanwhile no other run is to be prepared.
    [[nodiscard]] bool isShown() const { return m_sheet != nullptr; }
    /// What the combo box offers: the catalogue's hosts and the servers seen, each once, sorted. Observable.
    [[nodiscard]] std::vector<std::string> serverNames() const;
    /// For whoever knows that servers came or went.
    void serverNamesChanged();
    /// Whether the share point that was edited is out of the catalogue, because what it was to become stood there
    /// already; saving under another name brings it back. Observable under "isEditedMountRemoved".
    [[nodiscard]] bool isEditedMountRemoved() const { return m_isEditedMountRemoved.get(); }

    const std::vector<std::string> transportTypes;
    // The names are fixed: observers know the fields by them.
    // NOLINTBEGIN(bugprone-reserved-identifier)
    Property<OptionalText> _Name { *this, "_Name" };
    Property<OptionalText> _DisplayType { *this, "_DisplayType" };
    Property<OptionalText> _SharePoint { *this, "_SharePoint" };
    Property<OptionalText> _UserName { *this, "_UserName" };
    Property<OptionalText> _Password { *this, "_Password" };
    Property<OptionalFlag> _PasswordPrompt { *this, "_PasswordPrompt" };
    Property<OptionalFlag> _GuestLogin { *this, "_GuestLogin" };
    Property<OptionalFlag> _Automatically { *this, "_Automatically" };
    Property<OptionalFlag> _Favroite { *this, "_Favroite" };
    Property<OptionalText> _script { *this, "_script" };
    Property<OptionalText> _scriptArguments { *this, "_scriptArguments" };
    Property<OptionalFlag> _isDelayed { *this, "_isDelayed" };
    Property<std::optional<double>> _delaySeconds { *this, "_delaySeconds" };
    // NOLINTEND(bugprone-reserved-identifier)

private:
    struct Sheet;

    void fillFrom(const SharePointDefinition& mount);
    void takeSelectedHost();
    void endSheet();

    /// Says what is wrong with the fields; false: nothing is.
    [[nodiscard]] bool complains();
    void alert(const std::string& title, const std::string& message,
        std::optional<AddMountWindow::Control> focusAfterwards = std::nullopt);

    void removeEditedMount();
    /// The new one; null, with an alert, when it stands there already.
    [[nodiscard]] SharePointPointer addSharePoint();
    [[nodiscard]] SharePointPointer addToHost(const HostPointer& host);
    void refuseDuplicate();
    [[nodiscard]] SharePointPointer addWithNewHost();
    [[nodiscard]] std::shared_ptr<ServiceDefinition> addService(const HostPointer& host) const;
    enum class EmptyPassword { Copied, LeftOut };
    [[nodiscard]] SharePointPointer newSharePoint(const HostPointer& host,
        const std::shared_ptr<ServiceDefinition>& service, EmptyPassword emptyPassword = EmptyPassword::Copied) const;

    AddMountWindow& m_window;
    ObservableList<HostPointer>& m_hosts;
    const CatalogueContextPointer m_context;
    NotificationCenter& m_notificationCenter;
    const HostListController* m_hostsArrayController = nullptr;
    const TextList* m_bonjourServices = nullptr;
    SavedHandler m_savedHandler;
    std::weak_ptr<SharePointDefinition> m_mount;
    bool m_isAdd = false;
    bool m_isEdit = false;
    std::shared_ptr<Sheet> m_sheet; // null while none is shown
    Property<bool> m_isEditedMountRemoved { *this, "isEditedMountRemoved" };
};

} // namespace quorrel
