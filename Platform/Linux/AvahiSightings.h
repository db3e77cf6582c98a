// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace quorrel {

/// On which interfaces, and over which protocols, each instance is seen.
class AvahiSightings final {
public:
    /// The numbers of interface and protocol.
    using Place = std::pair<int, int>;

    /// Whether the instance was seen nowhere before.
    [[nodiscard]] bool add(const NetServiceInstance& instance, Place place);
    /// Whether this was the last place where the instance was seen.
    [[nodiscard]] bool remove(const NetServiceInstance& instance, Place place);
    /// All that was seen, which is forgotten.
    [[nodiscard]] std::vector<NetServiceInstance> takeAll();

private:
    using Key = std::tuple<std::string, std::string, std::string>;

    std::map<Key, std::vector<Place>> m_places;
};

} // namespace quorrel
