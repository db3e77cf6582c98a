// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeWorkspace.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

inline constexpr auto afp = "Apple Filing Protocol (afp)";
inline constexpr auto smb = "Server Message Block (smb)";
inline constexpr auto cifs = "Common Internet File System (cifs)";
inline constexpr auto nfs = "Network File System (nfs)";
inline constexpr auto ftp = "File Transfer Protocol (ftp)";
inline constexpr auto webDav = "WebDAV (http)";
inline constexpr auto secureWebDav = "Secure WebDAV (https)";

/// Records on a made-up desktop.
class CatalogueFixture : public testing::Test {
protected:
    explicit CatalogueFixture(FakeStringTable::Texts texts = {})
        : strings(std::move(texts)) { }

    [[nodiscard]] std::shared_ptr<HostDefinition> hostNamed(const std::string& name) const {
        return HostDefinition::initWithName(name, context);
    }

    static std::shared_ptr<ServiceDefinition> addService(
        const std::shared_ptr<HostDefinition>& host, const std::string& displayType) {
        auto service = ServiceDefinition::initWithParentHost(host);
        service->displayType.set(displayType);
        host->services.append(service);
        return service;
    }

    static std::shared_ptr<SharePointDefinition> addSharePoint(
        const std::shared_ptr<HostDefinition>& host, const std::string& displayType, const std::string& name) {
        auto sharePoint = SharePointDefinition::initWithParentHost(host);
        sharePoint->setDisplayType(displayType);
        sharePoint->parentService.set(host->serviceForDisplayType(displayType));
        sharePoint->sharePoint.set(name);
        host->sharePoints.append(sharePoint);
        return sharePoint;
    }

    FakeWorkspace workspace;
    FakeStringTable strings;
    CatalogueContextPointer context = std::make_shared<CatalogueContext>(CatalogueContext { strings, workspace });
};

/// Keeps the keys that an object announces, "will " and "did " in front.
class AnnouncementRecorder final {
public:
    explicit AnnouncementRecorder(Observable& object)
        : m_subscription(object.observeAll([this](std::string_view key, Change change) {
            m_seen.push_back((change == Change::Will ? "will " : "did ") + std::string(key));
        })) { }

    [[nodiscard]] std::vector<std::string> take() { return std::exchange(m_seen, {}); }

private:
    std::vector<std::string> m_seen;
    Subscription m_subscription;
};

} // namespace quorrel
