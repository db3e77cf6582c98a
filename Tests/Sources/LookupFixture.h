// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Tests/Fakes/FakeChildProcess.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/RecordingLogSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quorrel {

/// Tools that never run, and a log that is on.
class LookupFixture : public testing::Test {
protected:
    static constexpr auto nslookup = "/usr/bin/nslookup";
    static constexpr auto nmblookup = "/usr/bin/nmblookup";

    LookupFixture() { preferences.set("logToConsole", true); }

    using Call = FakeChildProcess::Call;

    Preferences preferences;
    FakeClock clock;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
    FakeChildProcess childProcess;
};

} // namespace quorrel
