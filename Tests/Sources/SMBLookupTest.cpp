// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SMBLookup.h"

#include "Tests/Sources/LookupFixture.h"
#include "Tests/Sources/ToolOutputs.h"

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SMBLookupTest : public LookupFixture {
protected:
    bool lookUp(const std::string& name, const std::string& output) {
        childProcess.setOutput(nmblookup, output);
        return tool.lookup(name);
    }

    SMBLookup tool { childProcess, log };
};

TEST_F(SMBLookupTest, takesTheTextBeforeTheFirstBlankOfTheLineThatMentionsTheName) {
    EXPECT_TRUE(lookUp("FILESERVER", "10.0.1.7 FILESERVER<00>\n"));
    EXPECT_EQ(tool.IP4(), "10.0.1.7");
}

TEST_F(SMBLookupTest, looksForTheNameLetterForLetter) {
    EXPECT_FALSE(lookUp("fileserver", "10.0.1.7 FILESERVER<00>\n"));
    EXPECT_EQ(tool.IP4(), std::nullopt);
}

TEST_F(SMBLookupTest, anEarlierLineThatMentionsTheNameWins) {
    EXPECT_TRUE(lookUp("FILESERVER", "querying FILESERVER on 10.0.1.255\n10.0.1.7 FILESERVER<00>\n"));
    EXPECT_EQ(tool.IP4(), "querying");
}

TEST_F(SMBLookupTest, runsTheToolWithItsOddFirstArgument) {
    EXPECT_TRUE(lookUp("HOSTB", ToolOutputs::nmblookupFound));
    EXPECT_EQ(tool.IP4(), "10.77.0.2");
    EXPECT_THAT(childProcess.calls(), ElementsAre(Call { "/usr/bin/nmblookup", { "-R ", "HOSTB" } }));
}

TEST_F(SMBLookupTest, logsEachStepInOrder) {
    EXPECT_TRUE(lookUp("HOSTB", ToolOutputs::nmblookupFound));
    EXPECT_THAT(sink.texts(),
        ElementsAre("Resolving HOSTB with nmbLookup", std::string("\n") + ToolOutputs::nmblookupFound,
            "nmblookup resolved HOSTB to: 10.77.0.2"));
}

TEST_F(SMBLookupTest, logsTheOutputEvenWhenTheLogIsOff) {
    preferences.set("logToConsole", false);
    EXPECT_TRUE(lookUp("HOSTB", ToolOutputs::nmblookupFound));
    SMBLookup second(childProcess, log);
    childProcess.setOutput(nmblookup, ToolOutputs::nmblookupUnknown);
    EXPECT_FALSE(second.lookup("NOSUCH"));
    EXPECT_THAT(sink.texts(),
        ElementsAre(
            std::string("\n") + ToolOutputs::nmblookupFound, std::string("\n") + ToolOutputs::nmblookupUnknown));
}

TEST_F(SMBLookupTest, theFailureMarkerFailsInAnyLetterCase) {
    EXPECT_FALSE(lookUp("NOSUCH", "Name_Query FAILED TO FIND name NOSUCH\n10.0.1.7 NOSUCH<00>\n"));
    EXPECT_EQ(tool.IP4(), std::nullopt);
    EXPECT_EQ(sink.lastText(), "nmblookup Failed.");
}

TEST_F(SMBLookupTest, theOtherToolsFailureMarkerMeansNothing) {
    EXPECT_TRUE(lookUp("HOSTB", "we can't find much\n10.77.0.2 HOSTB<00>\n"));
    EXPECT_EQ(tool.IP4(), "10.77.0.2");
}

TEST_F(SMBLookupTest, aLineThatBeginsWithABlankGivesAnEmptyAddress) {
    EXPECT_TRUE(lookUp("HOSTB", " 10.77.0.2 HOSTB<00>\n"));
    EXPECT_EQ(tool.IP4(), "");
}

TEST_F(SMBLookupTest, aLineWithoutABlankIsTakenWhole) {
    EXPECT_TRUE(lookUp("HOSTB", "10.77.0.2\tHOSTB<00>\n"));
    EXPECT_EQ(tool.IP4(), "10.77.0.2\tHOSTB<00>");
}

TEST_F(SMBLookupTest, aComplaintThatMentionsTheNameCountsAsAnAnswer) {
    EXPECT_TRUE(lookUp("AMUCHTOOLONGNAME", ToolOutputs::nmblookupTooLong));
    EXPECT_EQ(tool.IP4(), "The");
}

TEST_F(SMBLookupTest, linesMayEndInCarriageReturnAndLineFeed) {
    EXPECT_TRUE(lookUp("HOSTB", "added interface\r\n10.77.0.2 HOSTB<00>\r\n"));
    EXPECT_EQ(tool.IP4(), "10.77.0.2");
}

TEST_F(SMBLookupTest, aNameThatLooksLikeAnOptionStartsNothing) {
    EXPECT_FALSE(lookUp("-d9", ToolOutputs::nmblookupFound));
    EXPECT_THAT(childProcess.calls(), IsEmpty());
    EXPECT_THAT(sink.texts(), ElementsAre("Resolving -d9 with nmbLookup", "nmblookup Failed."));
}

TEST_F(SMBLookupTest, aToolThatCannotBeStartedFailsLikeOneThatPrintsNothing) {
    childProcess.setFailure(nmblookup, "Permission denied");
    EXPECT_FALSE(tool.lookup("HOSTB"));
    EXPECT_EQ(tool.IP4(), std::nullopt);
    EXPECT_THAT(sink.texts(), ElementsAre("Resolving HOSTB with nmbLookup", "\n"));
}

} // namespace
} // namespace quorrel
