// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/KeeperProgram.h"

#include "Foundation/Dictionary.h"
#include "Foundation/WakeSignal.h"
#include "Sources/OperationsEnd.h"
#include "Tests/Console/ConsoleFixture.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <thread>
#include <utility>

namespace quorrel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class KeeperProgramTest : public ConsoleFixture {
protected:
    using Script = std::function<void()>;

    /// Runs "watch", and the script on a thread of its own once it is ready; a signal of the script is to end it.
    int watch(const Script& script, const std::vector<std::string>& more = {}) {
        WakeSignal ready;
        serviceManager.onReady = [&] { ready.signal(); };
        std::thread user([&] {
            ASSERT_TRUE(ready.waitFor(Seconds(10)));
            script();
        });
        std::vector<std::string> arguments { "watch" };
        arguments.insert(arguments.end(), more.begin(), more.end());
        const int status = run(arguments);
        user.join();
        return status;
    }

    /// In the script.
    void terminate() { EXPECT_EQ(program.interrupt(SIGTERM), 0); }
    void onMainThread(const Script& step) {
        WakeSignal done;
        mainThreadQueue.post([&] {
            step();
            done.signal();
        });
        EXPECT_TRUE(done.waitFor(Seconds(10)));
    }
    static bool comes(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return condition();
    }
    bool prints(const std::string& text) {
        return comes([&] { return output.text().find(text) != std::string::npos; });
    }
    static std::ptrdiff_t count(const std::vector<std::string>& texts, const std::string& text) {
        return std::count(texts.begin(), texts.end(), text);
    }
    void serverAppears(const std::string& name) {
        onMainThread([&] {
            discovery.announce(name, "_smb._tcp.");
            discovery.advance();
        });
    }
    void save() {
        onMainThread([&] { notificationCenter.post("900", nullptr); });
    }
    bool saves(int times) {
        return comes([&] { return files.writeCount() == times; });
    }
    bool complains(const std::string& text) {
        return comes([&] { return errors.text() == text; });
    }
};

TEST_F(KeeperProgramTest, runsWithAnEmptyCatalogueUntilItIsEnded) {
    EXPECT_EQ(watch([&] { terminate(); }), 0);
    EXPECT_EQ(output.text() + errors.text(), "");
    EXPECT_THAT(serviceManager.told(), ElementsAre("ready", "stopping"));
    EXPECT_THAT(logSink.texts(), Contains("Clearing thread queue."));
    EXPECT_EQ(files.writeCount(), 0);
}

TEST_F(KeeperProgramTest, endsAfterAnInterruptionToo) {
    EXPECT_EQ(watch([&] { EXPECT_EQ(program.interrupt(SIGINT), 0); }), 0);
}

TEST_F(KeeperProgramTest, refusesToKeepWhatIsKeptAlready) {
    addHost("127.0.0.2", { "docs" });
    lock.setOutcome({ CatalogueLock::Outcome::Kind::Refused, 4711, {} });
    EXPECT_EQ(run({ "watch" }), 1);
    EXPECT_EQ(errors.text(), "quorrelctl: Quorrel is running already, as process 4711\n");
    EXPECT_EQ(output.text(), "");
    EXPECT_THAT(serviceManager.told(), IsEmpty());
    EXPECT_EQ(preferencesStore->saveCount(), 0);

    lock.setOutcome({ CatalogueLock::Outcome::Kind::Refused, std::nullopt, {} });
    EXPECT_EQ(run({ "watch" }), 1);
    EXPECT_EQ(errors.text(), "quorrelctl: Quorrel is running already\n");
}

TEST_F(KeeperProgramTest, goesWithoutALockWhereThereIsNone) {
    lock.setOutcome({ CatalogueLock::Outcome::Kind::Unavailable, std::nullopt, "Read-only file system" });
    EXPECT_EQ(watch([&] { terminate(); }), 0);
    EXPECT_THAT(logSink.texts(), Contains("The catalogue could not be locked: Read-only file system"));
}

