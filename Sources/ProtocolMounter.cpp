// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ProtocolMounter.h"

#include "Foundation/Text.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/MounterDifferences.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/VolumeErrors.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

constexpr auto guestName = "Guest";
constexpr auto anonymousName = "anonymous";
constexpr auto anonymousPassword = "quorrel.invalid"; // FTP servers want some text there, and check none
constexpr auto hiddenPassword = "***";

/// Escapes what cannot stand in a URL. Its delimiters stay as they are, also where a name or a password holds them.
std::string escapedUrl(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view outside = "\"#%<>[\\]^`{|}";
    std::string result;
    result.reserve(text.size());
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte > 0x20 && byte < 0x7F && outside.find(letter) == std::string_view::npos) {
            result += letter;
            continue;
        }
        result += '%';
        result += digits[byte >> 4];
        result += digits[byte & 15];
    }
    return result;
}

} // namespace

/// What the records say at one moment. Host and service may leave the catalogue under a mount: their texts are empty
/// then.
struct ProtocolMounter::Server final {
    std::shared_ptr<HostDefinition> host;
    std::string displayType;
    std::string scheme;
    int port = 0;
    std::string share;

    [[nodiscard]] std::string named() const {
        if (!host)
            return {};
        const auto resolvedName = textOf(host->hostName.get());
        return resolvedName.empty() ? textOf(host->displayName.get()) : resolvedName;
    }
    [[nodiscard]] std::string withPort(const std::string& hostText) const {
        return port > 0 ? Text::filled("%@:%@", { hostText, std::to_string(port) }) : hostText;
    }
};

struct ProtocolMounter::Login final {
    OptionalText user;
    OptionalText password;
};

struct ProtocolMounter::Attempt final {
    MountRequest request;
    std::string shownUrl; ///< as the log may have it
};

ProtocolMounter::ProtocolMounter(std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment,
    const MounterDifferences& differences)
    : m_mount(std::move(sharePoint))
    , m_environment(environment)
    , m_differences(differences) { }

ProtocolMounter::~ProtocolMounter() = default;

std::int32_t ProtocolMounter::mountServer() {
    return mountByName(
        m_differences.byName, "First Method Mount FAILED for server %@, error == %d", FailureLine::ServerAndStatus);
}

void ProtocolMounter::mountServerUsingURL() {
    mountByName(m_differences.byNameInUrl, "Second Method Mount FAILED for server using URL, error == %d",
        FailureLine::StatusOnly);
}

std::int32_t ProtocolMounter::mountServerUsingIP() {
    return mountByAddress(m_differences.byAddress, "Alternate Mount FAILED for server %@ using IP, error == %d",
        FailureLine::ServerAndStatus);
}

void ProtocolMounter::mountServerUsingIPAndURL() {
    mountByAddress(m_differences.byAddressInUrl,
        "Fourth alternate Mount FAILED for server using URL and IP, error == %d", FailureLine::StatusOnly);
}

std::int32_t ProtocolMounter::mountByName(
    const StrategyDifferences& strategy, std::string_view failureFormat, FailureLine line) {
    const auto server = this->server();
    if (!isTried(strategy, server))
        return VolumeStatus::success;
    const auto attempt = this->attempt(strategy, server, server.named());
    const auto status = mount(attempt);
    if (status == VolumeStatus::success)
        return status;
    // The addresses are tried only by those who watch the log: it has always been so, and users who turned the log on
    // for this rely on it.
    if (m_environment.log.isOn()) {
        logFailure(attempt, status, failureFormat, line);
        mountServerUsingIP();
    }
    recordFailure(status);
    return status;
}

std::int32_t ProtocolMounter::mountByAddress(
    const StrategyDifferences& strategy, std::string_view failureFormat, FailureLine line) {
    const auto server = this->server();
    const auto addresses = m_mount && server.host ? server.host->adresses.get() : std::nullopt;
    if (!addresses || !isTried(strategy, server))
        return VolumeStatus::success;
    auto status = VolumeStatus::success;
    for (const auto& address : *addresses) {
        const auto attempt = this->attempt(strategy, server, address);
        status = mount(attempt);
        if (status == VolumeStatus::success)
            continue;
        logFailure(attempt, status, failureFormat, line);
        recordFailure(status);
    }
    return status;
}

