// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsMount.h"

#include "Foundation/Text.h"

#include <glib.h>

#include <memory>

namespace quorrel {

namespace {

/// As gvfs folds a share's name: not only ASCII has capitals, and some small letters have two forms.
std::string folded(const std::string& text) {
    const std::unique_ptr<gchar, decltype(&g_free)> plain(
        g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)
            ? g_utf8_casefold(text.data(), static_cast<gssize>(text.size()))
            : nullptr,
        g_free);
    return plain ? std::string(plain.get()) : Text::lowerCase(text);
}

/// The rest of the path below the prefix; absent when it is not below it.
std::optional<std::string> below(const std::string& prefix, const std::string& path) {
    if (prefix.empty())
        return path;
    if (!path.starts_with(prefix))
        return std::nullopt;
    if (path.size() == prefix.size())
        return std::string();
    return path[prefix.size()] == '/' ? std::optional(path.substr(prefix.size() + 1)) : std::nullopt;
}

std::string joined(const std::string& first, const std::string& second) {
    return first.empty() || second.empty() ? first + second : first + "/" + second;
}

} // namespace

std::optional<std::string> GvfsMount::pathWithin(const GvfsLocation& location) const {
    if (Text::lowerCase(host) != Text::lowerCase(location.host) || port != location.port || user != location.user
        || Text::lowerCase(domain) != Text::lowerCase(location.domain))
        return std::nullopt;
    if (type == "smb-share" && location.scheme == "smb")
        return folded(share) == folded(location.path.front()) ? std::optional(location.joinedPath(1)) : std::nullopt;
    if (type == "afp-volume" && location.scheme == "afp")
        return share == location.path.front() ? std::optional(location.joinedPath(1)) : std::nullopt;
    if ((type == "dav" && location.scheme == (isSecure ? "https" : "http")) || (isFTP() && location.scheme == "ftp"))
        return below(prefix, location.joinedPath());
    return std::nullopt;
}

std::string GvfsMount::readablePath(const std::string& pathWithin) const {
    return fusePath.empty() ? std::string() : joined(fusePath, pathWithin);
}

bool GvfsMount::covers(const std::string& readablePath) const {
    return !fusePath.empty() && below(fusePath, readablePath).has_value();
}

MountedVolume GvfsMount::describe(const std::string& readablePath) const {
    MountedVolume volume;
    if (type == "smb-share")
        volume.scheme = "smb";
    else if (type == "afp-volume")
        volume.scheme = "afp";
    else if (type == "dav")
        volume.scheme = isSecure ? "https" : "http";
    else
        volume.scheme = type;
    volume.host = host;
    volume.port = port;
    const bool isGuest = user == "anonymous" && (isFTP() || isAFP());
    volume.user = isGuest ? std::string() : domain.empty() ? user : domain + "\\" + user;
    volume.path = joined(joined(share, prefix), below(fusePath, readablePath).value_or(std::string()));
    return volume;
}

} // namespace quorrel
