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
#include "Platform/NetworkReachability.h"
#include "Platform/PasswordWindow.h"
#include "Platform/RunLoop.h"
#include "Platform/StatusBar.h"
#include "Platform/Timers.h"
#include "Platform/VolumeWatch.h"
#include "Sources/BonjourResolver.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/HostDefinition.h"
#include "Sources/MountEnvironment.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/SaveQueue.h"
#include "Sources/StatusBarEnvironment.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
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
    [[nodiscard]] std::unique_ptr<NetServiceBrowser> makeNetServiceBrowser() override { return nullptr; }
};

/// Tells of what the benchmark says; to one observer.
class ToldVolumeWatch final : public VolumeWatch {
public:
    [[nodiscard]] Subscription registerDiskDisappearedCallback(Callback callback) override {
        disappeared = std::move(callback);
        return {};
    }
    [[nodiscard]] Subscription registerDiskAppearedCallback(Callback callback) override {
        appeared = std::move(callback);
        return {};
    }

    Callback disappeared;
    Callback appeared;
};

/// Its host is never heard of.
class NoReachability final : public NetworkReachability {
public:
    [[nodiscard]] std::unique_ptr<ReachabilityReference> createWithName(const std::string&) override {
        class Reference final : public ReachabilityReference {
            [[nodiscard]] std::optional<std::uint32_t> flags() const override { return std::nullopt; }
            void setCallback(Callback) override { }
            [[nodiscard]] bool scheduleWithRunLoop(RunLoop&) override { return true; }
            void unscheduleFromRunLoop(RunLoop&) override { }
        };
        return std::make_unique<Reference>();
    }
};

class NoRunLoop final : public RunLoop {
public:
    void run() override { }
    void quit() override { }
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

class NoStatusItem final : public StatusItem {
public:
    void setImage(const Image&) override { }
    void setAlternateImage(const Image&) override { }
    void setHighlightMode(bool) override { }
    void setMenu(std::shared_ptr<Menu>) override { }
};

class NoStatusBar final : public StatusBar {
public:
    [[nodiscard]] std::unique_ptr<StatusItem> statusItemWithLength(double) override {
        return std::make_unique<NoStatusItem>();
    }
};

class NoTimers final : public Timers {
public:
    [[nodiscard]] std::unique_ptr<Timer> scheduleRepeating(Seconds, std::function<void()>) override { return nullptr; }
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

    /// The status bar and the network must outlive the program. Without them it shows nothing and watches nothing.
    explicit BenchmarkProgram(std::int64_t sharePoints, const StatusBarEnvironment* statusBar = nullptr,
        DNSServiceDiscovery* network = nullptr)
        : m_statusBar(statusBar)
        , m_discovery(network ? *network : m_noDiscovery)
        , m_isWatching(network != nullptr) {
        std::vector<std::shared_ptr<HostDefinition>> hosts;
        for (std::int64_t first = 0; first < sharePoints; first += sharePointsOfAHost)
            hosts.push_back(HostDefinition::initWithDictionary(host(first), controller.catalogueContext()));
        controller.hosts.replace(std::move(hosts));
        controller.saveHostsArray();
        m_saves.finish();
    }

    [[nodiscard]] Preferences& preferences() { return m_preferences; }
    [[nodiscard]] MainThreadQueue& mainThreadQueue() { return m_mainThreadQueue; }

    [[nodiscard]] SaveQueue& saves() { return m_saves; }
    [[nodiscard]] BenchmarkParts::ToldVolumeWatch& volumes() { return m_volumeWatch; }

    [[nodiscard]] std::size_t fileSize() {
        return std::filesystem::file_size(controller.applicationSupportFolder() + "/Quorrel2.plist");
    }

private:
    static Dictionary host(std::int64_t first) {
        const std::string service = "Apple Filing Protocol (afp)";
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
    PosixChildProcess m_childProcess;
    PlistFile m_plistFile;
    MainThreadQueue m_mainThreadQueue;
    SaveQueue m_saves { m_mainThreadQueue, m_log };
    NotificationCenter m_notificationCenter;
    BenchmarkParts::ToldVolumeWatch m_volumeWatch;
    BenchmarkParts::NoReachability m_reachability;
    BenchmarkParts::NoRunLoop m_runLoop;
    BenchmarkParts::NoDiscovery m_noDiscovery;
    const StatusBarEnvironment* const m_statusBar;
    DNSServiceDiscovery& m_discovery;
    const bool m_isWatching;
    const DiscoveryEnvironment m_watching { m_discovery, m_volumeWatch, m_reachability, m_runLoop, m_childProcess,
        m_workspace, m_notificationCenter, m_log };
    BenchmarkParts::NobodyToAsk m_passwordWindow;
    MountEnvironment m_mounting { m_volumes, m_childProcess, m_clock, m_log, m_strings };
    ResolverEnvironment m_resolving { m_discovery, m_childProcess, m_log };

public:
    QuorrelAppDelegate controller { { { m_mounting, m_resolving, m_preferences, m_notificationCenter, m_plistFile,
                                          m_workspace, m_strings, m_log, m_mainThreadQueue, &m_saves },
        m_passwordWindow, m_isWatching ? &m_watching : nullptr, m_statusBar } };
};

} // namespace quorrel
