// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SaveQueue.h"

#include "Sources/CatalogueGuard.h"
#include "Sources/SaveReport.h"
#include "Tests/Fakes/NoMoreThreads.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The controller as the programs have it: it saves on a thread of its own, and its user is told.
class SaveQueueTest : public ControllerTest {
protected:
    static constexpr Seconds patience { 30 };

    SaveQueueTest() {
        controller = std::make_unique<QuorrelAppDelegate>(behind);
        controller->applicationDidFinishLaunching();
    }
    ~SaveQueueTest() override {
        files.releaseWrites();
        controller.reset();
    }

    void change(const char* newHost) {
        addHost(newHost, smb, {});
        controller->sendSaveNotification();
    }
    /// Saves, and is in the middle of it.
    void changeAndHang(const char* newHost) {
        files.holdWrites();
        change(newHost);
        ASSERT_TRUE(files.waitForHeldWrite());
    }
    [[nodiscard]] std::vector<std::string> namesIn(const std::string& path) const {
        std::vector<std::string> names;
        const auto root = files.content(path);
        if (const auto* array = root ? std::get_if<PropertyValue::Array>(&root->variant()) : nullptr)
            for (const auto& each : *array)
                names.push_back(textOf(std::get<Dictionary>(each.variant()).text("displayName")));
        return names;
    }
    void tell(const std::string& what) {
        saves.report([this, what] {
            EXPECT_TRUE(mainThreadQueue.isMainThread());
            told.push_back(what);
        });
    }
    std::vector<std::string> takeTold() { return std::exchange(told, {}); }

    std::vector<std::string> told;
    std::string version = "1";
    std::function<void()> atLook; // at the file's version: before each read and write of it
    CatalogueGuard guard { files,
        [this](const std::string&) {
            if (atLook)
                atLook();
            return version;
        },
        CatalogueGuard::OnEdited::Refuse, [this](const std::string&) { tell("edited"); } };
    SaveReport report { guard,
        { [this](const std::string&, const std::string& reason) { tell(reason); },
            [this](const std::string&) { tell("recovered"); } } };
    SaveQueue saves { mainThreadQueue, log };
    ControllerEnvironment behind { { mounting, resolving, preferences, notificationCenter, report, workspace, strings,
                                       log, mainThreadQueue, &saves },
        passwordWindow };
};

TEST_F(SaveQueueTest, theMainThreadGoesOnWhileTheDiskHangs) {
    changeAndHang("a");
    EXPECT_TRUE(saves.isSaving());
    EXPECT_EQ(files.writeCount(), 0);
    files.releaseWrites();
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_FALSE(saves.isSaving());
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a"));
}

TEST_F(SaveQueueTest, savesTheCatalogueAsItWasWhenItWasToBeSaved) {
    changeAndHang("a");
    controller->hosts.snapshot().front()->displayName.set("changed since");
    files.releaseWrites();
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a"));
}

TEST_F(SaveQueueTest, ofTheSavesBehindOneThatHangsTheLastIsWritten) {
    changeAndHang("a");
    change("b");
    change("c");
    change("d");
    files.releaseWrites();
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_EQ(files.writeCount(), 2);
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a", "b", "c", "d"));
}

TEST_F(SaveQueueTest, aSaveThatEndsWhileTheNextWaitsLeavesTheNextToBeWritten) {
    for (int round = 0; round < 50; ++round) {
        const auto name = "host " + std::to_string(round);
        change(name.c_str());
        if (round % 3 == 0)
            std::this_thread::yield();
    }
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_EQ(namesIn(cataloguePath).size(), 50U);
    EXPECT_EQ(namesIn(cataloguePath).back(), "host 49");
}

TEST_F(SaveQueueTest, aFailureIsToldAfterwardsOnTheMainThread) {
    files.failWrites("No space left on device");
    change("a");
    EXPECT_TRUE(saves.waitUntilSaved(patience));
    EXPECT_THAT(told, IsEmpty());
    mainThreadQueue.runPending();
    EXPECT_THAT(takeTold(), ElementsAre("No space left on device"));
    EXPECT_EQ(countOfLogged("Save Failed hosts."), 1U);
    change("b");
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(countOfLogged("Save Failed hosts."), 2U);
    files.failWrites(std::nullopt);
    change("c");
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(takeTold(), ElementsAre("recovered"));
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a", "b", "c"));
}

