// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeAnnouncer.h"

#include "Tests/Platform/GlibTurns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VolumeAnnouncerTest : public testing::Test {
protected:
    static VolumeAnnouncer::Volumes volumes(const std::vector<std::string>& names, const std::string& kind = "smbfs") {
        VolumeAnnouncer::Volumes result;
        for (const auto& name : names)
            result[name] = { name, kind, "file:///net/files/" + name, true, "files" };
        return result;
    }

    VolumeWatch::Callback note(const std::string& word) {
        return [this, word](const VolumeDescription& volume) {
            heard.push_back(word + " " + *volume.volumeName + " " + *volume.volumeKind);
            if (then)
                then(heard.back());
        };
    }
    void runOn() {
        EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.03)));
    }

    std::unique_ptr<VolumeAnnouncer> announcer = std::make_unique<VolumeAnnouncer>();
    std::vector<std::string> heard;
    std::function<void(const std::string&)> then;
};

TEST_F(VolumeAnnouncerTest, reportsWhatIsThereLaterAndThenWhatComesAndGoes) {
    announcer->update(volumes({ "a", "b" }));
    const auto gone = announcer->addDisappeared(note("-"));
    const auto come = announcer->addAppeared(note("+"));
    EXPECT_THAT(heard, IsEmpty());
    runOn();
    EXPECT_THAT(heard, ElementsAre("+ a smbfs", "+ b smbfs"));
    announcer->update(volumes({ "b", "c" }));
    EXPECT_THAT(heard, ElementsAre("+ a smbfs", "+ b smbfs", "- a smbfs", "+ c smbfs"));
    announcer->update(volumes({ "b", "c" }));
    runOn();
    EXPECT_EQ(heard.size(), 4U);
}

TEST_F(VolumeAnnouncerTest, whatComesBeforeTheFirstTurnIsReportedOnce) {
    const auto come = announcer->addAppeared(note("+"));
    announcer->update(volumes({ "a" }));
    announcer->update(volumes({ "b" }));
    EXPECT_THAT(heard, IsEmpty());
    runOn();
    EXPECT_THAT(heard, ElementsAre("+ b smbfs"));
}

TEST_F(VolumeAnnouncerTest, aLaterCallbackAloneIsToldOfWhatIsThere) {
    const auto first = announcer->addAppeared(note("first"));
    announcer->update(volumes({ "a" }));
    runOn();
    const auto second = announcer->addAppeared(note("second"));
    runOn();
    EXPECT_THAT(heard, ElementsAre("first a smbfs", "second a smbfs"));
    announcer->update({});
    announcer->update(volumes({ "b" }));
    EXPECT_THAT(heard, ElementsAre("first a smbfs", "second a smbfs", "first b smbfs", "second b smbfs"));
}

TEST_F(VolumeAnnouncerTest, aVolumeGoesAsItCame) {
    const auto gone = announcer->addDisappeared(note("-"));
    announcer->update(volumes({ "a" }));
    announcer->update(volumes({ "a" }, "webdav"));
    announcer->update({});
    EXPECT_THAT(heard, ElementsAre("- a smbfs"));
}

TEST_F(VolumeAnnouncerTest, reportsDuringAReportComeAfterIt) {
    const auto gone = announcer->addDisappeared(note("-"));
    const auto first = announcer->addAppeared(note("first"));
    const auto second = announcer->addAppeared(note("second"));
    runOn();
    then = [this](const std::string& text) {
        if (text == "first a smbfs")
            announcer->update({});
    };
    announcer->update(volumes({ "a" }));
    EXPECT_THAT(heard, ElementsAre("first a smbfs", "second a smbfs", "- a smbfs"));
}

TEST_F(VolumeAnnouncerTest, endsWithACallbackThatDestroysIt) {
    const auto come = announcer->addAppeared(note("+"));
    runOn();
    then = [this](const std::string&) { announcer.reset(); };
    announcer->update(volumes({ "a", "b" }));
    runOn();
    EXPECT_THAT(heard, ElementsAre("+ a smbfs"));
}

TEST_F(VolumeAnnouncerTest, cancelledCallbacksHearNothing) {
    announcer->update(volumes({ "a", "b" }));
    auto early = announcer->addAppeared(note("early"));
    early.cancel();
    auto come = announcer->addAppeared(note("+"));
    then = [&](const std::string&) { come.cancel(); };
    runOn();
    EXPECT_THAT(heard, ElementsAre("+ a smbfs"));
    announcer->update({});
    announcer.reset();
    come.cancel();
    EXPECT_EQ(heard.size(), 1U);
}

} // namespace
} // namespace quorrel
