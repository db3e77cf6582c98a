// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ServiceManager.h"

#include <string>

namespace quorrel {

class Log;

/// Tells the service manager through the datagram socket that it names to the services that it starts. What cannot be
/// told is logged.
class NotifySocket final : public ServiceManager {
public:
    /// A path, or a name in the abstract name space with "@" before it; empty when there is nobody to tell. The log
    /// must outlive the socket.
    NotifySocket(std::string address, Log& log);

    void ready() override;
    void reloading() override;
    void stopping() override;

private:
    void send(const std::string& state);

    const std::string m_address;
    Log& m_log;
};

} // namespace quorrel
