// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ChildProcess.h"

#include <string>
#include <utility>
#include <vector>

namespace quorrel::fuzz {

/// A program that prints one thing, whatever it is called with. One thread; keeps only the last call.
class CannedTool final : public ChildProcess {
public:
    explicit CannedTool(std::string output)
        : m_output(std::move(output)) { }

    [[nodiscard]] ChildProcessResult run(const std::string&, const std::vector<std::string>& arguments) override {
        m_arguments = arguments;
        return { true, {}, m_output };
    }

    /// Empty when it was not started.
    [[nodiscard]] const std::vector<std::string>& arguments() const { return m_arguments; }

private:
    const std::string m_output;
    std::vector<std::string> m_arguments;
};

} // namespace quorrel::fuzz
