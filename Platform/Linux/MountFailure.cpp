// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MountFailure.h"

#include "Platform/VolumeService.h"

#include <cerrno>
#include <cstring>
#include <string_view>

namespace quorrel {

namespace {

// Numbers of no table: what is shown for them is that the log knows more.
constexpr std::int32_t certificateRefusedStatus = -10001;
constexpr std::int32_t otherStatus = -10002;
constexpr std::int32_t inputOutputBase = -11000;

/// gvfs puts the system's text for an error behind its own, in the language of the session or untranslated.
bool endsWithTextOf(const std::string& message, int number) {
    const char* plain = strerrordesc_np(number);
    return message.ends_with(g_strerror(number)) || (plain && message.ends_with(plain));
}

/// The daemons' own texts come in the session's language too.
bool isText(const std::string& message, const char* text) {
    return message.find(text) != std::string::npos || message.find(g_dgettext("gvfs", text)) != std::string::npos;
}

/// How gvfs says that the server does not even take the folder's name. With an unknown server it says the same.
bool isTextAboutName(const std::string& message) {
    return endsWithTextOf(message, EINVAL) || endsWithTextOf(message, ENAMETOOLONG);
}

std::int32_t statusOfText(const std::string& message) {
    for (const int number : { ENOENT, ENODEV, ENOTDIR })
        if (endsWithTextOf(message, number))
            return VolumeStatus::notFound;
    for (const int number : { ECONNREFUSED, ETIMEDOUT, EHOSTUNREACH, ENETUNREACH, EHOSTDOWN, ENETDOWN })
        if (endsWithTextOf(message, number))
            return VolumeStatus::notResponding;
    for (const int number : { EACCES, EPERM })
        if (endsWithTextOf(message, number))
            return VolumeStatus::permissionDenied;
    for (const int number : { ECONNRESET, EPIPE, ESHUTDOWN, ECONNABORTED, ENETRESET })
        if (endsWithTextOf(message, number))
            return VolumeStatus::shuttingDown;
    if (isText(message, "Not a WebDAV enabled share"))
        return VolumeStatus::notFound;
    if (isText(message, "No suitable authentication mechanism was found."))
        return VolumeStatus::authenticationMethodUnknown;
    if (isText(message, "support AFP version 3.0 or later."))
        return VolumeStatus::serverVersionUnknown;
    // The back ends' ways to say that the server has hung up.
    for (const char* text : { "Got unexpected end of stream", "Connection unexpectedly went down",
             "Host closed connection", "Unexpected end of stream" })
        if (isText(message, text))
            return VolumeStatus::shuttingDown;
    return VolumeStatus::success;
}

std::int32_t statusOfCode(int code) {
    switch (code) {
    case G_IO_ERROR_NOT_FOUND:
    case G_IO_ERROR_NOT_DIRECTORY:
        return VolumeStatus::notFound;
    case G_IO_ERROR_PERMISSION_DENIED:
        return VolumeStatus::permissionDenied;
    case G_IO_ERROR_CONNECTION_REFUSED:
    case G_IO_ERROR_HOST_NOT_FOUND:
    case G_IO_ERROR_HOST_UNREACHABLE:
    case G_IO_ERROR_NETWORK_UNREACHABLE:
    case G_IO_ERROR_TIMED_OUT:
    case G_IO_ERROR_CANCELLED:
        return VolumeStatus::notResponding;
    case G_IO_ERROR_CLOSED:
    case G_IO_ERROR_CONNECTION_CLOSED:
    case G_IO_ERROR_PARTIAL_INPUT:
        return VolumeStatus::shuttingDown;
    case G_IO_ERROR_NOT_SUPPORTED:
    case G_IO_ERROR_NOT_MOUNTED:
        return VolumeStatus::cannotBeMounted;
    default:
        return inputOutputBase - code;
    }
}

} // namespace

bool MountFailure::isAlreadyMounted() const {
    return end == End::Answered && domain == G_IO_ERROR && code == G_IO_ERROR_ALREADY_MOUNTED;
}

bool MountFailure::isDeadBackEnd() const {
    return end == End::Answered && domain == G_DBUS_ERROR
        && (code == G_DBUS_ERROR_NO_REPLY || code == G_DBUS_ERROR_DISCONNECTED || code == G_DBUS_ERROR_SERVICE_UNKNOWN
            || code == G_DBUS_ERROR_NAME_HAS_NO_OWNER);
}

bool MountFailure::isBrokenKeyExchange() const {
    return end == End::Answered && domain == G_IO_ERROR && code == G_IO_ERROR_FAILED
        && message.find("kFPAuthContinue") != std::string::npos; // the protocol's own name for it, not translated
}

bool MountFailure::wantsProbe() const {
    return end == End::Answered && domain == G_IO_ERROR && code == G_IO_ERROR_FAILED && !loginRefused
        && !certificateRefused && verdict == PortProbe::Verdict::Unknown;
}

std::int32_t MountFailure::status() const {
    if (end != End::Answered)
        return VolumeStatus::notResponding;
    if (certificateRefused)
        return certificateRefusedStatus;
    if (loginRefused)
        return VolumeStatus::badLogin;
    if (isDeadBackEnd())
        return VolumeStatus::ioError;
    if (domain == G_RESOLVER_ERROR)
        return VolumeStatus::notResponding;
    if (domain == G_TLS_ERROR)
        return certificateRefusedStatus;
    if (domain != G_IO_ERROR)
        return otherStatus;
    if (code == G_IO_ERROR_FAILED) {
        if (verdict == PortProbe::Verdict::Unresolvable || verdict == PortProbe::Verdict::NotResponding)
            return VolumeStatus::notResponding;
        if (const auto known = statusOfText(message); known != VolumeStatus::success)
            return known;
        if (isOfFolder && verdict == PortProbe::Verdict::Reachable && isTextAboutName(message))
            return VolumeStatus::notFound;
    }
    // A web server's 401 comes as a refusal like any other; its phrase is the protocol's and not translated.
    if (code == G_IO_ERROR_PERMISSION_DENIED && message.find("Unauthorized") != std::string::npos)
        return VolumeStatus::badLogin;
    if (code == G_IO_ERROR_FAILED_HANDLED && passwordRequests > 0)
        return VolumeStatus::badLogin;
    return statusOfCode(code);
}

std::string MountFailure::reason() const {
    switch (end) {
    case End::PastDeadline:
        return "the server did not answer in time";
    case End::Interrupted:
        return "interrupted";
    case End::NotReachable:
        return "no address of the server accepts a connection";
    case End::Answered:
        break;
    }
    std::string text = message;
    if (verdict == PortProbe::Verdict::Unresolvable)
        text += " (the server's name is unknown)";
    else if (verdict == PortProbe::Verdict::NotResponding)
        text += " (no address of the server accepts a connection)";
    return domain == 0 ? text : text + " [" + g_quark_to_string(domain) + " " + std::to_string(code) + "]";
}

} // namespace quorrel
