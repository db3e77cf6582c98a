// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/PlistFile.h"
#include "Platform/Linux/PosixChildProcess.h"
#include "Platform/PasswordWindow.h"
#include "Sources/BonjourResolver.h"
#include "Sources/HostDefinition.h"
#include "Sources/MountEnvironment.h"
#include "Sources/QuorrelAppDelegate.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace quorrel {

namespace BenchmarkParts {

class NoVolumes final : public VolumeService {
public:
    [[nodiscard]] MountReply mountServerVolume(const MountRequest&) override { return { VolumeStatus::notFound, 0 }; }
    [[nodiscard]] std::int32_t unmountVolume(std::int16_t) override { return VolumeStatus::notFound; }
    [[nodiscard]] std::vector<MountedVolume> mountedVolumes() override { return {}; }
    void interrupt() override { }
};

class NoDiscovery final : public DNSServiceDiscovery {
public:
    [[nodiscard]] std::unique_ptr<NetService> makeNetService(
        const std::optional<std::string>&, const std::string&, const std::string&) override {
        return nullptr;
    }
};

class NobodyToAsk final : public PasswordWindow {
public:
    void focusPasswordField() override { }
    [[nodiscard]] Response runModal(PasswordWindowTarget&) override { return Response::Aborted; }
    void stopModal() override { }
    void abortModal() override { }
    void hide() override { }
};

class NoLog final : public LogSink {
public:
    void write(std::string_view) override { }
    [[nodiscard]] long processIdentifier() const override { return 0; }
    [[nodiscard]] long threadIdentifier() const override { return 0; }
};

/// A folder that goes with the object.
class Folder final {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "quorrel-benchmark-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            std::abort();
        m_path = name;
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    [[nodiscard]] const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace BenchmarkParts

/// A controller on the real file system that has that many share points in its catalogue and saved; one of seven is a
/// favourite.
class BenchmarkProgram final {
public:
    static constexpr std::int64_t sharePointsOfAHost = 10;

    /// What watches the world and what is shown must outlive the program; null: none.
    explicit BenchmarkProgram(std::int64_t sharePoints, const StatusBarEnvironment* statusBar = nullptr)
        : m_statusBar(statusBar) {
        std::vector<std::shared_ptr<HostDefinition>> hosts;
        for (std::int64_t first = 0; first < sharePoints; first += sharePointsOfAHost)
            hosts.push_back(HostDefinition::initWithDictionary(host(first), controller.catalogueContext()));
        controller.hosts.replace(std::move(hosts));
        controller.saveHostsArray();
    }

    [[nodiscard]] std::size_t fileSize() {
        return std::filesystem::file_size(controller.applicationSupportFolder() + "/Quorrel2.plist");
    }

private:
    static Dictionary host(std::int64_t first) {
        const std::string service = "Server Message Block (smb)";
        Dictionary result;
        result.set("displayName", "server-" + std::to_string(first) + ".example.com");
        result.set("hostName", "server-" + std::to_string(first) + ".local");
        Dictionary offered;
        offered.set("displayType", service);
        result.set("services", PropertyValue::Array { offered });
        PropertyValue::Array sharePoints;
        for (std::int64_t index = first; index < first + sharePointsOfAHost; ++index) {
            Dictionary sharePoint;
            sharePoint.set("displayType", service);
            sharePoint.set("sharePoint", "Share number " + std::to_string(index));
            sharePoint.set("userName", "user");
            sharePoint.set("password", "password");
            sharePoint.set("favroite", index % 7 == 0);
            sharePoint.set("delaySeconds", 2.5);
            sharePoints.emplace_back(std::move(sharePoint));
        }
        result.set("sharePoints", std::move(sharePoints));
        return result;
    }

    BenchmarkParts::Folder m_home;
    Preferences m_preferences;
    SystemClock m_clock;
    BenchmarkParts::NoLog m_sink;
    Log m_log { m_preferences, m_clock, m_sink };
    StringTable m_strings;
    LinuxWorkspace m_workspace { { m_home.path(), m_home.path(), QUORREL_ICONS, "unix:path=/nonexistent" } };
    BenchmarkParts::NoVolumes m_volumes;
    BenchmarkParts::NoDiscovery m_discovery;
    PosixChildProcess m_childProcess;
    PlistFile m_plistFile;
    MainThreadQueue m_mainThreadQueue;
    NotificationCenter m_notificationCenter;
    const StatusBarEnvironment* const m_statusBar;
    BenchmarkParts::NobodyToAsk m_passwordWindow;
    MountEnvironment m_mounting { m_volumes, m_childProcess, m_clock, m_log, m_strings };
    ResolverEnvironment m_resolving { m_discovery, m_childProcess, m_log };

public:
    QuorrelAppDelegate controller { { { m_mounting, m_resolving, m_preferences, m_notificationCenter, m_plistFile,
                                          m_workspace, m_strings, m_log, m_mainThreadQueue },
        m_passwordWindow, nullptr, m_statusBar } };
};

} // namespace quorrel
