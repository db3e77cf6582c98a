// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

CommandLine parsed(const std::vector<std::string>& arguments) {
    const auto result = CommandLine::parse(arguments);
    if (const auto* error = std::get_if<UsageError>(&result)) {
        ADD_FAILURE() << error->message;
        return {};
    }
    return std::get<CommandLine>(result);
}

std::string errorOf(const std::vector<std::string>& arguments) {
    const auto result = CommandLine::parse(arguments);
    const auto* error = std::get_if<UsageError>(&result);
    return error != nullptr ? error->message : "no error";
}

TEST(CommandLine, takesNamesAndOptionsInAnyOrder) {
    const auto line = parsed({ "--json", "mount", "nas", "--password-file", "secret", "nas/docs" });
    EXPECT_EQ(line.command, CommandLine::Command::Mount);
    EXPECT_TRUE(line.json);
    EXPECT_FALSE(line.all);
    EXPECT_EQ(line.passwordFile, "secret");
    EXPECT_THAT(line.names, ElementsAre("nas", "nas/docs"));
}

TEST(CommandLine, knowsItsCommands) {
    EXPECT_EQ(parsed({ "list" }).command, CommandLine::Command::List);
    EXPECT_EQ(parsed({ "unmount", "--all" }).command, CommandLine::Command::Unmount);
    EXPECT_TRUE(parsed({ "unmount", "--all" }).all);
    EXPECT_EQ(parsed({ "--help" }).command, CommandLine::Command::Help);
    EXPECT_EQ(parsed({ "mount", "--help" }).command, CommandLine::Command::Help);
    EXPECT_EQ(parsed({ "--version" }).command, CommandLine::Command::Version);
    EXPECT_THAT(parsed({ "list", "--json" }).names, IsEmpty());
    EXPECT_EQ(parsed({ "watch" }).command, CommandLine::Command::Watch);
    EXPECT_EQ(parsed({ "watch", "--password-file", "f" }).passwordFile, "f");
}

TEST(CommandLine, takesThePasswordFileBehindAnEqualsSign) {
    EXPECT_EQ(parsed({ "mount", "--all", "--password-file=a=b" }).passwordFile, "a=b");
}

TEST(CommandLine, takesEverythingBehindTwoDashesAsNames) {
    EXPECT_THAT(parsed({ "mount", "--", "--all", "-x" }).names, ElementsAre("--all", "-x"));
}

TEST(CommandLine, saysWhatIsRightWhenNothingIsToBeMounted) {
    EXPECT_THAT(errorOf({ "mount" }), HasSubstr("mount needs --all, HOST or HOST/SHARE"));
    EXPECT_THAT(errorOf({ "unmount", "--json" }), HasSubstr("unmount needs --all, HOST or HOST/SHARE"));
}

TEST(CommandLine, saysWhatIsRightWithoutACommandOrWithAnUnknownOne) {
    EXPECT_THAT(errorOf({}), HasSubstr("list, mount, unmount or watch"));
    EXPECT_THAT(errorOf({ "mout", "nas" }), HasSubstr("\"mout\""));
    EXPECT_THAT(errorOf({ "mount", "--al" }), HasSubstr("\"--al\""));
}

TEST(CommandLine, refusesContradictions) {
    EXPECT_THAT(errorOf({ "mount", "--all", "nas" }), HasSubstr("not both"));
    EXPECT_THAT(errorOf({ "list", "nas" }), HasSubstr("list takes no names"));
    EXPECT_THAT(errorOf({ "list", "--all" }), HasSubstr("list takes no names"));
    for (const auto* more : { "nas", "--all", "--json" })
        EXPECT_THAT(errorOf({ "watch", more }), HasSubstr("watch takes no names"));
    EXPECT_THAT(errorOf({ "unmount", "nas", "--password-file", "f" }), HasSubstr("goes with mount and watch alone"));
    EXPECT_THAT(errorOf({ "mount", "nas", "--password-file" }), HasSubstr("needs the name of a file"));
    EXPECT_THAT(errorOf({ "mount", "nas", "--password-file=" }), HasSubstr("needs the name of a file"));
}

TEST(CommandLine, refusesAPasswordAsAnArgumentWithoutRepeatingIt) {
    for (const auto& arguments : std::vector<std::vector<std::string>> { { "mount", "nas", "--password", "hunter2" },
             { "mount", "nas", "--password=hunter2" }, { "mount", "nas", "-phunter2" } }) {
        EXPECT_THAT(errorOf(arguments), HasSubstr("--password-file FILE"));
        EXPECT_THAT(errorOf(arguments), Not(HasSubstr("hunter2")));
    }
    EXPECT_THAT(errorOf({ "mount", "nas", "--secret=hunter2" }), Not(HasSubstr("hunter2")));
}

TEST(CommandLine, everyErrorIsOneLineFitForATerminal) {
    for (const auto& word : { "a\nb", "a\x1b[2Jb", "--a\nb" })
        for (const char byte : errorOf({ word }))
            EXPECT_GE(static_cast<unsigned char>(byte), 0x20) << word;
}

TEST(CommandLine, tellsAllItsOptionsInTheHelp) {
    for (const auto* word :
        { "list", "mount", "unmount", "watch", "--all", "--json", "--password-file", "--help", "--version" })
        EXPECT_THAT(CommandLine::helpText(), HasSubstr(word));
}

} // namespace
} // namespace quorrel
