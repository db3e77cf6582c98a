// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gio/gio.h>

#include <atomic>
#include <functional>
#include <future>
#include <string>
#include <thread>

namespace quorrel {

/// A message bus of a test's own, with a service on it that has properties and a thread of its own. Whoever asks finds
/// it from when it is made on.
class PropertyService final {
public:
    /// An interface, the object that has it, and what it answers: a floating reference, made on the service's thread.
    /// The service's name is the interface's.
    struct Object final {
        std::string interface;
        std::string path;
        std::string introspection;
        std::function<GVariant*(const std::string& property)> value;
    };

    explicit PropertyService(Object object);
    PropertyService(const PropertyService&) = delete;
    PropertyService& operator=(const PropertyService&) = delete;
    ~PropertyService();

    [[nodiscard]] std::string address() const { return g_test_dbus_get_bus_address(m_bus); }

    /// Tells everybody that this property has this value now. Any thread; takes the reference if it is floating.
    void tellChange(const char* property, GVariant* value) const;

private:
    void serve(std::promise<GDBusConnection*> ready);
    static GVariant* answer(
        GDBusConnection*, const char*, const char*, const char*, const char* property, GError**, void* self);

    const Object m_object;
    GTestDBus* const m_bus;
    GMainContext* const m_context = g_main_context_new();
    std::atomic<bool> m_isOver = false;
    GDBusConnection* m_connection = nullptr;
    std::thread m_thread;
};

} // namespace quorrel
