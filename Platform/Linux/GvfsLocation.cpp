// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsLocation.h"

#include "Platform/Linux/ServerURL.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quorrel {

namespace {

struct Protocol final {
    std::string_view scheme;
    std::string_view gvfsScheme;
    std::string_view backEnd;
    std::uint16_t port;
    std::uint16_t secondPort;
    bool needsShare; ///< without one, gvfs would list the server's shares instead of mounting
};

constexpr std::array protocols {
    Protocol { "afp", "afp", "gvfsd-afp", 548, 0, true },
    Protocol { "smb", "smb", "gvfsd-smb", 445, 139, true },
    Protocol { "http", "dav", "gvfsd-dav", 80, 0, false },
    Protocol { "https", "davs", "gvfsd-dav", 443, 0, false },
    Protocol { "ftp", "ftp", "gvfsd-ftp", 21, 0, false },
};

const Protocol* protocolFor(std::string_view scheme) {
    const auto* const found
        = std::find_if(protocols.begin(), protocols.end(), [&](const Protocol& one) { return one.scheme == scheme; });
    return found == protocols.end() ? nullptr : found;
}

/// Empty components and "." say nothing and are left out.
std::vector<std::string> componentsOf(const std::string& path) {
    std::vector<std::string> components;
    std::size_t start = 0;
    while (start <= path.size()) {
        const auto end = std::min(path.find('/', start), path.size());
        auto component = path.substr(start, end - start);
        if (!component.empty() && component != ".")
            components.push_back(std::move(component));
        start = end + 1;
    }
    return components;
}

void fillLogin(const MountRequest& request, const ServerURL& url, GvfsLocation& location) {
    location.user = request.user.value_or(url.user.value_or(std::string()));
    location.password = request.user ? request.password.value_or(std::string())
                                     : request.password.value_or(url.password.value_or(std::string()));
    const bool isWeb = location.scheme == "http" || location.scheme == "https";
    const bool namesGuest = (location.scheme == "smb" && location.user == "Guest" && location.password.empty())
        || (location.scheme == "ftp" && location.user == "anonymous") || (location.scheme == "afp" && url.asksForGuest);
    // A web server may want no login at all, which is not the same as a guest's.
    location.isGuest = namesGuest || (location.user.empty() && !isWeb);
    if (location.isGuest) {
        location.user = location.scheme == "smb" ? std::string() : std::string("anonymous");
        location.password.clear();
    } else if (location.scheme == "smb") {
        const auto divider = location.user.find_first_of("\\;");
        if (divider != std::string::npos) {
            location.domain = location.user.substr(0, divider);
            location.user.erase(0, divider + 1);
        }
    }
}

std::string buildURI(const Protocol& protocol, const GvfsLocation& location) {
    std::string uri = std::string(protocol.gvfsScheme) + "://";
    if (!location.user.empty()) {
        if (!location.domain.empty())
            uri += percentEncoded(location.domain) + ";";
        uri += percentEncoded(location.user) + "@";
    }
    // gvfs takes what stands in brackets as it is: the sign in front of an address's zone must not be escaped.
    const bool isLongAddress = location.host.find(':') != std::string::npos;
    if (isLongAddress)
        uri.append("[").append(percentEncoded(location.host, ":%")).append("]");
    else
        uri.append(percentEncoded(location.host));
    if (location.port > 0 && location.port != protocol.port)
        uri.append(":").append(std::to_string(location.port));
    if (location.path.empty())
        uri.append("/");
    for (const auto& component : location.path)
        uri.append("/").append(percentEncoded(component, "!$&'()*+,;=:@"));
    return uri;
}

} // namespace

std::string GvfsLocation::joinedPath(std::size_t from) const {
    std::string joined;
    for (std::size_t index = from; index < path.size(); ++index)
        joined.append(index > from ? "/" : "").append(path[index]);
    return joined;
}

GvfsLocation GvfsLocation::atHost(const std::string& otherHost) const {
    auto other = *this;
    other.host = otherHost;
    if (const auto* const protocol = protocolFor(scheme))
        other.uri = buildURI(*protocol, other);
    return other;
}

std::vector<std::uint16_t> GvfsLocation::ports() const {
    if (port > 0)
        return { static_cast<std::uint16_t>(port) };
    const auto* const protocol = protocolFor(scheme);
    if (!protocol)
        return {};
    if (protocol->secondPort == 0)
        return { protocol->port };
    return { protocol->port, protocol->secondPort };
}

std::string GvfsLocation::backEndName() const {
    const auto* const protocol = protocolFor(scheme);
    return protocol ? std::string(protocol->backEnd) : std::string();
}

GvfsLocation::Result GvfsLocation::fromRequest(const MountRequest& request) {
    const auto url = ServerURL::parse(request.url);
    if (!url)
        return { std::nullopt, VolumeStatus::cannotBeMounted, "the server URL cannot be read" };
    const auto* const protocol = protocolFor(url->scheme);
    if (!protocol)
        return { std::nullopt, VolumeStatus::cannotBeMounted, "there is no way to mount " + url->printable() };
    GvfsLocation location;
    location.scheme = url->scheme;
    location.printable = url->printable();
    location.host = url->host;
    location.port = url->port == protocol->port ? 0 : url->port;
    location.path = componentsOf(url->path);
    if (std::find(location.path.begin(), location.path.end(), "..") != location.path.end())
        return { std::nullopt, VolumeStatus::notFound, "the path leads out of the share: " + location.printable };
    if (protocol->needsShare && location.path.empty())
        return { std::nullopt, VolumeStatus::notFound, "no share is named: " + location.printable };
    if (location.scheme == "afp" && location.port != 0)
        return { std::nullopt, VolumeStatus::cannotBeMounted,
            "the desktop's AFP reaches port 548 only: " + location.printable };
    fillLogin(request, *url, location);
    location.uri = buildURI(*protocol, location);
    return { std::move(location), VolumeStatus::success, {} };
}

} // namespace quorrel
