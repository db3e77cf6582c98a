// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShellScriptRunner.h"

#include "Tests/Sources/MountFixture.h"

namespace quorrel {

namespace {

class ShellScriptRunnerTest : public MountFixture {
protected:
    ShellScriptRunnerTest() { childProcess.setOutput("/bin/after", "done\n"); }

    [[nodiscard]] bool execute(const std::string& arguments) {
        return ShellScriptRunner(childProcess, log).execute("/bin/after", arguments);
    }

    [[nodiscard]] std::vector<std::string> lastArguments() const { return childProcess.calls().back().arguments; }
};

TEST_F(ShellScriptRunnerTest, AnArgumentTextWithBlanksIsOneArgument) {
    EXPECT_TRUE(execute("a b"));
    EXPECT_EQ(lastArguments(), (std::vector<std::string> { "a b" }));
}

TEST_F(ShellScriptRunnerTest, AnEmptyArgumentTextIsNoArgument) {
    EXPECT_TRUE(execute(""));
    EXPECT_TRUE(lastArguments().empty());
}

TEST_F(ShellScriptRunnerTest, TheRunIsLoggedAndThenTheOutputWithItsOwnLineEnd) {
    EXPECT_TRUE(execute("a b"));
    const auto lines = sink.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].ends_with("] Running script: /bin/after a b\n")) << lines[0];
    EXPECT_TRUE(lines[1].ends_with("] done\n\n")) << lines[1];
}

TEST_F(ShellScriptRunnerTest, TheRunIsLoggedBeforeTheScriptCanHang) {
    std::vector<std::string> loggedBefore;
    childProcess.setResponder("/bin/after", [&](const FakeChildProcess::Call&) {
        loggedBefore = sink.texts();
        return ChildProcessResult { true, {}, "done\n" };
    });
    EXPECT_TRUE(execute(""));
    EXPECT_EQ(loggedBefore, (std::vector<std::string> { "Running script: /bin/after " }));
}

TEST_F(ShellScriptRunnerTest, OutputOutsideAsciiIsReplacedAndItsControlsEscaped) {
    childProcess.setOutput("/bin/after", "gr\xC3\xBCn 100%@ \x1B[31m\ttab");
    EXPECT_TRUE(execute(""));
    EXPECT_EQ(sink.lastText(), "gr\xEF\xBF\xBD\xEF\xBF\xBDn 100%@ \\x1b[31m\ttab");
}

TEST_F(ShellScriptRunnerTest, WhatWasLeftOutIsLoggedBehindTheOutput) {
    childProcess.setResponder("/bin/after", [&](const FakeChildProcess::Call&) {
        return ChildProcessResult { true, "It printed too much", "done\n" };
    });
    EXPECT_TRUE(execute(""));
    EXPECT_EQ(sink.texts(),
        (std::vector<std::string> {
            "Running script: /bin/after ", "done\n", "The script /bin/after: It printed too much" }));
}

TEST_F(ShellScriptRunnerTest, WithTheLogOffTheScriptRunsInSilence) {
    preferences.set("logToConsole", false);
    EXPECT_TRUE(execute("x"));
    EXPECT_EQ(childProcess.calls().size(), 1U);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(ShellScriptRunnerTest, AScriptThatCannotBeStartedIsLoggedOnceWithItsPathAndReason) {
    childProcess.setFailure("/bin/after", "Exec format error");
    EXPECT_FALSE(execute("x"));
    EXPECT_EQ(sink.texts(),
        (std::vector<std::string> {
            "Running script: /bin/after x", "The script /bin/after could not be started: Exec format error" }));
}

} // namespace

} // namespace quorrel
