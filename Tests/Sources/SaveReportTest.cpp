// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SaveReport.h"

#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The controller on a catalogue whose user is told.
class SaveReportTest : public ControllerTest {
protected:
    SaveReportTest() {
        controller = std::make_unique<QuorrelAppDelegate>(reporting);
        controller->applicationDidFinishLaunching();
    }

    void change(const char* newHost) {
        addHost(newHost, smb, {});
        controller->sendSaveNotification();
    }

    std::vector<std::string> takeTold() { return std::exchange(told, {}); }

    const std::string file = "/home/user/data/Quorrel/Quorrel2.plist";
    std::vector<std::string> told;
    SaveReport report { files,
        { [this](const std::string& path, const std::string& reason) { told.push_back(path + ": " + reason); },
            [this](const std::string& path) { told.push_back(path + " recovered"); } } };
    ControllerEnvironment reporting { { mounting, resolving, preferences, notificationCenter, report, workspace,
                                          strings, log, mainThreadQueue },
        passwordWindow };
};

TEST_F(SaveReportTest, saysNothingOfSavesThatSucceed) {
    change("a");
    change("b");
    EXPECT_EQ(files.writeCount(), 2);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SaveReportTest, tellsTheFirstFailureOfManyWithFileAndCause) {
    files.failWrites("No space left on device");
    change("a");
    EXPECT_THAT(takeTold(), ElementsAre(file + ": No space left on device"));
    change("b");
    files.failWrites("Read-only file system");
    change("c");
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SaveReportTest, whatALastLookKeepsFromBeingWrittenIsNoFailure) {
    const auto root = PropertyValue(PropertyValue::Array());
    EXPECT_EQ(report.write(file, root, [](const std::string&) { return "another's"; }), "another's");
    EXPECT_FALSE(files.exists(file));
    EXPECT_EQ(report.write(file, root), std::nullopt);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SaveReportTest, theNextChangeSavesWhatCouldNotBeSaved) {
    change("a");
    files.failWrites("No space left on device");
    change("b");
    change("c");
    files.failWrites(std::nullopt);
    takeTold();
    change("d");
    EXPECT_THAT(takeTold(), ElementsAre(file + " recovered"));
    controller->loadHostsArray();
    std::vector<std::string> names;
    for (const auto& host : controller->hosts.snapshot())
        names.push_back(host->displayName.get().value_or(""));
    EXPECT_THAT(names, ElementsAre("a", "b", "c", "d"));
    change("e");
    EXPECT_THAT(told, IsEmpty());
    files.failWrites("Input/output error");
    change("f");
    EXPECT_THAT(told, ElementsAre(file + ": Input/output error"));
}

TEST_F(SaveReportTest, aDamagedFileThatCannotBeKeptIsAFailureToo) {
    files.putMalformed(file);
    controller->loadHostsArray();
    files.failKeepDamaged("Permission denied");
    change("a");
    change("b");
    EXPECT_THAT(takeTold(), ElementsAre(file + ": Permission denied"));
    files.failKeepDamaged(std::nullopt);
    files.failWrites("No space left on device");
    change("c");
    EXPECT_THAT(told, IsEmpty()) << "that it could be kept saves nothing";
    files.failWrites(std::nullopt);
    change("d");
    EXPECT_THAT(told, ElementsAre(file + " recovered"));
}

} // namespace quorrel
