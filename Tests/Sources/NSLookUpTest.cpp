// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/NSLookUp.h"

#include "Tests/Fakes/HostileNames.h"
#include "Tests/Sources/LookupFixture.h"
#include "Tests/Sources/ToolOutputs.h"

#include <algorithm>
#include <regex>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NSLookUpTest : public LookupFixture {
protected:
    bool lookUp(const std::string& name, const std::string& output) {
        childProcess.setOutput(nslookup, output);
        return tool.lookup(name);
    }

    NSLookUp tool { childProcess, log };
};

TEST_F(NSLookUpTest, hasNoAddressBeforeALookup) {
    EXPECT_EQ(tool.IP4(), std::nullopt);
}

TEST_F(NSLookUpTest, takesTheAddressBelowTheLineThatMentionsTheName) {
    EXPECT_TRUE(lookUp("fileserver", "Server: dns\nAddress: 10.0.1.1#53\n\nName: fileserver\nAddress: 10.0.1.7\n"));
    EXPECT_EQ(tool.IP4(), "10.0.1.7");
}

TEST_F(NSLookUpTest, runsTheToolWithTheNameAlone) {
    EXPECT_TRUE(lookUp("files.lan.test", ToolOutputs::nslookupFound));
    EXPECT_EQ(tool.IP4(), "10.77.0.2");
    EXPECT_THAT(childProcess.calls(), ElementsAre(Call { "/usr/bin/nslookup", { "files.lan.test" } }));
}

TEST_F(NSLookUpTest, runsTheToolItWasGiven) {
    NSLookUp other(childProcess, log, "/opt/tools/ask");
    childProcess.setOutput("/opt/tools/ask", ToolOutputs::nslookupFound);
    EXPECT_TRUE(other.lookup("files.lan.test"));
    EXPECT_THAT(childProcess.calls(), ElementsAre(Call { "/opt/tools/ask", { "files.lan.test" } }));
}

TEST_F(NSLookUpTest, logsEachStepInOrder) {
    EXPECT_TRUE(lookUp("files.lan.test", ToolOutputs::nslookupFound));
    EXPECT_THAT(sink.texts(),
        ElementsAre("Resolving files.lan.test with nsLookup", std::string("\n") + ToolOutputs::nslookupFound,
            "nslookup resolved files.lan.test to: 10.77.0.2"));
}

TEST_F(NSLookUpTest, takesWhatAToolThatWasEndedHadSaidAndTellsOfIt) {
    childProcess.setResponder(nslookup, [&](const Call&) {
        return ChildProcessResult { true, "It took longer than 5 milliseconds", "Name: attic\nAddress: 10.0.1.7\n" };
    });
    EXPECT_TRUE(tool.lookup("attic"));
    EXPECT_THAT(sink.texts(),
        ElementsAre("Resolving attic with nsLookup", "/usr/bin/nslookup was ended: It took longer than 5 milliseconds",
            "\nName: attic\nAddress: 10.0.1.7\n", "nslookup resolved attic to: 10.0.1.7"));
}

TEST_F(NSLookUpTest, saysWhatItDoesBeforeItRunsTheTool) {
    std::vector<std::string> before;
    childProcess.setResponder(nslookup, [&](const Call&) {
        before = sink.texts();
        return ChildProcessResult { true, {}, ToolOutputs::nslookupFound };
    });
    EXPECT_TRUE(tool.lookup("files.lan.test"));
    EXPECT_THAT(before, ElementsAre("Resolving files.lan.test with nsLookup"));
}

TEST_F(NSLookUpTest, logsNothingWhenTheLogIsOff) {
    preferences.set("logToConsole", false);
    EXPECT_TRUE(lookUp("files.lan.test", ToolOutputs::nslookupFound));
    NSLookUp second(childProcess, log);
    childProcess.setOutput(nslookup, ToolOutputs::nslookupUnknown);
    EXPECT_FALSE(second.lookup("nosuch.lan.test"));
    EXPECT_THAT(sink.lines(), IsEmpty());
}

TEST_F(NSLookUpTest, takesTheFirstOfTwoAddresses) {
    EXPECT_TRUE(lookUp("dual.lan.test", ToolOutputs::nslookupBothFamilies));
    EXPECT_EQ(tool.IP4(), "10.77.0.3");
}

TEST_F(NSLookUpTest, cutsNineCharactersOffWhateverStandsBelowAnAlias) {
    EXPECT_TRUE(lookUp("alias.lan.test", ToolOutputs::nslookupAlias));
    EXPECT_EQ(tool.IP4(), "es.lan.test");
}

TEST_F(NSLookUpTest, takesTheRestOfTheLineUntrimmed) {
    EXPECT_TRUE(lookUp("fileserver", "Name: fileserver\nAddress:  10.0.1.7 \n"));
    EXPECT_EQ(tool.IP4(), " 10.0.1.7 ");
}

TEST_F(NSLookUpTest, countsCharactersNotBytes) {
    EXPECT_TRUE(lookUp("fileserver", "Name: fileserver\n\xC3\xA9ress:  10.0.1.7\n")); // two undecodable bytes
    EXPECT_EQ(tool.IP4(), "10.0.1.7");
}

TEST_F(NSLookUpTest, aShortLineBelowTheNameGivesAnEmptyAddress) {
    EXPECT_TRUE(lookUp("fileserver", "Name: fileserver\n\nAddress: 10.0.1.7\n"));
    EXPECT_EQ(tool.IP4(), "");
}

TEST_F(NSLookUpTest, theFirstLineThatMentionsTheNameWinsWhateverItSays) {
    EXPECT_TRUE(lookUp("dns", "Server:\t\tdns.lan\nAddress:\t10.0.1.1#53\n\nName:\tdns\nAddress: 10.0.1.9\n"));
    EXPECT_EQ(tool.IP4(), "10.0.1.1#53");
}

