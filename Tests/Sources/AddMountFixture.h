// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/NotificationCenter.h"
#include "Foundation/TextList.h"
#include "Sources/AddMountWindowController.h"
#include "Tests/Fakes/FakeAddMountWindow.h"
#include "Tests/Sources/CatalogueFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// A share editor on a catalogue without a controller around it.
class AddMountFixture : public CatalogueFixture {
protected:
    using HostPointer = std::shared_ptr<HostDefinition>;
    using SharePointPointer = std::shared_ptr<SharePointDefinition>;
    using Alert = FakeAddMountWindow::Alert;

    struct Catalogue final : Observable {
        ObservableList<HostPointer> hosts { *this, "hosts" };
        TextList names { *this, "bonjourServices" };
    };

    AddMountFixture() {
        sheet->setHostsArrayController(&hostsList);
        sheet->setBonjourServices(&catalogue.names);
    }

    /// A host in the catalogue with one service and share points under it.
    HostPointer addHost(
        const std::string& name, const std::string& service, std::initializer_list<const char*> shares = {}) {
        auto host = hostNamed(name);
        addService(host, service);
        for (const char* share : shares)
            addSharePoint(host, service, share);
        catalogue.hosts.append(host);
        return host;
    }

    void showToAdd() {
        sheet->setIsAdd(true);
        sheet->setIsEdit(false);
        sheet->setMount(nullptr);
        sheet->showSheetForWindow();
    }

    void showToEdit(const SharePointPointer& mount) {
        sheet->setIsAdd(false);
        sheet->setIsEdit(true);
        sheet->setMount(mount);
        sheet->showSheetForWindow();
    }

    /// Fills what every share point needs; a guest's.
    void type(const std::string& server, const std::string& service, const OptionalText& share) {
        sheet->_Name.set(server);
        sheet->_DisplayType.set(service);
        sheet->_SharePoint.set(share);
        sheet->_GuestLogin.set(true);
    }

    void add(const std::string& server, const std::string& service, const OptionalText& share) {
        showToAdd();
        type(server, service, share);
        sheet->addMountSaveAction();
    }

    [[nodiscard]] HostPointer host(std::size_t index) const { return catalogue.hosts.snapshot().at(index); }

    [[nodiscard]] std::vector<std::string> hostNames() const {
        std::vector<std::string> result;
        for (const auto& host : catalogue.hosts.snapshot())
            result.push_back(textOf(host->displayName.get()));
        return result;
    }

    static std::string under(const std::string& share, const std::string& service) {
        return share + " under " + service;
    }

    /// As "SHARE under SERVICE".
    static std::vector<std::string> sharesOf(const HostPointer& host) {
        std::vector<std::string> result;
        for (const auto& each : host->sharePoints.snapshot()) {
            const auto service = each->parentService.get().lock();
            result.push_back(
                under(textOf(each->sharePoint.get()), service ? textOf(service->displayType.get()) : "nothing"));
        }
        return result;
    }

    static std::vector<std::string> servicesOf(const HostPointer& host) {
        std::vector<std::string> result;
        for (const auto& each : host->services.snapshot())
            result.push_back(textOf(each->displayType.get()));
        return result;
    }

    Catalogue catalogue;
    HostListController hostsList { [](const HostPointer&, std::string_view) { return std::string(); } };
    NotificationCenter notificationCenter;
    FakeAddMountWindow window;
    std::unique_ptr<AddMountWindowController> sheet
        = std::make_unique<AddMountWindowController>(window, catalogue.hosts, context, notificationCenter);
    std::vector<Notification> saves;
    Subscription savesSubscription
        = notificationCenter.addObserver("900", [this](const Notification& each) { saves.push_back(each); });
};

} // namespace quorrel
