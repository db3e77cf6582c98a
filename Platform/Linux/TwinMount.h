// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GvfsLocation.h"
#include "Platform/Linux/GvfsMount.h"
#include "Platform/Linux/InternetAddress.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// A location that is asked for by its server's name may be mounted by the server's address, or the other way round.
/// gvfs compares texts and would mount it once more, beside the first.
namespace TwinMount {

using LookUp = std::function<std::vector<InternetAddress>(const std::string& name)>;

/// The location under the host of the mount that it already lies in; absent without such a mount, and when it also lies
/// in one under the host it was asked for by. Looks up no name unless all but the host is the same.
[[nodiscard]] std::optional<GvfsLocation> locate(
    const GvfsLocation& location, const std::vector<GvfsMount>& mounts, const LookUp& lookUp);

} // namespace TwinMount

} // namespace quorrel
