// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Log.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace quorrel {

namespace {

std::string stamp(Clock::Time time) {
    using namespace std::chrono;
    const auto seconds = floor<std::chrono::seconds>(time);
    const auto milliseconds = duration_cast<std::chrono::milliseconds>(time - seconds).count();
    const std::time_t whole = system_clock::to_time_t(seconds);
    std::tm local {};
    localtime_r(&whole, &local);
    std::array<char, 32> day {};
    std::strftime(day.data(), day.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::array<char, 8> fraction {};
    std::snprintf(fraction.data(), fraction.size(), ".%03d", static_cast<int>(milliseconds));
    return std::string(day.data()) + fraction.data();
}

/// Whether it begins as a line of the log does.
bool beginsWithStamp(std::string_view text) {
    constexpr std::string_view form = "0000-00-00 00:00:00.000 ";
    const auto fits
        = [](char wanted, char found) { return wanted == '0' ? found >= '0' && found <= '9' : wanted == found; };
    return text.size() >= form.size() && std::equal(form.begin(), form.end(), text.begin(), fits);
}

/// A name in what a tool prints may hold line feeds.
std::string withoutStamps(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index)
        if (text[index] == '\n' && beginsWithStamp(text.substr(index + 1)))
            result += "\\n";
        else
            result += text[index];
    return result;
}

} // namespace

Log::Log(const Preferences& preferences, const Clock& clock, LogSink& sink)
    : m_preferences(preferences)
    , m_clock(clock)
    , m_sink(sink) { }

bool Log::isOn() const {
    return m_preferences.boolean("logToConsole");
}

void Log::line(std::string_view format, std::initializer_list<std::string> values) {
    if (isOn())
        lineAlways(format, values);
}

void Log::lineAlways(std::string_view format, std::initializer_list<std::string> values) {
    write(Text::filledOnOneLine(format, values));
}

void Log::output(std::string_view format, const std::string& text) {
    if (isOn())
        outputAlways(format, text);
}

void Log::outputAlways(std::string_view format, const std::string& text) {
    write(withoutStamps(Text::filled(format, { Text::escapedControls(text) })));
}

void Log::write(std::string_view text) {
    m_sink.write(stamp(m_clock.now()) + " Quorrel[" + std::to_string(m_sink.processIdentifier()) + ":"
        + std::to_string(m_sink.threadIdentifier()) + "] " + std::string(text) + "\n");
}

} // namespace quorrel
