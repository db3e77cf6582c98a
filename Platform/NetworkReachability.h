// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorrel {

class RunLoop;

/// What is told of a host's reachability; any combination.
namespace ReachabilityFlag {
constexpr std::uint32_t transientConnection = 0x1;
constexpr std::uint32_t reachable = 0x2;
constexpr std::uint32_t connectionRequired = 0x4;
constexpr std::uint32_t connectionOnTraffic = 0x8;
constexpr std::uint32_t interventionRequired = 0x10; ///< somebody has to log in first, as at a captive portal
} // namespace ReachabilityFlag

/// The watch over one host. Main thread only; destroying it ends it silently.
class ReachabilityReference {
public:
    using Callback = std::function<void(std::uint32_t flags)>;

    virtual ~ReachabilityReference() = default;

    /// What is known now, without blocking; absent while nothing is known yet.
    [[nodiscard]] virtual std::optional<std::uint32_t> flags() const = 0;

    /// Called from the run loop on every change, the first answer included. It may destroy the reference.
    virtual void setCallback(Callback callback) = 0;
    /// From now on changes are looked for, and told on that loop. False when that cannot be.
    [[nodiscard]] virtual bool scheduleWithRunLoop(RunLoop& runLoop) = 0;
    virtual void unscheduleFromRunLoop(RunLoop& runLoop) = 0;
};

/// Tells of hosts whether they can be reached. Main thread only.
class NetworkReachability {
public:
    virtual ~NetworkReachability() = default;

    /// For a host's name or address; null when it can be neither.
    [[nodiscard]] virtual std::unique_ptr<ReachabilityReference> createWithName(const std::string& hostName) = 0;
};

} // namespace quorrel
