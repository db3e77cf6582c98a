// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/Output.h"
#include "Platform/Linux/DescriptorWatch.h"
#include "Platform/Linux/FileDescriptor.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>

#include <sys/types.h>

namespace quorrel {

/// Writes to a file descriptor what its reader takes at once, and the rest from the main GLib context as room comes: a
/// full pipe or a halted terminal holds nobody up. Of what waits too long the oldest texts go. Main thread only.
class BufferedOutput final : public Output {
public:
    static constexpr std::size_t usualLimit = 65536;

    /// Borrows the descriptor, whose flags stay as they are: others may have it too. Keeps so many bytes.
    explicit BufferedOutput(int descriptor, std::size_t limit = usualLimit);
    BufferedOutput(const BufferedOutput&) = delete;
    BufferedOutput& operator=(const BufferedOutput&) = delete;
    /// Gives the reader a moment for the rest.
    ~BufferedOutput() override;

    void write(std::string_view text) override;
    /// Never, since nobody knows what of it is shown already.
    [[nodiscard]] bool isTerminal() const override { return false; }
    [[nodiscard]] Size size() const override { return {}; }

private:
    void flush();
    void dropOldest();
    void dropAll();
    /// As `write` does, without waiting.
    [[nodiscard]] ssize_t transfer(std::string_view bytes) const;

    const std::size_t m_limit;
    const FileDescriptor m_own; // the same file opened once more, where that spares a wait
    const int m_descriptor;
    const bool m_isSocket;
    std::deque<std::string> m_texts; // in the order of their writing
    std::size_t m_size = 0; // of all of them
    std::size_t m_written = 0; // of the first of them
    std::optional<DescriptorWatch> m_room;
};

} // namespace quorrel
