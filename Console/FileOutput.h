// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/Output.h"

namespace quorrel {

/// Writes to a file descriptor, without a buffer.
class FileOutput final : public Output {
public:
    /// Borrows the descriptor. `terminalType` is what the environment says of terminals, empty for none.
    FileOutput(int descriptor, std::string_view terminalType);

    void write(std::string_view text) override;
    [[nodiscard]] bool isTerminal() const override { return m_isTerminal; }
    [[nodiscard]] Size size() const override;
    [[nodiscard]] bool isLost() const override { return m_isLost; }

private:
    const int m_descriptor;
    const bool m_isTerminal;
    bool m_isLost = false;
};

} // namespace quorrel