TEST_F(KeeperProgramTest, touchesNothingWhenTheCatalogueCannotBeRead) {
    files.putMalformed(cataloguePath, "not a property list");
    EXPECT_EQ(run({ "watch" }), 1);
    EXPECT_EQ(errors.text(),
        "quorrelctl: the catalogue /home/user/data/Quorrel/Quorrel2.plist cannot be read: not a property list\n");
    files.put(cataloguePath, PropertyValue(Dictionary()));
    EXPECT_EQ(run({ "watch" }), 1);
    EXPECT_THAT(errors.text(), HasSubstr("cannot be read: It holds no list of hosts"));
    EXPECT_EQ(preferencesStore->saveCount(), 0);
    EXPECT_EQ(files.writeCount(), 0);
    EXPECT_THAT(serviceManager.told(), IsEmpty());
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

TEST_F(KeeperProgramTest, findsWhatWasMountedBeforeAndLeavesItMounted) {
    addHost("127.0.0.2", { "docs" });
    ASSERT_EQ(run({ "mount", "--all" }), 0);
    EXPECT_EQ(watch([&] {
        EXPECT_TRUE(prints("127.0.0.2/docs: Online\n"));
        terminate();
    }),
        0);
    EXPECT_EQ(output.text(), "127.0.0.2/docs: Online\n");
    EXPECT_THAT(volumes.mountedVolumes(), SizeIs(1));
    EXPECT_THAT(volumes.unmounts(), IsEmpty());
}

TEST_F(KeeperProgramTest, mountsWhenTheServerAppearsAndSaysSo) {
    addHost("127.0.0.2", { "docs", "music" });
    FakeVolumeService::Reply refused;
    refused.status = VolumeStatus::badLogin;
    volumes.setMountReply("smb://127.0.0.2/music", refused);
    EXPECT_EQ(watch([&] {
        serverAppears("127.0.0.2");
        EXPECT_TRUE(prints("127.0.0.2/docs: Online\n"));
        EXPECT_TRUE(prints("127.0.0.2/music: Offline: "));
        terminate();
    }),
        0);
    EXPECT_THAT(output.text(), HasSubstr("127.0.0.2/docs: Mounting\n"));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(KeeperProgramTest, aHungMountDoesNotKeepItFromEndingWithinASecond) {
    addHost("127.0.0.2", { "a", "b", "c", "d", "e" });
    FakeVolumeService::Reply hanging;
    hanging.hangs = true;
    for (int count = 0; count < 5; ++count)
        volumes.enqueueMountReply(hanging);
    EXPECT_EQ(watch([&] {
        serverAppears("127.0.0.2");
        EXPECT_TRUE(volumes.waitForHanging(4));
        const auto begin = std::chrono::steady_clock::now();
        terminate();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    }),
        0);
    EXPECT_TRUE(volumes.wasInterrupted());
    EXPECT_EQ(errors.text(), "");
}

TEST_F(KeeperProgramTest, aBlockedMainThreadDoesNotKeepItFromEndingWithinASecond) {
    WakeSignal blocked;
    WakeSignal released;
    EXPECT_EQ(watch([&] {
        mainThreadQueue.post([&] {
            blocked.signal();
            released.waitFor(Seconds(10));
        });
        EXPECT_TRUE(blocked.waitFor(Seconds(10)));
        const auto begin = std::chrono::steady_clock::now();
        terminate();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
        released.signal();
    }),
        0);
}

TEST_F(KeeperProgramTest, aHangUpHasItBeginAnew) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] { EXPECT_EQ(program.interrupt(SIGHUP), std::nullopt); }), 1);
    EXPECT_EQ(beginnings, 1);
    EXPECT_THAT(serviceManager.told(), ElementsAre("ready", "reloading"));
    EXPECT_THAT(logSink.texts(), Contains("Clearing thread queue."));
    EXPECT_FALSE(preferencesFile.isStarted());
    EXPECT_EQ(errors.text(), "quorrelctl: it could not begin anew: there is no process\n");
}

