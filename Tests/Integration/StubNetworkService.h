// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Platform/PropertyService.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace quorrel {

/// A system bus of the test's own, with a network service on it that says how far the network goes. Made before
/// anything asks for the bus.
class StubNetworkService final {
public:
    enum Connectivity : std::uint32_t { Unknown, None, Portal, Limited, Full };

    explicit StubNetworkService(Connectivity connectivity);

    void setConnectivity(Connectivity connectivity);

private:
    [[nodiscard]] GVariant* value(const std::string& property) const;

    std::atomic<std::uint32_t> m_connectivity;
    const PropertyService m_service;
};

} // namespace quorrel
