// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"
#include "Platform/Linux/InternetAddress.h"

#include <string>
#include <vector>

namespace quorrel {

/// The addresses of a server, looked up by a call that waits for other answers anyway. Any thread.
namespace HostAddresses {

/// None for a name that nobody knew in time.
[[nodiscard]] std::vector<InternetAddress> lookUp(BoundedLoop& loop, const std::string& name, Seconds limit);

} // namespace HostAddresses

} // namespace quorrel
