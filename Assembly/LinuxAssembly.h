// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Platform/Linux/GettextStringTable.h"
#include "Platform/Linux/GlibRunLoop.h"
#include "Platform/Linux/LinuxNetworkReachability.h"
#include "Platform/Linux/LinuxVolumeService.h"
#include "Platform/Linux/LinuxVolumeWatch.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/PlistFile.h"
#include "Platform/Linux/PosixChildProcess.h"
#include "Platform/Linux/RunningTools.h"
#include "Platform/Linux/StandardErrorLogSink.h"
#include "Platform/Linux/StandardPaths.h"
#include "Sources/BonjourResolver.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/LookupAhead.h"
#include "Sources/MountEnvironment.h"
#include "Sources/ProgramEnvironment.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace quorrel {

/// What every program of ours is made of on this machine, put together. Made and destroyed on the main thread.
class LinuxAssembly final {
public:
    /// The folders hold the translations and the icons.
    LinuxAssembly(const StandardPaths& paths, const std::string& localeFolder, const std::string& iconsFolder);
    LinuxAssembly(const LinuxAssembly&) = delete;
    LinuxAssembly& operator=(const LinuxAssembly&) = delete;
    ~LinuxAssembly();

    [[nodiscard]] ProgramEnvironment environment();
    /// For programs that watch network and volumes. Made on first use: it listens to the session bus from then on, and
    /// others shall not pay for that.
    [[nodiscard]] const DiscoveryEnvironment& discovery();
    [[nodiscard]] const StandardPaths& paths() const { return m_paths; }
    [[nodiscard]] GlibRunLoop& runLoop() { return m_runLoop; }
    [[nodiscard]] VolumeService& volumes() { return m_volumes; }
    /// Ends the tools that look up names: right before the process ends. Any thread.
    void endTools() { m_runningTools->endAll(); }

private:
    /// With two name servers that are dead, nslookup gives up by itself after 20 seconds.
    static constexpr ProgramBounds boundsOfTools { std::chrono::seconds(25), std::size_t { 1024 } * 1024 };

    const StandardPaths m_paths;
    SystemClock m_clock;
    Preferences m_preferences;
    StandardErrorLogSink m_logSink;
    Log m_log;
    GettextStringTable m_strings;
    MainThreadQueue m_mainThreadQueue;
    GlibRunLoop m_runLoop;
    NotificationCenter m_notificationCenter;
    PlistFile m_propertyListFile;
    LinuxWorkspace m_workspace;
    const std::shared_ptr<RunningTools> m_runningTools = std::make_shared<RunningTools>();
    PosixChildProcess m_childProcess; // the user's scripts, which outlive the program
    PosixChildProcess m_tools { m_runningTools, boundsOfTools };
    LinuxVolumeService m_volumes;
    AvahiServiceDiscovery m_discovery;
    MountEnvironment m_mounting;
    LookupAhead m_lookupAhead;
    ResolverEnvironment m_resolving;
    LinuxNetworkReachability m_reachability { m_runningTools };
    std::optional<LinuxVolumeWatch> m_volumeWatch;
    std::optional<DiscoveryEnvironment> m_watching;
};

} // namespace quorrel
