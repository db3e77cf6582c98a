// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/TwinMount.h"

#include <algorithm>

namespace quorrel {

namespace {

bool isAmong(const std::vector<InternetAddress>& addresses, const InternetAddress& wanted) {
    return std::any_of(
        addresses.begin(), addresses.end(), [&](const InternetAddress& one) { return one.isSameHostAs(wanted); });
}

} // namespace

std::optional<GvfsLocation> TwinMount::locate(
    const GvfsLocation& location, const std::vector<GvfsMount>& mounts, const LookUp& lookUp) {
    if (std::any_of(mounts.begin(), mounts.end(),
            [&](const GvfsMount& mount) { return mount.pathWithin(location).has_value(); }))
        return std::nullopt;
    const auto asked = InternetAddress::parse(location.host);
    std::optional<std::vector<InternetAddress>> askedAddresses;
    for (const auto& mount : mounts) {
        const auto mounted = InternetAddress::parse(mount.host);
        // Two names of one address may be two servers to whoever goes by names, and two addresses say nothing.
        if (asked.has_value() == mounted.has_value())
            continue;
        auto twin = location.atHost(mount.host);
        if (!mount.pathWithin(twin))
            continue;
        if (mounted && !askedAddresses)
            askedAddresses = lookUp(location.host);
        if (mounted ? isAmong(*askedAddresses, *mounted) : isAmong(lookUp(mount.host), *asked))
            return twin;
    }
    return std::nullopt;
}

} // namespace quorrel
