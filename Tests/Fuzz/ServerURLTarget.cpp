// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsLocation.h"
#include "Platform/Linux/ServerURL.h"
#include "Sources/AFPMountOperation.h"
#include "Sources/FTPMountOperation.h"
#include "Sources/HostDefinition.h"
#include "Sources/MountEnvironment.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/SMBMountOperation.h"
#include "Sources/WebDavMountOperation.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fuzz/CannedTool.h"
#include "Tests/Fuzz/FuzzInput.h"
#include "Tests/Fuzz/FuzzLog.h"
#include "Tests/Fuzz/Targets.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel::fuzz {

namespace {

constexpr auto secret = "Kz9Canary";

bool isHexadecimal(char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'F');
}

void checkLetters(const std::string& url) {
    for (const char letter : url) {
        require(letter > 0x20 && letter < 0x7F, "a URL has no control characters, blanks or other letters");
        require(std::string_view("\"#<>\\^`{|}").find(letter) == std::string_view::npos,
            "what cannot stand in a URL is escaped");
    }
}

void checkIsURL(const std::string& url) {
    checkLetters(url);
    for (std::size_t index = 0; index < url.size(); ++index)
        if (url[index] == '%')
            require(index + 2 < url.size() && isHexadecimal(url[index + 1]) && isHexadecimal(url[index + 2]),
                "a percent sign begins an escape");
}

void checkLocation(const GvfsLocation& location) {
    checkLetters(location.uri);
    require(!contains(location.printable, secret), "what is shown of a place has no password");
    require(!location.host.empty(), "a place has a host");
    require(location.port >= 0 && location.port <= 65535, "a port is one");
    for (const auto& component : location.path)
        require(!component.empty() && component != "." && component != ".." && !contains(component, "/"),
            "a path stays in its share");
    checkIsURL(location.atHost("a b\n\xC3").uri);
}

/// Mounts nothing and looks at what it is asked for.
class FuzzVolumes final : public VolumeService {
public:
    [[nodiscard]] MountReply mountServerVolume(const MountRequest& request) override {
        checkIsURL(request.url);
        const auto url = ServerURL::parse(request.url);
        const auto place = GvfsLocation::fromRequest(request);
        if (!m_isSecretKnown) {
            // Beside the URL, or else inside it; never both.
            require(!request.password || !contains(request.url, secret), "a password is not told twice");
            require(!url || !contains(url->printable(), secret), "what is shown of a URL has no password");
            require(!contains(place.reason, secret), "what is said of a URL has no password");
        }
        if (place.location && !m_isSecretKnown)
            checkLocation(*place.location);
        require(place.location || place.status != VolumeStatus::success, "a place that there is not is a failure");
        if (m_isPlain && request.password)
            require(url && url->host == m_host && url->path == m_share && !url->user && url->port == m_port,
                "a URL says again what it was made of");
        ++m_calls;
        MountReply reply;
        reply.status = m_status;
        return reply;
    }
    [[nodiscard]] std::int32_t unmountVolume(std::int16_t) override { return VolumeStatus::notFound; }
    [[nodiscard]] std::vector<MountedVolume> mountedVolumes() override { return {}; }
    void interrupt() override { }

    std::string m_host;
    std::string m_share;
    int m_port = 0;
    bool m_isPlain = false; ///< host and share can be read from the URL again
    bool m_isSecretKnown = false; ///< the input has the word of the password in it
    std::int32_t m_status = VolumeStatus::success;
    int m_calls = 0;
};

using Maker = std::unique_ptr<ProtocolMounter> (*)(std::shared_ptr<SharePointDefinition>, MountEnvironment&);

struct Protocol final {
    const char* displayType;
    Maker maker;
};

constexpr std::array protocols {
    Protocol { "Apple Filing Protocol (afp)", AFPMountOperation::initWithSharePointDefinition },
    Protocol { "Server Message Block (smb)", SMBMountOperation::initWithSharePointDefinition },
    Protocol { "Common Internet File System (cifs)", SMBMountOperation::initWithSharePointDefinition },
    Protocol { "WebDAV (http)", WebDavMountOperation::initWithSharePointDefinition },
    Protocol { "Secure WebDAV (https)", WebDavMountOperation::initWithSharePointDefinition },
    Protocol { "File Transfer Protocol (ftp)", FTPMountOperation::initWithSharePointDefinition },
};

bool canBeReadAgain(const std::string& host, bool isAppleGuest) {
    return !host.empty() && host.find_first_of("/:@[]") == std::string::npos && !isAppleGuest;
}

} // namespace

/// The first byte chooses guest, status and protocol, the second a port; then come the host, the share, the user, the
/// password and an address.
void buildServerURL(std::string_view input) {
    static const FakeStringTable strings;
    static const FakeWorkspace workspace;
    static const auto context = std::make_shared<CatalogueContext>(CatalogueContext { strings, workspace });
    static FuzzLog log;
    static FakeClock clock;
    FuzzVolumes volumes;
    CannedTool tool { {} };
    MountEnvironment environment { volumes, tool, clock, log.log(), strings };

    FuzzInput parts(input);
    const auto flags = parts.byte();
    const bool isGuest = (flags & 1U) != 0;
    const bool isAsked = (flags & 2U) != 0;
    constexpr std::array statuses { VolumeStatus::success, VolumeStatus::ioError, VolumeStatus::badLogin, -1 };
    volumes.m_status = statuses[(flags >> 2U) % statuses.size()];
    const int port = (parts.byte() - 1) * 257;
    volumes.m_isSecretKnown = contains(input, secret);
    log.setSecret(volumes.m_isSecretKnown ? "" : secret);
    const auto name = parts.part();
    volumes.m_host = name;
    volumes.m_share = parts.part();
    volumes.m_port = std::max(port, 0);
    const auto user = parts.part();
    const auto password = parts.part() + secret;
    const auto address = parts.part();

    const auto& protocol = protocols[(flags >> 4U) % protocols.size()];
    const auto host = HostDefinition::initWithName(name, context);
    host->adresses.set(std::vector { address, name });
    host->password.set(password);
    const auto service = ServiceDefinition::initWithParentHost(host);
    service->displayType.set(protocol.displayType);
    service->port.set(port);
    host->services.append(service);
    const auto share = SharePointDefinition::initWithParentHost(host);
    share->setDisplayType(protocol.displayType);
    share->parentService.set(service);
    share->sharePoint.set(volumes.m_share);
    share->userName.set(user);
    if (!isAsked)
        share->password.set(password);
    share->passwordPrompt.set(isAsked);
    share->guestLogin.set(isGuest);
    host->sharePoints.append(share);

    const auto mounter = protocol.maker(share, environment);
    const bool isAppleGuest = isGuest && protocol.displayType == protocols.front().displayType;
    volumes.m_isPlain = canBeReadAgain(name, isAppleGuest) && address == name;
    static_cast<void>(mounter->mountServer());
    static_cast<void>(mounter->mountServerUsingIP());
    volumes.m_isPlain = false;
    mounter->mountServerUsingURL();
    mounter->mountServerUsingIPAndURL();
    require(volumes.m_calls > 0, "every share is tried");
}

} // namespace quorrel::fuzz
