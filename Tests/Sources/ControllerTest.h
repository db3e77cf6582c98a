// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Preferences.h"
#include "Sources/BonjourResolver.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/HostDefinition.h"
#include "Sources/MountEnvironment.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/StatusBarEnvironment.h"
#include "Tests/Fakes/FakeChildProcess.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"
#include "Tests/Fakes/FakeNetworkReachability.h"
#include "Tests/Fakes/FakePasswordWindow.h"
#include "Tests/Fakes/FakePreferencesStore.h"
#include "Tests/Fakes/FakePropertyListFile.h"
#include "Tests/Fakes/FakeRunLoop.h"
#include "Tests/Fakes/FakeStatusBar.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeTimers.h"
#include "Tests/Fakes/FakeVolumeService.h"
#include "Tests/Fakes/FakeVolumeWatch.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Sources/EventRecord.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Holds the workers of a queue until it is opened.
class WorkerGate final {
public:
    void pass();
    void open();
    [[nodiscard]] bool waitForVisitors(int count);

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_visitors = 0;
    bool m_isOpen = false;
};

/// A controller among fakes: logging is on, nothing is browsed or scanned, and it has not been launched yet.
class ControllerTest : public ::testing::Test {
protected:
    static constexpr const char* afp = "Apple Filing Protocol (afp)";
    static constexpr const char* smb = "Server Message Block (smb)";
    static constexpr const char* ftp = "File Transfer Protocol (ftp)";
    static constexpr const char* nmblookup = "/usr/bin/nmblookup";
    static constexpr const char* cataloguePath = "/home/user/data/Quorrel/Quorrel2.plist";

    ControllerTest();
    ~ControllerTest() override;

    /// A host in the catalogue, with share points under one service.
    std::shared_ptr<HostDefinition> addHost(
        const std::string& name, const std::string& service, std::initializer_list<const char*> shares);
    static std::shared_ptr<SharePointDefinition> addShare(
        const std::shared_ptr<HostDefinition>& host, const std::string& service, const std::string& name);
    static std::shared_ptr<ServiceDefinition> addService(
        const std::shared_ptr<HostDefinition>& host, const std::string& service);
    /// Marks every share point as not automatic.
    static void mountNothingOnItsOwn(const std::shared_ptr<HostDefinition>& host);

    /// Keeps every worker busy, so that what is queued from now on waits and can be counted.
    void occupyQueue();
    /// What waits behind an occupied queue.
    [[nodiscard]] std::size_t waitingOperations();
    /// Lets the occupied queue go on, and waits for its end.
    void releaseQueue();
    void waitUntilIdle();

    /// The next mounts hang until the volumes are released.
    void hangMounts(int count);

    void announceService(int action, const std::string& name, const std::string& type);
    void announceVolume(int action, const std::string& name);
    /// Whether the watched host can be reached; said again, it is posted all the same.
    void announceReachability(bool isReachable);
    /// The names of the hosts whose models are watched.
    [[nodiscard]] std::vector<std::string> monitored() const;
    [[nodiscard]] std::size_t countOfLogged(std::string_view text) const;

    FakeClock clock;
    std::shared_ptr<FakePreferencesStore> store = std::make_shared<FakePreferencesStore>();
    Preferences preferences { store };
    RecordingLogSink logSink;
    Log log { preferences, clock, logSink };
    FakeStringTable strings;
    FakeWorkspace workspace;
    FakeVolumeService volumes { clock };
    FakeChildProcess childProcess;
    FakePropertyListFile files;
    FakePasswordWindow passwordWindow;
    MainThreadQueue mainThreadQueue;
    NotificationCenter notificationCenter;
    FakeRunLoop runLoop { mainThreadQueue };
    EventRecord events; ///< what the fakes below were asked for
    FakeDNSServiceDiscovery discovery;
    FakeVolumeWatch volumeWatch;
    FakeNetworkReachability reachability;
    FakeStatusBar statusBar;
    FakeTimers timers;
    TemporaryFolder folder;
    MountEnvironment mounting { volumes, childProcess, clock, log, strings };
    ResolverEnvironment resolving { discovery, childProcess, log };
    DiscoveryEnvironment watching { discovery, volumeWatch, reachability, runLoop, childProcess, workspace,
        notificationCenter, log, nmblookup, folder.path("hosts") };
    StatusBarEnvironment statusItem { statusBar, timers };
    ControllerEnvironment environment { { mounting, resolving, preferences, notificationCenter, files, workspace,
                                            strings, log, mainThreadQueue },
        passwordWindow, &watching, &statusItem };
    std::unique_ptr<QuorrelAppDelegate> controller = std::make_unique<QuorrelAppDelegate>(environment);

private:
    WorkerGate m_gate;
    std::optional<bool> m_wasReachable;
};

} // namespace quorrel
