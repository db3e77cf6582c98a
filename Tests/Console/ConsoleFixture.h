// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ConsoleProgram.h"
#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Preferences.h"
#include "Sources/BonjourResolver.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/MountEnvironment.h"
#include "Sources/ServiceDefinition.h"
#include "Tests/Console/RecordingOutput.h"
#include "Tests/Console/ScriptedPrompt.h"
#include "Tests/Fakes/Catalogue.h"
#include "Tests/Fakes/FakeCatalogueLock.h"
#include "Tests/Fakes/FakeChildProcess.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"
#include "Tests/Fakes/FakeFileWatch.h"
#include "Tests/Fakes/FakeNetworkReachability.h"
#include "Tests/Fakes/FakePreferencesStore.h"
#include "Tests/Fakes/FakePropertyListFile.h"
#include "Tests/Fakes/FakeRunLoop.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeVolumeService.h"
#include "Tests/Fakes/FakeVolumeWatch.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Fakes/RecordingServiceManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// The whole program among fakes. Hosts are dotted addresses, which need no look-up.
class ConsoleFixture : public testing::Test {
protected:
    std::shared_ptr<HostDefinition> addHost(const std::string& name, const std::vector<std::string>& shares) {
        auto host = catalogue.addHost(name, shares);
        auto service = ServiceDefinition::initWithParentHost(host);
        service->displayType.set("Server Message Block (smb)");
        host->services.append(service);
        for (const auto& share : host->sharePoints.snapshot()) {
            share->setDisplayType("Server Message Block (smb)");
            share->userName.set("ann");
            share->password.set("s3cret");
        }
        return host;
    }

    int run(const std::vector<std::string>& arguments) {
        output.clear();
        errors.clear();
        writeCatalogue();
        return program.run(arguments);
    }

    void writeCatalogue() {
        if (catalogue.hosts().empty())
            return;
        PropertyValue::Array hosts;
        for (const auto& host : catalogue.hosts())
            hosts.emplace_back(host->dictionary());
        files.put(cataloguePath, PropertyValue(std::move(hosts)));
    }

    ConsoleEnvironment environment() {
        const ProgramEnvironment surroundings { mounting, resolving, preferences, notificationCenter, files, workspace,
            strings, log, mainThreadQueue };
        // A new file has the version that it will have in its place.
        const auto version = [this](const std::string& path) {
            return catalogueVersion + std::to_string(files.writeCount() + (path.ends_with(".new") ? 1 : 0));
        };
        const auto beginAnew = [this] {
            ++beginnings;
            return std::string("there is no process");
        };
        return { surroundings, runLoop, output, errors, prompt, "/home/user", "/home/user/log", "1.2.3",
            { lock, preferencesFile, serviceManager, output, errors, version, beginAnew, true,
                [this]() -> const DiscoveryEnvironment& { return world; } } };
    }

    void replyTo(const std::string& url, std::int32_t status) {
        FakeVolumeService::Reply reply;
        reply.status = status;
        volumes.setMountReply(url, std::move(reply));
    }

    static constexpr const char* cataloguePath = "/home/user/data/Quorrel/Quorrel2.plist";

    Catalogue catalogue;
    FakeClock clock;
    const std::shared_ptr<FakePreferencesStore> preferencesStore = std::make_shared<FakePreferencesStore>();
    Preferences preferences { preferencesStore };
    RecordingLogSink logSink;
    Log log { preferences, clock, logSink };
    FakeStringTable strings;
    FakeWorkspace workspace;
    FakeVolumeService volumes { clock };
    FakeChildProcess childProcess;
    FakeDNSServiceDiscovery discovery;
    FakePropertyListFile files;
    NotificationCenter notificationCenter;
    MainThreadQueue mainThreadQueue;
    FakeRunLoop runLoop { mainThreadQueue };
    ScriptedPrompt prompt;
    RecordingOutput output;
    RecordingOutput errors;
    MountEnvironment mounting { volumes, childProcess, clock, log, strings };
    ResolverEnvironment resolving { discovery, childProcess, log };
    FakeVolumeWatch volumeWatch;
    FakeNetworkReachability reachability;
    const DiscoveryEnvironment world { discovery, volumeWatch, reachability, runLoop, childProcess, workspace,
        notificationCenter, log };
    FakeCatalogueLock lock;
    FakeFileWatch preferencesFile;
    RecordingServiceManager serviceManager;
    std::string catalogueVersion = "1";
    int beginnings = 0; // anew
    ConsoleProgram program { environment() };
};

} // namespace quorrel