TEST_F(NSLookUpTest, looksForTheNameLetterForLetter) {
    EXPECT_FALSE(lookUp("FileServer", "Name: fileserver\nAddress: 10.0.1.7\n"));
    EXPECT_EQ(tool.IP4(), std::nullopt);
}

TEST_F(NSLookUpTest, failsSilentlyWhenNoLineMentionsTheName) {
    EXPECT_FALSE(lookUp("files.lan.test", ToolOutputs::nslookupDeadServer));
    EXPECT_EQ(tool.IP4(), std::nullopt);
    EXPECT_THAT(sink.texts(),
        ElementsAre("Resolving files.lan.test with nsLookup", std::string("\n") + ToolOutputs::nslookupDeadServer));
}

TEST_F(NSLookUpTest, theFailureMarkerOnAnyLineFails) {
    EXPECT_FALSE(lookUp("files.lan.test", ToolOutputs::nslookupFound + std::string("** server can't find it\n")));
    EXPECT_EQ(tool.IP4(), std::nullopt);
    EXPECT_FALSE(NSLookUp(childProcess, log).lookup("files.lan.test"));
}

TEST_F(NSLookUpTest, logsTheFailureAfterTheOutput) {
    EXPECT_FALSE(lookUp("nosuch.lan.test", ToolOutputs::nslookupUnknown));
    EXPECT_THAT(sink.texts(),
        ElementsAre("Resolving nosuch.lan.test with nsLookup", std::string("\n") + ToolOutputs::nslookupUnknown,
            "nslookup Failed."));
}

TEST_F(NSLookUpTest, theFailureMarkerMatchesInAnyLetterCase) {
    EXPECT_FALSE(lookUp("fileserver", "** SERVER CAN'T FIND fileserver\nAddress: 10.0.1.7\n"));
    EXPECT_EQ(tool.IP4(), std::nullopt);
}

TEST_F(NSLookUpTest, aNameOnTheLastLineHasNoAddress) {
    EXPECT_FALSE(lookUp("fileserver", "Address: 10.0.1.1\nName: fileserver\n"));
    EXPECT_EQ(tool.IP4(), std::nullopt);
    EXPECT_THAT(
        sink.texts(), ElementsAre("Resolving fileserver with nsLookup", "\nAddress: 10.0.1.1\nName: fileserver\n"));
}

TEST_F(NSLookUpTest, linesMayEndInCarriageReturns) {
    for (const std::string end : { "\n", "\r\n", "\r" }) {
        const auto text = std::regex_replace(std::string(ToolOutputs::nslookupFound), std::regex("\n"), end);
        childProcess.setOutput(nslookup, text);
        NSLookUp each(childProcess, log);
        EXPECT_TRUE(each.lookup("files.lan.test")) << text;
        EXPECT_EQ(each.IP4(), "10.77.0.2");
    }
}

TEST_F(NSLookUpTest, controlCharactersOfTheOutputAreEscapedInTheLog) {
    EXPECT_FALSE(lookUp("fileserver", "\x1b[2J\r\n"));
    EXPECT_THAT(sink.texts(), ElementsAre("Resolving fileserver with nsLookup", "\n\\x1b[2J\\x0d\n"));
}

TEST_F(NSLookUpTest, aNameThatLooksLikeAnOptionStartsNothing) {
    EXPECT_FALSE(lookUp("-files.lan.test", ToolOutputs::nslookupFound));
    EXPECT_THAT(childProcess.calls(), IsEmpty());
    EXPECT_EQ(tool.IP4(), std::nullopt);
    EXPECT_THAT(sink.texts(), ElementsAre("Resolving -files.lan.test with nsLookup", "nslookup Failed."));
}

TEST_F(NSLookUpTest, anyNameIsOneArgumentOrNoneAndFails) {
    for (const auto& [evil, name] : hostileNames(longestCostlyName())) {
        FakeChildProcess tools;
        tools.setOutput(nslookup, "");
        NSLookUp each(tools, log);
        EXPECT_FALSE(each.lookup(name)) << evil;
        for (const auto& call : tools.calls()) {
            EXPECT_EQ(call.path, nslookup);
            ASSERT_EQ(call.arguments.size(), 1U) << evil;
            EXPECT_TRUE(call.arguments.front() == name) << evil;
            EXPECT_FALSE(name.empty() || name.starts_with('-')) << evil;
            EXPECT_TRUE(std::none_of(name.begin(), name.end(), [](char letter) { return letter >= 0 && letter < ' '; }))
                << evil;
        }
    }
}

TEST_F(NSLookUpTest, anEmptyNameStartsNothing) {
    EXPECT_FALSE(lookUp("", ToolOutputs::nslookupFound));
    EXPECT_THAT(childProcess.calls(), IsEmpty());
}

TEST_F(NSLookUpTest, aToolThatCannotBeStartedFailsLikeOneThatPrintsNothing) {
    childProcess.setFailure(nslookup, "No such file or directory");
    EXPECT_FALSE(tool.lookup("fileserver"));
    EXPECT_EQ(tool.IP4(), std::nullopt);
    EXPECT_THAT(sink.texts(), ElementsAre("Resolving fileserver with nsLookup", "\n"));
}

TEST_F(NSLookUpTest, servesOneLookupOnly) {
    EXPECT_TRUE(lookUp("files.lan.test", ToolOutputs::nslookupFound));
    EXPECT_FALSE(tool.lookup("files.lan.test"));
    EXPECT_EQ(childProcess.calls().size(), 1U);
}

} // namespace
} // namespace quorrel
