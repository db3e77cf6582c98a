// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Foundation/Preferences.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace quorrel {

/// Where log lines go, and whose they are. Any thread; `write` gets whole lines and must not tear them.
class LogSink {
public:
    virtual ~LogSink() = default;

    virtual void write(std::string_view line) = 0;
    [[nodiscard]] virtual long processIdentifier() const = 0;
    /// Of the calling thread.
    [[nodiscard]] virtual long threadIdentifier() const = 0;
};

/// The program's log. Any thread.
///
/// A line is "2026-11-21 10:11:12.345 Quorrel[PID:TID] text", in local time. Values are put into the places of the
/// format each on one line, with their control characters escaped. The preference "logToConsole" is read afresh for
/// every line.
class Log final {
public:
    /// Everything handed in must outlive the log.
    Log(const Preferences& preferences, const Clock& clock, LogSink& sink);

    /// Writes the line if the preference is on.
    void line(std::string_view format, std::initializer_list<std::string> values = {});
    /// Writes the line whatever the preference says.
    void lineAlways(std::string_view format, std::initializer_list<std::string> values = {});

    /// As `line` and `lineAlways`, for what a program wrote: its line feeds and tabs stay, save where what follows
    /// reads like a line of this log.
    void output(std::string_view format, const std::string& text);
    void outputAlways(std::string_view format, const std::string& text);

    [[nodiscard]] bool isOn() const;

private:
    void write(std::string_view text);

    const Preferences& m_preferences;
    const Clock& m_clock;
    LogSink& m_sink;
};

} // namespace quorrel
