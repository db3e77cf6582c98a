// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/NotifySocket.h"

#include "Foundation/Log.h"
#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/SystemError.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <utility>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace quorrel {

namespace {

/// Returns the error number.
int sendTo(const std::string& address, const std::string& text) {
    sockaddr_un where {};
    where.sun_family = AF_UNIX;
    if (address.size() >= sizeof where.sun_path)
        return ENAMETOOLONG;
    if (address.front() != '/' && address.front() != '@')
        return EAFNOSUPPORT;
    std::memcpy(where.sun_path, address.data(), address.size());
    if (address.front() == '@')
        where.sun_path[0] = '\0';
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen())
        return errno;
    // A manager that is behind with its work gets a moment; one that hangs must not keep us.
    constexpr timeval patience { 0, 200000 };
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
    const auto sent = ::sendto(
        socket.get(), text.data(), text.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&where), length);
    return sent < 0 ? errno : 0;
}

} // namespace

NotifySocket::NotifySocket(std::string address, Log& log)
    : m_address(std::move(address))
    , m_log(log) { }

void NotifySocket::ready() {
    send("READY=1");
}

void NotifySocket::reloading() {
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    send("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(now.tv_sec * 1000000L + now.tv_nsec / 1000));
}

void NotifySocket::stopping() {
    send("STOPPING=1");
}

void NotifySocket::send(const std::string& state) {
    if (m_address.empty())
        return;
    if (const int error = sendTo(m_address, state))
        m_log.line("The service manager could not be told %@: %@", { state, systemErrorText(error) });
}

} // namespace quorrel