TEST_F(SaveQueueTest, aFailureOfASaveThatHungIsMadeGoodByTheOneBehindIt) {
    changeAndHang("a");
    change("b");
    files.failWrites("Input/output error");
    files.releaseWrites();
    EXPECT_TRUE(saves.waitUntilSaved(patience));
    files.failWrites(std::nullopt);
    change("c");
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(told, ElementsAre("Input/output error", "recovered"));
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a", "b", "c"));
}

TEST_F(SaveQueueTest, aFileThatCouldNotBeReadIsKeptOnceHoweverManySavesAreUnderWay) {
    files.putMalformed(cataloguePath);
    controller->loadHostsArray();
    changeAndHang("a");
    change("b");
    files.releaseWrites();
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_TRUE(files.exists(std::string(cataloguePath) + ".damaged"));
    EXPECT_FALSE(files.exists(std::string(cataloguePath) + ".damaged-2"));
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a", "b"));
}

TEST_F(SaveQueueTest, aFileEditedBeforeTheDiskTookTheSaveIsNotOverwritten) {
    change("a");
    EXPECT_TRUE(saves.finish(patience));
    version = "2";
    files.put(cataloguePath, PropertyValue(PropertyValue::Array()));
    change("b");
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(takeTold(), ElementsAre("edited", "Another program has changed it"));
    EXPECT_THAT(namesIn(cataloguePath), IsEmpty());
}

TEST_F(SaveQueueTest, aLoadComesBehindTheSaves) {
    atLook = [this] { EXPECT_FALSE(mainThreadQueue.isMainThread() && saves.isSaving()); };
    changeAndHang("a");
    auto releasing = std::async(std::launch::async, [this] { files.releaseWrites(); });
    controller->loadHostsArray();
    EXPECT_EQ(controller->hosts.count(), 1U);
    releasing.get();
}

TEST_F(SaveQueueTest, theEndWaitsForTheSaveUnderWayAndTheOneBehindIt) {
    changeAndHang("a");
    change("b");
    controller->applicationWillTerminate();
    auto releasing = std::async(std::launch::async, [this] { files.releaseWrites(); });
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a", "b"));
    releasing.get();
}

TEST_F(SaveQueueTest, theEndWaitsNoLongerThanItHasPatience) {
    changeAndHang("a");
    controller->applicationWillTerminate();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(saves.finish(Seconds(0.1)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
    EXPECT_TRUE(saves.isSaving());
}

TEST_F(SaveQueueTest, whatFailsAtTheEndIsToldThere) {
    files.failWrites("No space left on device");
    change("a");
    controller->applicationWillTerminate();
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(told, ElementsAre("No space left on device"));
    mainThreadQueue.runPending();
    EXPECT_EQ(told.size(), 1U) << "once";
}

TEST_F(SaveQueueTest, anExceptionOfASaveIsLoggedAndTheNextOneRuns) {
    saves.add([] { throw std::runtime_error("no memory"); });
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_EQ(countOfLogged("Saving on a thread of its own failed: no memory"), 1U);
    change("a");
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(namesIn(cataloguePath), ElementsAre("a"));
}

TEST_F(SaveQueueTest, aSaveForWhichThereIsNoThreadIsOverWhenItReturns) {
    {
        const NoMoreThreads noMoreThreads;
        change("nas");
        EXPECT_THAT(namesIn(controller->catalogueFile()), ElementsAre("nas"));
        EXPECT_FALSE(saves.isSaving());
    }
    change("den");
    EXPECT_TRUE(saves.finish(patience));
    EXPECT_THAT(namesIn(controller->catalogueFile()), ElementsAre("nas", "den"));
}

TEST_F(SaveQueueTest, whatIsReportedGoesWithTheQueue) {
    bool isTold = false;
    {
        SaveQueue other(mainThreadQueue, log);
        other.add([&] { other.report([&] { isTold = true; }); });
        EXPECT_TRUE(other.waitUntilSaved(patience));
        other.finish();
        EXPECT_TRUE(std::exchange(isTold, false));
    }
    mainThreadQueue.runPending();
    EXPECT_FALSE(isTold);
}

} // namespace quorrel
