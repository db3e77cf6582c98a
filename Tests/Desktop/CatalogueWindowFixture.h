// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/DesktopEnvironment.h"
#include "Desktop/ImageLoader.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Preferences.h"
#include "Sources/CatalogueLists.h"
#include "Tests/Fakes/FakeActionTarget.h"
#include "Tests/Fakes/FakePreferencesStore.h"
#include "Tests/Sources/CatalogueFixture.h"

#include <QApplication>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorrel {

/// What the main window shows and hands actions on to: two lists, of which the second follows the first one's
/// selection, and a target that remembers.
class CatalogueWindowFixture : public CatalogueFixture {
protected:
    using HostPointer = std::shared_ptr<HostDefinition>;
    using SharePointPointer = std::shared_ptr<SharePointDefinition>;

    explicit CatalogueWindowFixture(FakeStringTable::Texts texts = {})
        : CatalogueFixture(std::move(texts)) {
        hosts.setSortDescriptors({ { "displayName", SortOrder::Ascending } });
        sharePoints.setSortDescriptors({ { "sharePoint", SortOrder::Ascending } });
        m_following = hosts.observe([this](ListChange change) {
            if (change == ListChange::Selection)
                showSelectedHost();
        });
    }

    HostPointer addHost(const std::string& name, const std::vector<std::string>& shares = {}) {
        auto host = hostNamed(name);
        addService(host, smb);
        for (const auto& share : shares)
            addSharePoint(host, smb, share)->userName.set("anna");
        auto content = hosts.arrangedObjects();
        content.push_back(host);
        hosts.setContent(content);
        return host;
    }

    void select(const HostPointer& host) { hosts.setSelectedObjects({ host }); }

    /// As when the controller hears that shares came or went.
    void showSelectedHost() {
        const auto& selected = hosts.selectedObjects();
        sharePoints.setContent(selected.empty() ? HostDefinition::SharePoints() : selected[0]->sharePoints.snapshot());
    }

    /// One turn of the main thread: what workers posted, then what widgets did.
    void turn() {
        queue.runPending();
        QApplication::processEvents();
    }

    std::vector<std::string> takePerformed() {
        turn();
        return actions.takePerformed();
    }

    std::shared_ptr<FakePreferencesStore> store = std::make_shared<FakePreferencesStore>();
    Preferences preferences { store };
    MainThreadQueue queue;
    FakeActionTarget actions;
    ImageLoader images;
    DesktopEnvironment environment { actions, strings, preferences, queue };
    HostListController hosts { [](const HostPointer& host, std::string_view) {
        return textOf(host->displayName.get());
    } };
    SharePointListController sharePoints { [](const SharePointPointer& sharePoint, std::string_view) {
        return textOf(sharePoint->sharePoint.get());
    } };

private:
    Subscription m_following;
};

} // namespace quorrel
