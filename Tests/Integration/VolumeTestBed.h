// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Platform/Linux/LinuxVolumeService.h"
#include "Tests/Fakes/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorrel {

/// The real servers that `scripts/testbed` runs around a test, and a service on the session's own gvfs.
class VolumeTestBed : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// As a new run of the program has it: nothing is known of what was mounted before.
    [[nodiscard]] std::unique_ptr<LinuxVolumeService> makeService(
        Seconds mountDeadline = Seconds(20), Seconds unmountDeadline = Seconds(20));

    [[nodiscard]] static std::string variable(const std::string& name);
    /// "scheme://address[:port]/path" of a server of the bed.
    [[nodiscard]] static std::string url(const std::string& scheme, const std::string& server, const std::string& path);
    [[nodiscard]] static std::string password();
    [[nodiscard]] static MountRequest asUser(const std::string& url, const std::string& volumeName);
    [[nodiscard]] static MountRequest asGuest(const std::string& url, const std::string& volumeName);

    [[nodiscard]] std::string volumePath(const std::string& name) const { return home + "/Volumes/" + name; }
    [[nodiscard]] static std::string contentOf(const std::string& path);
    /// Whether the text could be written there, to the end.
    [[nodiscard]] static bool write(const std::string& path, const std::string& text);
    [[nodiscard]] static bool isThere(const std::string& path);
    /// Looks again and again for at most ten seconds.
    [[nodiscard]] static bool eventually(const std::function<bool()>& condition);

    /// gvfs's program for AFP crashes by itself: on a busy machine in one of some hundred accesses, whoever makes them.
    /// Looks at the facts again, a few times at most, when the bed tells that this befell them. What is mounted then is
    /// unmounted; `clear` is for what others than the service have.
    void expectInSpiteOfCrashes(
        const std::function<void()>& facts, const std::function<void()>& clear = [] {});

    const std::string home = variable("HOME");
    const std::string runtimeDirectory = variable("XDG_RUNTIME_DIR");
    SystemClock clock;
    Preferences preferences;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
    std::unique_ptr<LinuxVolumeService> service;

private:
    /// A number that grows with each crash.
    [[nodiscard]] static std::size_t crashes();
    void unmountAll();
};

} // namespace quorrel
