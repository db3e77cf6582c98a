// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include <gio/gio.h>

namespace quorrel {

/// A system bus of the test's own, with a network service on it that says how far the network goes. Made before
/// anything asks for the bus. The service has a thread of its own.
class StubNetworkService final {
public:
    enum Connectivity : std::uint32_t { Unknown, None, Portal, Limited, Full };

    explicit StubNetworkService(Connectivity connectivity);
    StubNetworkService(const StubNetworkService&) = delete;
    StubNetworkService& operator=(const StubNetworkService&) = delete;
    ~StubNetworkService();

    void setConnectivity(Connectivity connectivity);

private:
    void serve();
    static GVariant* property(
        GDBusConnection*, const char*, const char*, const char*, const char* name, GError**, void* self);

    GTestDBus* const m_bus;
    GMainContext* const m_context = g_main_context_new();
    std::atomic<GDBusConnection*> m_connection = nullptr;
    std::atomic<std::uint32_t> m_connectivity;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

} // namespace quorrel
