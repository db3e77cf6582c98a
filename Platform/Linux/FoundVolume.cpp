// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FoundVolume.h"

#include "Foundation/Text.h"

#include <glib.h>

#include <algorithm>

namespace quorrel {

namespace {

bool isEqualButForCase(const std::string& left, const std::string& right) {
    if (!g_utf8_validate(left.c_str(), -1, nullptr) || !g_utf8_validate(right.c_str(), -1, nullptr))
        return left == right;
    gchar* first = g_utf8_casefold(left.c_str(), -1);
    gchar* second = g_utf8_casefold(right.c_str(), -1);
    const bool isEqual = g_strcmp0(first, second) == 0;
    g_free(first);
    g_free(second);
    return isEqual;
}

/// The name in front of a "-N" that was put there because the bare name was taken.
std::string withoutNumber(const std::string& name) {
    const auto dash = name.rfind('-');
    if (dash == std::string::npos || dash + 1 == name.size()
        || !std::all_of(name.begin() + static_cast<std::ptrdiff_t>(dash) + 1, name.end(),
            [](char character) { return character >= '0' && character <= '9'; }))
        return name;
    return name.substr(0, dash);
}

} // namespace

MountedVolume FoundVolume::describe(
    const GvfsMount& mount, const std::string& readablePath, const std::string& linkName) {
    auto volume = mount.describe(readablePath);
    volume.volumeName = linkName;
    // A server's root has no name of its own and bears its server's.
    const auto last = Text::lastPathComponent(volume.path);
    const auto& wanted = last.empty() ? volume.host : last;
    if (!isEqualButForCase(linkName, wanted) && isEqualButForCase(withoutNumber(linkName), wanted))
        volume.volumeName = withoutNumber(linkName);
    if (!last.empty() && mount.type == "smb-share" && volume.path == last && isEqualButForCase(volume.volumeName, last))
        volume.path = volume.volumeName;
    return volume;
}

bool FoundVolume::isDescribedBy(const MountedVolume& volume, const GvfsMount& mount) {
    if (!mount.fusePath.empty() || Text::lowerCase(volume.host) != Text::lowerCase(mount.host)
        || volume.port != mount.port)
        return false;
    const auto described = mount.describe({});
    return described.scheme == volume.scheme && described.user == volume.user
        && (described.path.empty() || isEqualButForCase(described.path, volume.path)
            || isEqualButForCase(described.path, volume.path.substr(0, volume.path.find('/'))));
}

} // namespace quorrel
