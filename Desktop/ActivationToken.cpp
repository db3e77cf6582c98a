// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ActivationToken.h"

#include <QGuiApplication>
#include <QWindow>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace quorrel {

namespace {

constexpr auto tokenKey = "activation-token";
constexpr auto startupKey = "desktop-startup-id";
constexpr auto waylandToken = "XDG_ACTIVATION_TOKEN"; // Qt takes it from there, once

struct Free final {
    void operator()(void* reply) const { std::free(reply); }
};

} // namespace

ActivationToken::ActivationToken(const QVariantMap& platformData)
    : m_startupId(platformData.value(startupKey).toString().toUtf8()) {
    const auto token = platformData.value(tokenKey).toString().toUtf8();
    if (!token.isEmpty() && QGuiApplication::platformName() == "wayland")
        qputenv(waylandToken, token);
}

ActivationToken::~ActivationToken() {
    // Not for another window, nor for a program that is started from here.
    if (QGuiApplication::platformName() == "wayland")
        qunsetenv(waylandToken);
    activateOnX11();
}

void ActivationToken::activateOnX11() const {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    auto* const window
        = QGuiApplication::focusWindow() ? QGuiApplication::focusWindow() : QGuiApplication::modalWindow();
    const auto place = m_startupId.lastIndexOf("_TIME");
    bool isNumber = false;
    const auto time = place < 0 ? 0U : m_startupId.mid(place + 5).toUInt(&isNumber);
    QWindow* target = window;
    for (auto* each : QGuiApplication::topLevelWindows())
        if (!target && each->isVisible() && each->type() == Qt::Window)
            target = each;
    if (!x11 || !x11->connection() || !isNumber || !target)
        return;
    // Qt has no word for the time of the user's wish, without which a window manager takes this for a theft of the
    // focus.
    auto* const connection = x11->connection();
    constexpr std::string_view name = "_NET_ACTIVE_WINDOW";
    const auto cookie = xcb_intern_atom(connection, 0, name.size(), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> atom(xcb_intern_atom_reply(connection, cookie, nullptr));
    if (!atom)
        return;
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = static_cast<xcb_window_t>(target->winId());
    event.type = atom->atom;
    event.data.data32[0] = 1; // from a program
    event.data.data32[1] = time;
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    constexpr uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    xcb_send_event(connection, 0, root, mask, reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

QVariantMap ActivationToken::platformData(const std::string& token, const std::string& startupId) {
    QVariantMap result;
    if (!token.empty())
        result.insert(tokenKey, QString::fromStdString(token));
    if (!startupId.empty())
        result.insert(startupKey, QString::fromStdString(startupId));
    return result;
}

} // namespace quorrel
