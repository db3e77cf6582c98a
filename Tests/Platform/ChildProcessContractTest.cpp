// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PosixChildProcess.h"
#include "Tests/Fakes/FakeChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace quorrel {

namespace {

struct OnFake final {
    FakeChildProcess process;
    std::string programThatPrints(const std::string& text) {
        process.setOutput("/program", text);
        return "/program";
    }
    /// One that prints each argument in angle brackets.
    std::string programThatPrintsArguments() {
        process.setResponder("/program", [](const FakeChildProcess::Call& call) {
            ChildProcessResult result { true, {}, {} };
            for (const auto& argument : call.arguments)
                result.output += "<" + argument + ">";
            return result;
        });
        return "/program";
    }
};

struct OnLinux final {
    PosixChildProcess process;
    TemporaryFolder folder;
    [[nodiscard]] std::string programThatPrints(const std::string& text) const {
        folder.put("text", text);
        return folder.put("program", "#!/bin/sh\nexec cat '" + folder.path("text") + "'\n", 0700);
    }
    [[nodiscard]] std::string programThatPrintsArguments() const {
        return folder.put("program", "#!/bin/sh\nfor each; do printf '<%s>' \"$each\"; done\n", 0700);
    }
};

} // namespace

template <typename Ground>
class ChildProcessContract : public testing::Test {
protected:
    Ground ground;
};

using Grounds = testing::Types<OnFake, OnLinux>;
TYPED_TEST_SUITE(ChildProcessContract, Grounds);

TYPED_TEST(ChildProcessContract, givesTheOutputToItsEnd) {
    const std::string text("first\nsecond without a line end\r\n\0\xFF tail", 40);
    const auto program = this->ground.programThatPrints(text);
    const auto result = this->ground.process.run(program, {});
    EXPECT_TRUE(result.started);
    EXPECT_EQ(result.failure, "");
    EXPECT_EQ(result.output, text);
}

TYPED_TEST(ChildProcessContract, passesArgumentsOnAsTheyAre) {
    const auto program = this->ground.programThatPrintsArguments();
    EXPECT_EQ(
        this->ground.process.run(program, { "a b", "", "*", "$HOME \"'", "-R " }).output, "<a b><><*><$HOME \"'><-R >");
    EXPECT_EQ(this->ground.process.run(program, {}).output, "");
}

TYPED_TEST(ChildProcessContract, aProgramThatIsNotThereIsNotStartedAndSaysWhy) {
    const auto result = this->ground.process.run("/no/such/program", { "x" });
    EXPECT_FALSE(result.started);
    EXPECT_EQ(result.failure, "No such file or directory");
    EXPECT_EQ(result.output, "");
}

} // namespace quorrel
