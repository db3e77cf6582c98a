// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/PortProbe.h"

#include <cstdint>
#include <string>

namespace quorrel {

/// Why gvfs did not mount, and what number stands for that. A value type.
struct MountFailure final {
    enum class End { Answered, PastDeadline, Interrupted, NotReachable };

    End end = End::Answered;
    GQuark domain = 0; ///< of gvfs's answer
    int code = 0;
    std::string message;
    int passwordRequests = 0;
    bool loginRefused = false; ///< a login was asked for that there was none for, or once more
    bool certificateRefused = false;
    bool isOfFolder = false; ///< of a folder in a share, and not of a share as a whole
    PortProbe::Verdict verdict = PortProbe::Verdict::Unknown;

    [[nodiscard]] bool isAlreadyMounted() const;
    /// Whether the process that was to mount died on the way.
    [[nodiscard]] bool isDeadBackEnd() const;
    /// Whether AFP's program lost its way in the exchange of keys, which happens with one mount in a hundred.
    [[nodiscard]] bool isBrokenKeyExchange() const;
    /// Whether only a look at the server's port can tell the cause.
    [[nodiscard]] bool wantsProbe() const;

    [[nodiscard]] std::int32_t status() const;
    /// For the log; holds no login.
    [[nodiscard]] std::string reason() const;
};

} // namespace quorrel
