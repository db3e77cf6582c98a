// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/InternetAddress.h"

namespace quorrel {

/// The way to a host; what comes later is farther.
enum class HostRoute {
    Local, ///< this machine has the address
    OnLink,
    Gateway,
    None,
};

/// Asks the kernel for the way to an address, as it is now: without a packet, without blocking. A way through a link
/// that is down or without carrier is none. Any thread.
[[nodiscard]] HostRoute routeTo(const InternetAddress& address);

/// Whether any link but the loopback is up, has carrier and an address.
[[nodiscard]] bool hasNetwork();

} // namespace quorrel
