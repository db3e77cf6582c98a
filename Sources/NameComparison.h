// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace quorrel {

class HostDefinition;

/// Whether that is a name of the host, or an address: without regard to letter case, with or without a domain. An empty
/// name is nobody's. Any thread.
[[nodiscard]] bool isNameOfHost(std::string_view name, const HostDefinition& host);

/// A share's name as it is compared, since mounts are told with other slashes around it, and in small letters where
/// the server does not care.
[[nodiscard]] std::string comparableShareName(std::string_view name, bool ignoresCase);

} // namespace quorrel
