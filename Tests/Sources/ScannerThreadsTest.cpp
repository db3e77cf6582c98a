// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/OperationQueue.h"
#include "Foundation/TextList.h"
#include "Sources/HostFileScanner.h"
#include "Sources/SMBScanner.h"
#include "Tests/Fakes/Gate.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Sources/WatchFixture.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {
namespace {

constexpr int hostsOfEach = 1500;

class ScannerThreadsTest : public WatchFixture {
protected:
    struct Owner : Observable {
        TextList names { *this, "bonjourServices" };
    };

    ScannerThreadsTest() {
        std::string answers;
        std::string lines;
        for (int number = 1000; number < 1000 + hostsOfEach; ++number) {
            answers += "smb" + std::to_string(number) + ", 10.0.0.1 *<00>\n";
            lines += "10.0.0.2 file" + std::to_string(number) + "\n";
        }
        childProcess.setOutput(nmblookup, answers);
        environment.hostsPath = folder.put("hosts", lines);
        smbScanner->setSmbHosts(&owner.names);
        fileScanner->setHosts(&owner.names);
    }

    [[nodiscard]] long count(std::string_view start) const {
        const auto names = owner.names.snapshot();
        return std::count_if(names.begin(), names.end(), [&](const auto& name) { return name.starts_with(start); });
    }

    TemporaryFolder folder;
    Owner owner;
    const std::shared_ptr<SMBScanner> smbScanner = std::make_shared<SMBScanner>(environment);
    const std::shared_ptr<HostFileScanner> fileScanner = std::make_shared<HostFileScanner>(environment);
};

TEST_F(ScannerThreadsTest, scansAppendWhileTheMainThreadReadsAndChangesTheList) {
    Gate idle;
    OperationQueue operations(4);
    const auto subscription = operations.observeIdle([&] { idle.open(); });
    std::atomic<int> announcements = 0;
    const auto observer = owner.observe("bonjourServices", [&](std::string_view, Change) { ++announcements; });
    // One scanner may be run again while it runs.
    operations.addOperation(smbScanner);
    operations.addOperation(fileScanner);
    operations.addOperation(smbScanner);
    operations.addOperation(fileScanner);
    int removed = 0;
    do {
        owner.names.appendUnlessPrinted("seen-by-browsing");
        EXPECT_LE(owner.names.snapshot().size(), 3U * hostsOfEach + 1);
        removed += owner.names.removeFirst("seen-by-browsing") ? 1 : 0;
    } while (operations.operationCount() > 0);
    EXPECT_TRUE(idle.wait());
    EXPECT_GT(removed, 0);
    EXPECT_EQ(count("smb"), hostsOfEach); // each once, whoever was first
    EXPECT_EQ(count("file"), 2 * hostsOfEach);
    EXPECT_EQ(owner.names.count(), 3U * hostsOfEach);
    EXPECT_GE(announcements.load(), 2 * hostsOfEach);
}

} // namespace
} // namespace quorrel
