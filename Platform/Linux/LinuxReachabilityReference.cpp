// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxReachabilityReference.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace quorrel {

namespace {

constexpr std::size_t longestName = 255;
constexpr Seconds settling { 0.03 }; // changes come in flocks
constexpr Seconds firstRetry { 2 };
constexpr Seconds lastRetry { 60 };
constexpr int restartsInARow = 5;
constexpr int mostHurries = 2;

bool canBeName(const std::string& text) {
    return text.size() <= longestName && std::none_of(text.begin(), text.end(), [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code <= 0x20 || code == 0x7F;
    });
}

} // namespace

struct LinuxReachabilityReference::Watches final {
    explicit Watches(LinuxReachabilityReference& owner)
        : network([&owner] { owner.networkChanged(); })
        , portal([&owner] { owner.networkChanged(); })
        , lookup(owner.m_tools) { }

    NetworkChangeWatch network;
    CaptivePortalWatch portal;
    HostLookup lookup;
    MainLoopTimer settle;
    MainLoopTimer retry;
    MainLoopTimer hurry;
    Seconds retryDelay = firstRetry;
    int restarts = 0; // of the look-up under way, for changes
    int hurries = 0; // and for want of an answer
    bool isOutdated = false; // its answer will be of before a change
};

LinuxReachabilityReference::LinuxReachabilityReference(std::string hostName, std::shared_ptr<RunningTools> tools)
    : m_hostName(std::move(hostName))
    , m_tools(std::move(tools)) { }

LinuxReachabilityReference::~LinuxReachabilityReference() = default;

bool LinuxReachabilityReference::scheduleWithRunLoop(RunLoop& runLoop) {
    if (!m_watches) {
        auto watches = std::make_unique<Watches>(*this);
        if (!watches->network.isListening())
            return false;
        m_watches = std::move(watches);
        m_watches->settle.start(Seconds(0), [this] { check(); });
    }
    m_runLoops.insert(&runLoop);
    return true;
}

void LinuxReachabilityReference::unscheduleFromRunLoop(RunLoop& runLoop) {
    m_runLoops.erase(&runLoop);
    if (m_runLoops.empty())
        m_watches.reset();
}

void LinuxReachabilityReference::networkChanged() {
    m_watches->retryDelay = firstRetry;
    if (!m_watches->settle.isRunning())
        m_watches->settle.start(settling, [this] { check(); });
}

void LinuxReachabilityReference::check() {
    m_watches->retry.stop();
    const bool isName = canBeName(m_hostName);
    const auto address = isName ? InternetAddress::parse(m_hostName) : std::nullopt;
    if (!isName || address) {
        m_watches->hurry.stop();
        m_watches->lookup.stop(); // an address of a link that was not there passes for a name
        tell(address ? flagsOf({ *address }, true) : 0);
        return;
    }
    lookUp();
    const auto flags = flagsOf(m_addresses, false);
    const bool isReachable = (m_flags.value_or(0) & ReachabilityFlag::reachable) != 0;
    if (!m_addresses.empty() && (flags == 0 || isReachable))
        tell(flags);
}

void LinuxReachabilityReference::lookUp() {
    auto& watches = *m_watches;
    // One that asks the name server of the network before would hold up the answer. Yet where changes do not end, one
    // has to come to its end some time.
    const bool isRunning = watches.lookup.isRunning();
    watches.isOutdated = isRunning && watches.restarts >= restartsInARow;
    if (watches.isOutdated)
        return;
    watches.restarts = isRunning ? watches.restarts + 1 : 0;
    watches.hurries = 0;
    ask();
}

void LinuxReachabilityReference::ask() {
    auto& watches = *m_watches;
    watches.isOutdated = false;
    watches.lookup.start(m_hostName, [this](const auto& addresses) { lookedUp(addresses); });
    // The first packet over a new link is easily lost, and the system waits five seconds before it sends another.
    if (++watches.hurries <= mostHurries)
        watches.hurry.start(Seconds(watches.hurries), [this] { ask(); });
}

void LinuxReachabilityReference::lookedUp(const std::vector<InternetAddress>& addresses) {
    auto& watches = *m_watches;
    watches.hurry.stop();
    if (std::exchange(watches.isOutdated, false)) {
        lookUp();
        if (addresses.empty())
            return;
    }
    m_addresses = addresses;
    if (addresses.empty() && hasNetwork()) {
        watches.retry.start(watches.retryDelay, [this] { check(); });
        watches.retryDelay = std::min(watches.retryDelay * 2, lastRetry);
    }
    tell(flagsOf(m_addresses, false));
}

std::uint32_t LinuxReachabilityReference::flagsOf(const std::vector<InternetAddress>& addresses, bool isAddress) const {
    auto nearest = HostRoute::None;
    for (const auto& address : addresses)
        nearest = std::min(nearest, routeTo(address));
    return flagsFor(nearest, isAddress, m_watches->portal.isBehindPortal());
}

std::uint32_t LinuxReachabilityReference::flagsFor(HostRoute route, bool isAddress, bool isBehindPortal) {
    if (route == HostRoute::None)
        return 0;
    // A portal lies beyond the own network. Yet it may answer to any name with an address of that network: its own.
    const bool mayBePortal = route == HostRoute::Gateway || (route == HostRoute::OnLink && !isAddress);
    return ReachabilityFlag::reachable | (isBehindPortal && mayBePortal ? ReachabilityFlag::interventionRequired : 0);
}

void LinuxReachabilityReference::tell(std::uint32_t flags) {
    if (std::exchange(m_flags, flags) == flags)
        return;
    if (const auto callback = m_callback)
        callback(flags);
}

} // namespace quorrel
