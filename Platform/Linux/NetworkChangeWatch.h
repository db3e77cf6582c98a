// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/FileDescriptor.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>

struct nlmsghdr;

namespace quorrel {

/// Tells of changes of links, addresses, routes and routing rules, from the main GLib context. Main thread only.
///
/// What the kernel repeats without a change, as when a router renews an address or a radio reports its signal, is not
/// told.
class NetworkChangeWatch final {
public:
    /// Called once for all that was heard in one turn of the loop. It must not destroy the watch, nor throw.
    explicit NetworkChangeWatch(std::function<void()> changed);
    NetworkChangeWatch(const NetworkChangeWatch&) = delete;
    NetworkChangeWatch& operator=(const NetworkChangeWatch&) = delete;
    ~NetworkChangeWatch();

    /// False when the kernel let nobody listen; nothing is ever told then.
    [[nodiscard]] bool isListening() const { return m_source != 0; }

private:
    static int heard(int descriptor, int condition, void* watch) noexcept;
    [[nodiscard]] bool read();
    [[nodiscard]] bool isChange(const nlmsghdr& message);
    [[nodiscard]] bool isLinkChange(const nlmsghdr& message);
    [[nodiscard]] bool isAddressChange(const nlmsghdr& message);

    const std::function<void()> m_changed;
    FileDescriptor m_kernel;
    unsigned m_source = 0;
    std::map<int, unsigned> m_links; // what was last heard of their flags, by index
    std::map<std::string, unsigned> m_addresses; // the same of addresses, by link and bytes
};

} // namespace quorrel
