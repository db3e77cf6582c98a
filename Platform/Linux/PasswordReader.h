// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/FileDescriptor.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorrel {

/// Reads the first line of what another program hands over, be it a pipe, a socket or a file, without waiting for it.
/// Main thread only, on the main GLib context; destroying it stops it.
class PasswordReader final {
public:
    /// Told once, some seconds later at most; absent where it cannot be read, is too long, holds what no password does,
    /// or does not end. It must not throw; it may destroy the reader.
    using Done = std::function<void(std::optional<std::string> password)>;

    PasswordReader(FileDescriptor source, Done done);
    PasswordReader(const PasswordReader&) = delete;
    PasswordReader& operator=(const PasswordReader&) = delete;
    ~PasswordReader();

private:
    struct Callbacks;
    struct Reading;

    const std::shared_ptr<Reading> m_reading;
};

} // namespace quorrel
