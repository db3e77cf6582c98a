// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/X11EmbeddingTray.h"

#include <QByteArray>
#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace quorrel {

namespace {

struct Free final {
    void operator()(void* reply) const { std::free(reply); }
};

quint32 atom(xcb_connection_t* connection, const QByteArray& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.constData());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<quint32>(XCB_ATOM_NONE);
}

/// Of the display that the program was started on.
int screenNumber() {
    char* host = nullptr;
    int display = 0;
    int screen = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screen) == 0)
        return 0;
    std::free(host);
    return screen;
}

} // namespace

X11EmbeddingTray::X11EmbeddingTray() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return;
    m_connection = x11->connection();
    m_selection = atom(m_connection, "_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber()));
    m_manager = atom(m_connection, "MANAGER");
    qGuiApp->installNativeEventFilter(this);
}

X11EmbeddingTray::~X11EmbeddingTray() {
    if (m_connection && qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

bool X11EmbeddingTray::isThere() const {
    if (!m_connection || m_selection == XCB_ATOM_NONE)
        return false;
    const auto cookie = xcb_get_selection_owner(m_connection, m_selection);
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> reply(
        xcb_get_selection_owner_reply(m_connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

/// A new tray tells of itself by a message to the root window, from which Qt takes messages for its own needs.
bool X11EmbeddingTray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t")
        return false;
    constexpr uint8_t sentFlag = 0x80;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & ~sentFlag) != XCB_CLIENT_MESSAGE)
        return false;
    const auto* told = static_cast<const xcb_client_message_event_t*>(message);
    if (told->type == m_manager && told->format == 32 && told->data.data32[1] == m_selection)
        emit appeared();
    return false;
}

} // namespace quorrel
