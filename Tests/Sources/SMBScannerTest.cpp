// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SMBScanner.h"

#include "Foundation/OperationQueue.h"
#include "Foundation/Text.h"
#include "Foundation/TextList.h"
#include "Tests/Fakes/Gate.h"
#include "Tests/Fakes/HostileNames.h"
#include "Tests/Sources/WatchFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SMBScannerTest : public WatchFixture {
protected:
    struct Owner : Observable {
        TextList names { *this, "bonjourServices" };
    };

    SMBScannerTest() { scanner->setSmbHosts(&owner.names); }

    std::vector<std::string> namesAfterScanOf(const std::string& output) {
        childProcess.setOutput(nmblookup, output);
        scanner->main();
        return owner.names.snapshot();
    }

    Owner owner;
    const std::shared_ptr<SMBScanner> scanner = std::make_shared<SMBScanner>(environment);
};

TEST_F(SMBScannerTest, asksForAllHostsWithTheirNames) {
    scanner->main();
    EXPECT_THAT(childProcess.calls(), ElementsAre(Call { "/usr/bin/nmblookup", { "*", "-T" } }));
}

TEST_F(SMBScannerTest, takesWhatStandsBeforeTheFirstComma) {
    EXPECT_THAT(
        namesAfterScanOf("hostb.example.lan, 10.77.0.2 *<00>\nattic,a,b\n"), ElementsAre("hostb.example.lan", "attic"));
}

TEST_F(SMBScannerTest, aLineWithoutACommaAddsNothing) {
    EXPECT_THAT(namesAfterScanOf("10.77.0.2 HOSTB<00>\n\nname_query failed to find name *\n"), IsEmpty());
}

TEST_F(SMBScannerTest, oneHostTwiceIsAddedOnceWithoutADashAndTwiceWithOne) {
    EXPECT_THAT(namesAfterScanOf("files, 10.0.0.2 *<00>\nfiles, 10.0.0.3 *<00>\n"), ElementsAre("files"));
    EXPECT_THAT(
        namesAfterScanOf("my-nas, 10.0.0.4 *<00>\nmy-nas, 10.0.0.5 *<00>\n"), ElementsAre("files", "my-nas", "my-nas"));
}

TEST_F(SMBScannerTest, aScanAddsNamesWithADashAgainAndOthersNot) {
    const std::string output = "files, 10.0.0.2 *<00>\nmy-nas, 10.0.0.4 *<00>\n";
    EXPECT_THAT(namesAfterScanOf(output), ElementsAre("files", "my-nas"));
    EXPECT_THAT(namesAfterScanOf(output), ElementsAre("files", "my-nas", "my-nas"));
}

TEST_F(SMBScannerTest, aPartOfAListedNameIsNotAdded) {
    owner.names.append("fileserver");
    EXPECT_THAT(namesAfterScanOf("file, 10.0.0.2 *<00>\nserver, 10.0.0.3 *<00>\nFile, 10.0.0.4 *<00>\n"),
        ElementsAre("fileserver", "File"));
}

TEST_F(SMBScannerTest, aNameWithADashIsNotAddedWhereTheSameWithASpaceIsListed) {
    owner.names.append("living room");
    EXPECT_THAT(namesAfterScanOf("living-room, 10.0.0.2 *<00>\n"), ElementsAre("living room"));
}

TEST_F(SMBScannerTest, linesEndAsOnAnySystemAndStrangeBytesAreReplaced) {
    EXPECT_THAT(namesAfterScanOf("one, 1\r\ntwo, 2\rB\xFCro, 3"), ElementsAre("one", "two", "B\uFFFDro"));
}

TEST_F(SMBScannerTest, withoutAListNothingIsAddedAndTheToolRunsAllTheSame) {
    scanner->setSmbHosts(nullptr);
    EXPECT_EQ(scanner->smbHosts(), nullptr);
    EXPECT_THAT(namesAfterScanOf("files, 10.0.0.2 *<00>\n"), IsEmpty());
    EXPECT_EQ(childProcess.calls().size(), 1U);
}

TEST_F(SMBScannerTest, aToolThatIsMissingOrSilentAddsNothing) {
    childProcess.setFailure(nmblookup, "No such file or directory");
    scanner->main();
    EXPECT_THAT(namesAfterScanOf(""), IsEmpty());
    EXPECT_THAT(sink.texts(),
        ElementsAre("Scaning for samba hosts Thread Started", "Scaning for samba hosts Thread ended",
            "Scaning for samba hosts Thread Started", "Scaning for samba hosts Thread ended"));
}

TEST_F(SMBScannerTest, itsBeginningAndItsEndAreLoggedIfTheLogIsOn) {
    childProcess.setResponder(nmblookup, [this](const Call&) {
        EXPECT_THAT(sink.texts(), ElementsAre("Scaning for samba hosts Thread Started"));
        return ChildProcessResult { true, {}, "files, 10.0.0.2 *<00>\n" };
    });
    scanner->main();
    EXPECT_THAT(
        sink.texts(), ElementsAre("Scaning for samba hosts Thread Started", "Scaning for samba hosts Thread ended"));
    preferences.set("logToConsole", false);
    sink.clear();
    childProcess.setOutput(nmblookup, {});
    scanner->main();
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(SMBScannerTest, anyNameIsOneNameOnOneLineOrNone) {
    for (const auto& [evil, name] : hostileNames(longestCostlyName())) {
        sink.clear();
        Owner fresh;
        scanner->setSmbHosts(&fresh.names);
        childProcess.setOutput(nmblookup, name + ", 10.0.0.2 *<00>\nnas2, 10.0.0.3 *<00>\n");
        scanner->main();
        const auto names = fresh.names.snapshot();
        EXPECT_LE(names.size(), 2U) << evil;
        EXPECT_TRUE(!names.empty() && names.back() == "nas2") << evil;
        for (const auto& each : names) {
            EXPECT_EQ(each.find_first_of("\r\n"), std::string::npos) << evil;
            EXPECT_TRUE(Text::isUTF8(each)) << evil;
        }
        EXPECT_THAT(
            sink.texts(), ElementsAre("Scaning for samba hosts Thread Started", "Scaning for samba hosts Thread ended"))
            << evil;
        scanner->setSmbHosts(nullptr);
    }
}

TEST_F(SMBScannerTest, oneThatIsCancelledWhileItWaitsNeverRuns) {
    Gate started;
    Gate mayEnd;
    childProcess.setResponder(nmblookup, [&](const Call&) {
        started.open();
        EXPECT_TRUE(mayEnd.wait());
        return ChildProcessResult { true, {}, "files, 10.0.0.2 *<00>\n" };
    });
    const auto waiting = std::make_shared<SMBScanner>(environment);
    waiting->setSmbHosts(&owner.names);
    {
        OperationQueue operations(1);
        operations.addOperation(scanner);
        ASSERT_TRUE(started.wait());
        operations.addOperation(waiting);
        waiting->cancel();
        mayEnd.open();
        Gate idle;
        const auto subscription = operations.observeIdle([&] { idle.open(); });
        EXPECT_TRUE(operations.operationCount() == 0 || idle.wait());
    }
    EXPECT_EQ(childProcess.calls().size(), 1U);
    EXPECT_THAT(owner.names.snapshot(), ElementsAre("files"));
}

} // namespace
} // namespace quorrel
