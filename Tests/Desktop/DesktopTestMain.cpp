// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QApplication>

#include <cstdlib>
#include <string>

// Every desktop test gets widgets without a screen, folders of its own, and no bus to talk to unless it starts one.
int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    const quorrel::TemporaryFolder folder;
    for (const auto* name : { "HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME" })
        setenv(name, folder.path().c_str(), 1);
    setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder.path("no-bus")).c_str(), 1);
    setenv("NO_AT_BRIDGE", "1", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    for (const auto* name : { "DISPLAY", "WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP", "QT_QPA_PLATFORMTHEME",
             "QT_STYLE_OVERRIDE", "QT_SCALE_FACTOR", "LANGUAGE" })
        unsetenv(name);
    const QApplication application(count, arguments);
    return RUN_ALL_TESTS();
}
