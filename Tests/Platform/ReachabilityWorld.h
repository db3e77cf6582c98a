// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Platform/NetworkReachability.h"

#include <functional>
#include <memory>

namespace quorrel {

class RunLoop;

/// Where the contract of reachability is put to the test: a network with one host on it, which has a name and an
/// address, the link to it, and the loop that drives it all. Each executable that holds the contract's tests brings
/// one.
class ReachabilityWorld {
public:
    virtual ~ReachabilityWorld() = default;

    [[nodiscard]] static std::unique_ptr<ReachabilityWorld> make();

    [[nodiscard]] virtual std::unique_ptr<NetworkReachability> makeReachability() = 0;
    [[nodiscard]] virtual RunLoop& runLoop() = 0;
    [[nodiscard]] virtual RunLoop& otherRunLoop() = 0;
    /// The link is up at first.
    virtual void setLinkUp(bool isUp) = 0;
    /// Runs the loop until the condition holds, which it looks at after each turn; false when so much time went by.
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& condition, Seconds limit) = 0;

    static constexpr auto hostName = "host.lan.test";
    static constexpr auto hostAddress = "10.78.0.2";
    static constexpr auto unknownName = "nobody.lan.test";
};

} // namespace quorrel
