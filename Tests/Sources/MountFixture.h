// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Sources/MountEnvironment.h"
#include "Tests/Fakes/FakeChildProcess.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeVolumeService.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Sources/CatalogueFixture.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// The host "server", resolved and with every service, and what mounts its shares, with the log on.
class MountFixture : public CatalogueFixture {
protected:
    MountFixture() {
        preferences.set("logToConsole", true);
        host = hostNamed("server");
        host->resolved.set(true);
        for (const auto* type : { afp, smb, cifs, nfs, ftp, webDav, secureWebDav })
            addService(host, type);
    }

    /// The user ann's.
    std::shared_ptr<SharePointDefinition> share(
        const std::string& displayType, const std::string& name = "Data") const {
        auto result = addSharePoint(host, displayType, name);
        result->userName.set("ann");
        result->password.set("p@ss");
        return result;
    }

    void replyWith(std::initializer_list<std::int32_t> statuses) {
        for (const auto status : statuses) {
            FakeVolumeService::Reply reply;
            reply.status = status;
            volumes.enqueueMountReply(std::move(reply));
        }
    }

    [[nodiscard]] std::vector<std::string> requestedUrls() const {
        std::vector<std::string> urls;
        for (const auto& request : volumes.requests())
            urls.push_back(request.url);
        return urls;
    }

    [[nodiscard]] std::ptrdiff_t countOfLine(const std::string& line) const {
        const auto texts = sink.texts();
        return std::count(texts.begin(), texts.end(), line);
    }

    Preferences preferences;
    FakeClock clock;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
    FakeVolumeService volumes { clock };
    FakeChildProcess childProcess;
    MountEnvironment environment { volumes, childProcess, clock, log, strings };
    std::shared_ptr<HostDefinition> host;
};

} // namespace quorrel
