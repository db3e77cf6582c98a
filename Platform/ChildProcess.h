// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace quorrel {

struct ChildProcessResult final {
    bool started = false;
    std::string failure; ///< why it could not be started, or was ended before its time
    std::string output; ///< standard output to its end, raw bytes
};

/// Runs programs. Any thread; blocks the caller. One that is made with bounds ends a program that does not keep them,
/// tells why, and gives the output as far as it came.
class ChildProcess {
public:
    virtual ~ChildProcess() = default;

    /// Starts the file at that path, without a shell or a search path, and reads its standard output until every
    /// writer has closed it. Standard input and standard error are inherited. The exit status is not told.
    [[nodiscard]] virtual ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments)
        = 0;
};

} // namespace quorrel