TEST_F(KeeperProgramTest, aHangUpDoesNoHarmWhenTheCatalogueBrokeMeanwhile) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] {
        onMainThread([&] { files.putMalformed(cataloguePath, "not a property list"); });
        EXPECT_EQ(program.interrupt(SIGHUP), std::nullopt);
        EXPECT_TRUE(comes([&] { return serviceManager.told().size() == 3; }));
        serverAppears("127.0.0.2");
        EXPECT_TRUE(prints("127.0.0.2/docs: Online\n"));
        terminate();
    }),
        0);
    EXPECT_THAT(serviceManager.told(), ElementsAre("ready", "reloading", "ready", "stopping"));
    EXPECT_THAT(errors.text(), HasSubstr("cannot be read: not a property list; everything stays as it was\n"));
    EXPECT_EQ(beginnings, 0);
}

TEST_F(KeeperProgramTest, aHangUpEndsItOnATerminal) {
    auto onTerminal = environment();
    onTerminal.keeper.reloadsOnHangUp = false;
    ConsoleProgram other(onTerminal);
    std::thread user([&] {
        EXPECT_TRUE(comes([&] { return serviceManager.told().size() == 1; }));
        EXPECT_EQ(other.interrupt(SIGHUP), 0);
    });
    EXPECT_EQ(other.run({ "watch" }), 0);
    user.join();
    EXPECT_EQ(beginnings, 0);
}

TEST_F(KeeperProgramTest, saysOnceThatItCannotSaveAndOnceThatItCanAgain) {
    const std::string catalogueName = "quorrelctl: the catalogue " + std::string(cataloguePath);
    const auto failure
        = catalogueName + " cannot be saved: No space left on device; it is tried again with the next change\n";
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] {
        files.failWrites("No space left on device");
        save();
        EXPECT_TRUE(complains(failure)) << errors.text();
        save();
        EXPECT_TRUE(comes([&] { return count(logSink.texts(), "Save Failed hosts.") == 2; }));
        EXPECT_EQ(files.writeCount(), 0);
        files.failWrites(std::nullopt);
        save();
        EXPECT_TRUE(complains(failure + catalogueName + " is saved again\n")) << errors.text();
        save();
        EXPECT_TRUE(saves(2));
        EXPECT_EQ(errors.text(), failure + catalogueName + " is saved again\n");
        terminate();
    }),
        0);
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(beginnings, 0);
}

TEST_F(KeeperProgramTest, readsEditedPreferencesAnew) {
    EXPECT_EQ(watch([&] {
        onMainThread([&] {
            auto values = preferencesStore->values();
            values["unmountDrives"] = true;
            preferencesStore->setValues(values);
            EXPECT_FALSE(preferences.boolean("unmountDrives"));
            preferencesFile.change();
            EXPECT_TRUE(preferences.boolean("unmountDrives"));
        });
        terminate();
    }),
        0);
}

TEST_F(KeeperProgramTest, aSwitchInEditedPreferencesActsAtOnce) {
    preferencesStore->setValues({ { "BrowseForServices", false } });
    preferences.reload();
    EXPECT_EQ(watch([&] {
        onMainThread([&] {
            EXPECT_THAT(discovery.searches(), IsEmpty());
            preferencesStore->setValues({ { "BrowseForServices", true }, { "smb", true } });
            preferencesFile.change();
            EXPECT_THAT(discovery.searches(), SizeIs(1));
        });
        terminate();
    }),
        0);
}

TEST_F(KeeperProgramTest, goesOnWherePreferencesCannotBeWatched) {
    preferencesFile.failStart("Too many open files");
    EXPECT_EQ(watch([&] { terminate(); }), 0);
    EXPECT_THAT(logSink.texts(), Contains("The preferences cannot be watched: Too many open files"));
}

TEST_F(KeeperProgramTest, savesWhatItLearnsInACatalogueThatIsItsOwn) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] {
        save();
        EXPECT_TRUE(saves(1));
        save();
        terminate();
    }),
        0);
    EXPECT_EQ(files.writeCount(), 2);
    EXPECT_EQ(beginnings, 0);
}

TEST_F(KeeperProgramTest, endsWhenTheDiskHasTakenWhatIsSaved) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] {
        files.holdWrites();
        save();
        EXPECT_TRUE(files.waitForHeldWrite());
        std::thread disk([&] {
            EXPECT_TRUE(comes([&] { return serviceManager.told().back() == "stopping"; }));
            std::this_thread::sleep_for(signalPatience * 1.5); // longer than anything else is waited for
            files.releaseWrites();
        });
        terminate();
        EXPECT_EQ(files.writeCount(), 1);
        disk.join();
    }),
        0);
}

