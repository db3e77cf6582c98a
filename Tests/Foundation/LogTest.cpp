// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Log.h"
#include "Foundation/Text.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/HostileNames.h"
#include "Tests/Fakes/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

namespace quorrel {

using Lines = std::vector<std::string>;

class LogTest : public testing::Test {
protected:
    LogTest() {
        setZone("UTC");
        preferences.set("logToConsole", true);
    }
    ~LogTest() override { setZone("UTC"); }

    static void setZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }

    Preferences preferences;
    FakeClock clock;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
};

TEST_F(LogTest, aLineHasTimeProcessThreadAndText) {
    log.line("Mounting %@", { "files" });
    EXPECT_EQ(sink.lines(), (Lines { "2026-11-21 10:11:12.345 Quorrel[123:456] Mounting files\n" }));
}

TEST_F(LogTest, theTimeIsLocalWithThreeDigitsOfTheSecond) {
    setZone("XYZ-2:30");
    clock.advance(std::chrono::milliseconds(660));
    log.line("x");
    clock.advance(std::chrono::hours(20));
    log.line("y");
    EXPECT_EQ(sink.lines(),
        (Lines { "2026-11-21 12:41:13.005 Quorrel[123:456] x\n", "2026-11-22 08:41:13.005 Quorrel[123:456] y\n" }));
}

TEST_F(LogTest, thePreferenceIsReadAfreshForEveryLine) {
    log.line("one");
    preferences.set("logToConsole", false);
    log.line("two");
    EXPECT_FALSE(log.isOn());
    preferences.set("logToConsole", true);
    log.line("three");
    preferences.set("logToConsole", std::nullopt);
    log.line("four");
    EXPECT_EQ(sink.texts(), (Lines { "one", "three" }));
}

TEST_F(LogTest, someLinesAreWrittenWhateverThePreferenceSays) {
    preferences.set("logToConsole", false);
    log.lineAlways("\n%@", { "output" });
    EXPECT_EQ(sink.lines(), (Lines { "2026-11-21 10:11:12.345 Quorrel[123:456] \noutput\n" }));
}

TEST_F(LogTest, controlCharactersOfValuesAreEscaped) {
    log.line("\n%@|%@", { std::string("a\x1B[31m\r\0", 8), "b\tc\nd\x7F\xC2\x9B" });
    EXPECT_EQ(sink.texts(), (Lines { "\na\\x1b[31m\\x0d\\x00|b\\tc\\nd\\x7f\\xc2\\x9b" }));
}

TEST_F(LogTest, aProgramsOutputKeepsItsLinesAndColumns) {
    log.output("%@", "a\tb\n\nc\x1B\n");
    preferences.set("logToConsole", false);
    log.output("%@", "unseen");
    log.outputAlways("\n%@", "%@\n2026-11-21: d");
    EXPECT_EQ(sink.texts(), (Lines { "a\tb\n\nc\\x1b\n", "\n%@\n2026-11-21: d" }));
}

TEST_F(LogTest, noLineOfAProgramsOutputReadsLikeOneOfTheLog) {
    const std::string forged = "2026-11-21 10:11:12.345 Quorrel[123:456] Network Reachable.";
    log.output("\n%@", forged + "\n" + forged);
    EXPECT_EQ(sink.texts(), (Lines { "\\n" + forged + "\\n" + forged }));
}

TEST_F(LogTest, aValueIsOneLineWhateverItsName) {
    for (const auto& [evil, name] : hostileNames()) {
        sink.clear();
        log.line("%@ Appeared", { name });
        ASSERT_EQ(sink.texts().size(), 1U) << evil;
        const auto text = sink.texts().front();
        EXPECT_TRUE(std::none_of(text.begin(), text.end(), [](char letter) {
            return (letter >= 0 && letter < ' ') || letter == '\x7F';
        })) << evil;
        EXPECT_TRUE(Text::isUTF8(text)) << evil;
        EXPECT_TRUE(text.ends_with(" Appeared")) << evil;
        for (const auto* hidden : { "\u0085", "\u009b", "\u2028", "\u202e", "\u2066", "\u200b", "\u061c", "\ufeff" })
            EXPECT_EQ(text.find(hidden), std::string::npos) << evil;
    }
}

TEST_F(LogTest, bytesThatAreNotUTF8AreEscapedAndUTF8IsNot) {
    log.line("%@", { "Büro €😀 \xFF\xC3" });
    EXPECT_EQ(sink.texts(), (Lines { "Büro €😀 \\xff\\xc3" }));
}

TEST_F(LogTest, aValueIsNeverTakenForAFormat) {
    log.line("%@ and %@", { "%@ %d %%", "x" });
    EXPECT_EQ(sink.texts(), (Lines { "%@ %d %% and x" }));
}

TEST_F(LogTest, linesOfManyThreadsAreAllThere) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round)
                log.line("line %d", { std::to_string(round) });
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(sink.lines().size(), 400U);
}

} // namespace quorrel
