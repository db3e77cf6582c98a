// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxNetworkReachability.h"

#include "Platform/Linux/LinuxReachabilityReference.h"

namespace quorrel {

std::unique_ptr<ReachabilityReference> LinuxNetworkReachability::createWithName(const std::string& hostName) {
    return hostName.empty() ? nullptr : std::make_unique<LinuxReachabilityReference>(hostName, m_tools);
}

} // namespace quorrel
