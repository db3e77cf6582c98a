// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/Property.h"
#include "Platform/ChildProcess.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Turns a host's name into one IPv4 address by running a system tool and reading what it prints. The derived classes
/// name the tool and what is special about its output.
///
/// One object serves one lookup, on one thread.
class CommandLineLookup {
public:
    CommandLineLookup(const CommandLineLookup&) = delete;
    CommandLineLookup& operator=(const CommandLineLookup&) = delete;
    virtual ~CommandLineLookup() = default;

    /// Blocks until the tool has closed its output; true when an address was taken. A name that the tool would not
    /// take for a name fails without starting it, and so does a second lookup.
    [[nodiscard]] bool lookup(const std::string& hostName);

    /// The address found, as the tool printed it; absent until a lookup succeeded.
    [[nodiscard]] const OptionalText& IP4() const { return m_ip4; }

protected:
    using Lines = std::vector<std::string>;

    /// How one tool differs from another.
    struct Tool final {
        std::vector<std::string> arguments; ///< in front of the host's name
        const char* startText;
        const char* failureMarker; ///< in lower case; found in any
        const char* failureText;
        const char* successText;
        bool alwaysLogsOutput;
    };

    CommandLineLookup(ChildProcess& childProcess, Log& log, std::string path, Tool tool);

private:
    /// The address that belongs to the line that mentions the name; absent when there is none to be had.
    [[nodiscard]] virtual OptionalText addressAt(const Lines& lines, std::size_t matchingLine) const = 0;

    [[nodiscard]] std::string output(const std::string& hostName);
    [[nodiscard]] bool fail();

    ChildProcess& m_childProcess;
    Log& m_log;
    const std::string m_path;
    const Tool m_tool;
    bool m_isUsed = false;
    OptionalText m_ip4;
};

} // namespace quorrel
