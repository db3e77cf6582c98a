// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

/// Tells when one file was written, replaced, or came or went. Main thread only.
class FileWatch {
public:
    virtual ~FileWatch() = default;

    /// Calls back from the run loop, once for what happens within a short time. Returns why it cannot, if so. The
    /// watch ends with `stop`, or with its own end.
    [[nodiscard]] virtual std::optional<std::string> start(std::function<void()> changed) = 0;
    virtual void stop() = 0;
};

} // namespace quorrel
