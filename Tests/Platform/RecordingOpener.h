// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/TemporaryFolder.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

namespace quorrel {

/// A program that writes down what it was started with, in a folder of its own.
class RecordingOpener final {
public:
    /// The script runs in the program before it ends, with its arguments; what that prints is recorded behind them.
    explicit RecordingOpener(const std::string& script = "") {
        const auto record = m_folder.path("record");
        m_folder.put("xdg-open",
            "#!/bin/sh\n{ printf '%s|' \"$#\" \"$@\"\n" + script + "\n} >'" + record + ".new'\nexec /bin/mv '" + record
                + ".new' '" + record + "'\n",
            0700);
    }

    [[nodiscard]] const std::string& folder() const { return m_folder.path(); }
    [[nodiscard]] std::string program() const { return m_folder.path("xdg-open"); }
    void remove() const { std::filesystem::remove(program()); }

    /// The count of its arguments and the arguments, each with a bar behind it, then what the script printed; waits for
    /// a start. Absent when there is none within ten seconds.
    [[nodiscard]] std::optional<std::string> takeRecord() const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!std::filesystem::exists(m_folder.path("record"))) {
            if (std::chrono::steady_clock::now() > end)
                return std::nullopt;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        auto content = m_folder.contentOf("record");
        std::filesystem::remove(m_folder.path("record"));
        return content;
    }
    [[nodiscard]] bool wasStarted() const { return m_folder.names().size() > 1; }

private:
    TemporaryFolder m_folder;
};

} // namespace quorrel
