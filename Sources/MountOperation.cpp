// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MountOperation.h"

#include "Foundation/WakeSignal.h"
#include "Sources/AFPMountOperation.h"
#include "Sources/FTPMountOperation.h"
#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/ShellScriptRunner.h"
#include "Sources/SMBMountOperation.h"
#include "Sources/WebDavMountOperation.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace quorrel {

namespace {

constexpr int mostWaits = 10;
constexpr Seconds waitLength { 5.0 };
constexpr int mostTries = 5;

/// Results that are worth another try at once: the server was not ready, or went away in the middle.
bool isTransient(std::int32_t status) {
    return status == VolumeStatus::ioError || status == 1;
}

int wholeSeconds(std::optional<double> seconds) {
    constexpr double largest = std::numeric_limits<int>::max();
    const double value = seconds.value_or(0);
    return value > -largest && value < largest ? static_cast<int>(value) : value > 0 ? static_cast<int>(largest) : 0;
}

} // namespace

std::shared_ptr<MountOperation> MountOperation::initWithSharePointDefinition(
    std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment) {
    return std::make_shared<MountOperation>(std::move(sharePoint), environment);
}

MountOperation::MountOperation(std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment)
    : m_mount(std::move(sharePoint))
    , m_environment(environment) { }

void MountOperation::main() {
    if (!m_mount)
        return;
    // A second operation for a share point that is being mounted ends at once, and its marks go with it.
    const bool isWanted = isSet(m_mount->automatically.get()) || m_mount->manualMount.get();
    if (!m_mount->mounting.get() && isWanted) {
        m_mount->setLastError(std::nullopt);
        m_mount->setMounting(true);
        mountWhenResolved();
    }
    m_mount->setMounting(false);
    m_mount->manualMount.set(false);
}

void MountOperation::mountWhenResolved() {
    waitOutDelay();
    if (!waitForResolution())
        return;
    log("Mounting :Host:%@ Mount:%@");
    mountServer();
    log("Mount Operation Finished for :Host:%@ Mount:%@");
    runScript();
}

void MountOperation::waitOutDelay() {
    if (!isSet(m_mount->isDelayed.get()))
        return;
    const int seconds = wholeSeconds(m_mount->delaySeconds.get());
    const auto host = this->host();
    m_environment.log.line("Delaying Mount %d seconds for :Host:%@ Mount:%@",
        { std::to_string(seconds), host ? textOf(host->displayName.get()) : "", textOf(m_mount->sharePoint.get()) });
    m_environment.clock.sleep(Seconds(seconds));
}

bool MountOperation::waitForResolution() {
    for (int wait = 0; wait < mostWaits && !isHostResolved(); ++wait) {
        log("Waiting resolve for :Host:%@ Mount:%@");
        pause(waitLength);
    }
    return isHostResolved();
}

void MountOperation::pause(Seconds duration) {
    // A resolver marks the host resolved before it has written all that it found out, the port above all, and ends
    // "resolving" last: woken by the first mark alone, the mount would run ahead of it.
    const auto isReady = [](const std::shared_ptr<HostDefinition>& host) {
        return host && host->resolved.get() && !host->resolving.get();
    };
    WakeSignal ready;
    Subscription subscription;
    if (const auto host = this->host())
        subscription
            = host->observeAll([&ready, &isReady, weakHost = std::weak_ptr(host)](std::string_view key, Change change) {
                  if (change == Change::Did && (key == "resolved" || key == "resolving") && isReady(weakHost.lock()))
                      ready.signal();
              });
    // A host that is resolved and lost again within one pause has the rest of it slept out, so that the whole wait
    // keeps its length.
    for (auto left = duration; left > Seconds::zero();) {
        ready.reset();
        if (isReady(host()))
            return;
        left -= m_environment.clock.sleep(left, &ready);
    }
}

void MountOperation::mountServer() {
    const auto mounter = this->mounter();
    if (!mounter)
        return;
    for (int tries = 1; isTransient(mounter->mountServer()) && tries < mostTries; ++tries) { }
}

std::unique_ptr<ProtocolMounter> MountOperation::mounter() const {
    using Factory = std::unique_ptr<ProtocolMounter> (*)(std::shared_ptr<SharePointDefinition>, MountEnvironment&);
    static constexpr std::array<std::pair<std::string_view, Factory>, 6> factories { {
        { "Apple Filing Protocol (afp)", AFPMountOperation::initWithSharePointDefinition },
        { "File Transfer Protocol (ftp)", FTPMountOperation::initWithSharePointDefinition },
        { "Server Message Block (smb)", SMBMountOperation::initWithSharePointDefinition },
        { "Common Internet File System (cifs)", SMBMountOperation::initWithSharePointDefinition },
        { "WebDAV (http)", WebDavMountOperation::initWithSharePointDefinition },
        { "Secure WebDAV (https)", WebDavMountOperation::initWithSharePointDefinition },
    } };
    const auto service = m_mount->parentService.get().lock();
    const auto displayType = service ? service->displayType.get() : std::nullopt;
    for (const auto& [name, factory] : factories)
        if (displayType == name)
            return factory(m_mount, m_environment);
    return nullptr;
}

void MountOperation::runScript() {
    const auto script = textOf(m_mount->script.get());
    if (!m_mount->mounted.get() || script.empty())
        return;
    log("Executing script for :Host:%@ Mount:%@");
    ShellScriptRunner runner(m_environment.childProcess, m_environment.log);
    if (!runner.execute(script, textOf(m_mount->scriptArguments.get())))
        m_mount->setLastError(m_environment.strings.text("The script could not be started."));
}

std::shared_ptr<HostDefinition> MountOperation::host() const {
    return m_mount->parentHost.get().lock();
}

bool MountOperation::isHostResolved() const {
    const auto host = this->host();
    return host && host->resolved.get();
}

void MountOperation::log(std::string_view format) const {
    const auto host = this->host();
    m_environment.log.line(format, { host ? textOf(host->displayName.get()) : "", textOf(m_mount->sharePoint.get()) });
}

} // namespace quorrel