ProtocolMounter::Server ProtocolMounter::server() const {
    Server server;
    if (!m_mount) {
        server.scheme = textOf(Globals::getShortServiceName(std::nullopt));
        return server;
    }
    server.host = m_mount->parentHost.get().lock();
    server.share = textOf(m_mount->sharePoint.get());
    if (const auto service = m_mount->parentService.get().lock()) {
        const auto displayType = service->displayType.get();
        server.displayType = textOf(displayType);
        server.scheme = textOf(Globals::getShortServiceName(displayType));
        server.port = service->port.get();
    }
    return server;
}

bool ProtocolMounter::isGuest(const StrategyDifferences& strategy, const Server& server) const {
    if (strategy.guest == Guest::Ignored || !m_mount || !isSet(m_mount->guestLogin.get()))
        return false;
    const auto& types = m_differences.guestTypes;
    return types.front().empty() || std::find(types.begin(), types.end(), server.displayType) != types.end();
}

bool ProtocolMounter::isTried(const StrategyDifferences& strategy, const Server& server) {
    return strategy.onlyType.empty() || server.displayType == strategy.onlyType;
}

ProtocolMounter::Login ProtocolMounter::login(
    const StrategyDifferences& strategy, const Server& server, bool guest) const {
    if (!m_mount)
        return {};
    if (guest && strategy.guest == Guest::Anonymous)
        return { anonymousName, anonymousPassword };
    if (guest)
        m_mount->userName.set(guestName);
    Login login { m_mount->userName.get(), m_mount->password.get() };
    // Whoever does not store a password was asked for it, once for all shares of the host.
    if (!guest && server.host && isSet(m_mount->passwordPrompt.get()) && textOf(login.password).empty())
        login.password = server.host->password.get();
    return login;
}

ProtocolMounter::Attempt ProtocolMounter::attempt(
    const StrategyDifferences& strategy, const Server& server, const std::string& hostText) const {
    const bool guest = isGuest(strategy, server);
    const auto login = this->login(strategy, server, guest);
    const auto host = server.withPort(hostText);
    const auto url = [&](const std::string& password) {
        switch (guest ? strategy.guestUrl : strategy.url) {
        case UrlForm::Login:
            return escapedUrl(
                Text::filled("%@://%@:%@@%@/%@", { server.scheme, textOf(login.user), password, host, server.share }));
        case UrlForm::AppleGuest:
            return escapedUrl(
                Text::filled("%@://Guest;AUTH=No User Authent:password@%@/%@", { server.scheme, host, server.share }));
        case UrlForm::Plain:
            break;
        }
        return escapedUrl(Text::filled("%@://%@/%@", { server.scheme, host, server.share }));
    };
    Attempt attempt;
    attempt.request.url = url(textOf(login.password));
    // A URL may hold the password, and the log is a file that people send to others.
    attempt.shownUrl = url(hiddenPassword);
    if (strategy.beside == Beside::Login) {
        attempt.request.user = login.user;
        attempt.request.password = login.password;
    }
    attempt.request.volumeName = Text::lastPathComponent(server.share);
    if (attempt.request.volumeName.empty() && server.host)
        attempt.request.volumeName = textOf(server.host->displayName.get());
    return attempt;
}

std::int32_t ProtocolMounter::mount(const Attempt& attempt) const {
    const auto reply = m_environment.volumes.mountServerVolume(attempt.request);
    if (m_mount)
        m_mount->setVolume(reply.volumeReference, reply.location);
    if (reply.status != VolumeStatus::success)
        return reply.status;
    m_environment.log.line("Mounted server %@, user == %@, refNum == %d",
        { attempt.shownUrl, m_mount ? textOf(m_mount->userName.get()) : "", std::to_string(reply.volumeReference) });
    if (m_mount)
        m_mount->setMounted(true);
    return reply.status;
}

void ProtocolMounter::logFailure(
    const Attempt& attempt, std::int32_t status, std::string_view format, FailureLine line) const {
    if (line == FailureLine::ServerAndStatus)
        m_environment.log.line(format, { attempt.shownUrl, std::to_string(status) });
    else
        m_environment.log.line(format, { std::to_string(status) });
}

void ProtocolMounter::recordFailure(std::int32_t status) const {
    if (!m_mount)
        return;
    m_mount->setMounted(false);
    const auto known = mountErrorText(status);
    m_mount->setLastError(m_environment.strings.text(known.value_or(seeLogForError)));
    if (!known)
        m_mount->resetStatus();
}

} // namespace quorrel