TEST_F(KeeperProgramTest, tellsAtItsEndOfASaveThatFailedThere) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] {
        files.failWrites("No space left on device");
        files.holdWrites();
        save();
        EXPECT_TRUE(files.waitForHeldWrite());
        std::thread disk([&] {
            EXPECT_TRUE(comes([&] { return serviceManager.told().back() == "stopping"; }));
            files.releaseWrites();
        });
        terminate();
        disk.join();
        EXPECT_THAT(errors.text(), HasSubstr("cannot be saved: No space left on device"));
    }),
        0);
}

TEST_F(KeeperProgramTest, savesBeforeItBeginsAnew) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] {
        files.holdWrites();
        save();
        EXPECT_TRUE(files.waitForHeldWrite());
        EXPECT_EQ(program.interrupt(SIGHUP), std::nullopt);
        EXPECT_TRUE(comes([&] { return serviceManager.told().back() == "reloading"; }));
        EXPECT_EQ(beginnings, 0);
        files.releaseWrites();
    }),
        1);
    EXPECT_EQ(files.writeCount(), 1);
    EXPECT_EQ(beginnings, 1);
}

TEST_F(KeeperProgramTest, readsACatalogueThatAnotherProgramChangedAndDoesNotOverwriteIt) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(watch([&] {
        onMainThread([&] {
            catalogueVersion = "2";
            files.put(cataloguePath, PropertyValue(PropertyValue::Array()));
        });
        save();
    }),
        1);
    EXPECT_EQ(beginnings, 1);
    EXPECT_EQ(files.writeCount(), 0);
    EXPECT_EQ(files.content(cataloguePath), PropertyValue(PropertyValue::Array()));
    EXPECT_THAT(errors.text(), Not(HasSubstr("cannot be saved")));
    EXPECT_THAT(
        logSink.texts(), Contains("The catalogue was changed by another program; it is read anew instead of saved."));
}

TEST_F(KeeperProgramTest, asksNobodyForAPasswordAndSaysOnceWhoWantsOne) {
    addHost("127.0.0.2", { "docs" })->sharePoints.snapshot()[0]->passwordPrompt.set(true);
    EXPECT_EQ(watch([&] {
        for (const auto flags : { ReachabilityFlag::reachable, std::uint32_t { 0 }, ReachabilityFlag::reachable })
            onMainThread([&] { reachability.change("example.com", flags); });
        EXPECT_TRUE(prints("127.0.0.2/docs: Online\n"));
        terminate();
    }),
        0);
    EXPECT_THAT(prompt.prompts(), IsEmpty());
    EXPECT_EQ(errors.text(),
        "quorrelctl: 127.0.0.2/docs wants a password, and watch asks nobody: --password-file FILE gives one, or store "
        "it with the share\n");
    ASSERT_THAT(volumes.requests(), Not(IsEmpty()));
    EXPECT_EQ(textOf(volumes.requests()[0].password), "");
}

TEST_F(KeeperProgramTest, refusesAPasswordFileThatCannotBeRead) {
    EXPECT_EQ(run({ "watch", "--password-file", "/nowhere/at/all" }), 2);
    EXPECT_THAT(errors.text(), HasSubstr("/nowhere/at/all cannot be read"));
    EXPECT_EQ(lock.takes(), 0);
}

TEST_F(KeeperProgramTest, staysAsItIsWhenItsPasswordFileIsGoneAtAReload) {
    TemporaryFolder folder;
    folder.put("password", "from-the-file\n");
    EXPECT_EQ(watch(
                  [&] {
                      std::filesystem::remove(folder.path("password"));
                      EXPECT_EQ(program.interrupt(SIGHUP), std::nullopt);
                      EXPECT_TRUE(comes([&] { return serviceManager.told().size() == 3; }));
                      terminate();
                  },
                  { "--password-file", folder.path("password") }),
        0);
    EXPECT_THAT(errors.text(), HasSubstr("; everything stays as it was\n"));
    EXPECT_EQ(beginnings, 0);
}

} // namespace
} // namespace quorrel
