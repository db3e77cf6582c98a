// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Foundation/Text.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fuzz/FuzzInput.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#ifdef __clang__
#define QUORREL_FUZZ_UNCOUNTED __attribute__((no_sanitize("coverage")))
#else
#define QUORREL_FUZZ_UNCOUNTED
#endif

namespace quorrel::fuzz {

/// A log that is on, keeps nothing, and looks at each line.
class FuzzLog final : private LogSink {
public:
    FuzzLog() { m_preferences.set("logToConsole", true); }

    [[nodiscard]] Log& log() { return m_log; }
    /// What no line may have in it; empty: all is allowed.
    void setSecret(std::string secret) { m_secret = std::move(secret); }

private:
    void write(std::string_view line) override {
        require(line.ends_with('\n'), "a line of the log ends");
        const auto letters = lettersOf(line);
        require(!letters.hasControls, "the log has no control characters");
        require(!letters.hasOthers || Text::isUTF8(line), "the log is UTF-8");
        for (auto end = line.find('\n'); end != std::string_view::npos; end = line.find('\n', end + 1))
            require(!hasStamp(line.substr(end + 1)), "nothing that is logged writes lines of the log");
        require(m_secret.empty() || !contains(line, m_secret), "the log has no password");
    }
    [[nodiscard]] long processIdentifier() const override { return 1; }
    [[nodiscard]] long threadIdentifier() const override { return 1; }

    static bool hasStamp(std::string_view text) {
        constexpr std::string_view form = "0000-00-00 00:00:00.000 ";
        if (text.size() < form.size())
            return false;
        for (std::size_t index = 0; index < form.size(); ++index)
            if (form[index] == '0' ? text[index] < '0' || text[index] > '9' : text[index] != form[index])
                return false;
        return true;
    }

    struct Letters final {
        bool hasControls = false; ///< but for line feed and tab
        bool hasOthers = false; ///< than ASCII's
    };
    // Not counted as coverage: it would cost more than what writes the line, and no branch of it belongs to a reader.
    QUORREL_FUZZ_UNCOUNTED static Letters lettersOf(std::string_view line) {
        Letters result;
        for (const char each : line) {
            const auto letter = static_cast<unsigned char>(each);
            result.hasControls |= (letter < 0x20 && letter != '\n' && letter != '\t') || letter == 0x7F;
            result.hasOthers |= letter >= 0x80;
        }
        return result;
    }

    Preferences m_preferences;
    FakeClock m_clock;
    Log m_log { m_preferences, m_clock, *this };
    std::string m_secret;
};

} // namespace quorrel::fuzz
