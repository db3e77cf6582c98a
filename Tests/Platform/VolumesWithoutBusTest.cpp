// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Platform/Linux/LinuxVolumeService.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace quorrel {
namespace {

/// A session in which nobody listens at the bus's address, as on a server without a desktop.
class VolumesWithoutBusTest : public testing::Test {
protected:
    VolumesWithoutBusTest() {
        setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder.path() + "/bus").c_str(), 1);
        preferences.set("logToConsole", true);
        LinuxVolumeService::Settings settings;
        settings.homeDirectory = folder.path();
        settings.runtimeDirectory = folder.path();
        service = std::make_unique<LinuxVolumeService>(log, preferences, settings);
    }

    TemporaryFolder folder;
    SystemClock clock;
    Preferences preferences;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
    std::unique_ptr<LinuxVolumeService> service;
};

TEST_F(VolumesWithoutBusTest, NothingCanBeMountedAndTheLogSaysWhy) {
    const auto start = std::chrono::steady_clock::now();
    const auto reply = service->mountServerVolume({ "smb://127.0.0.1/Data", "ann", "p@ss", "Data" });
    EXPECT_EQ(reply.status, VolumeStatus::cannotBeMounted);
    EXPECT_EQ(reply.volumeReference, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    ASSERT_EQ(sink.texts().size(), 1U);
    EXPECT_TRUE(sink.texts().front().starts_with("Cannot mount smb://127.0.0.1/Data without a session bus: "))
        << sink.texts().front();
    EXPECT_FALSE(sink.contains("p@ss"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/Volumes"));
}

TEST_F(VolumesWithoutBusTest, NothingIsListedAndTheLogSaysWhy) {
    EXPECT_TRUE(service->mountedVolumes().empty());
    EXPECT_TRUE(sink.contains("Cannot list the volumes without a session bus: "));
}

} // namespace
} // namespace quorrel
