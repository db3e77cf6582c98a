// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Log.h"

#include "Foundation/Text.h"

#include <array>
#include <chrono>
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
    m_sink.write(stamp(m_clock.now()) + " Quorrel[" + std::to_string(m_sink.processIdentifier()) + ":"
        + std::to_string(m_sink.threadIdentifier()) + "] " + Text::filledEscaped(format, values) + "\n");
}

} // namespace quorrel
