// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/StandardPaths.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace quorrel {

class StandardPathsTest : public testing::Test {
protected:
    StandardPathsTest() {
        for (const char* name : { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME",
                 "XDG_RUNTIME_DIR", "NOTIFY_SOCKET", "TMPDIR", "DBUS_SYSTEM_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS",
                 "LC_ALL", "LC_MESSAGES", "LANG", "LANGUAGE" })
            ::unsetenv(name);
        ::setenv("HOME", "/home/anna", 1);
    }
};

TEST_F(StandardPathsTest, followTheHomeFolderWhereNothingElseIsSaid) {
    const auto paths = StandardPaths::fromEnvironment();
    EXPECT_EQ(paths.home, "/home/anna");
    EXPECT_EQ(paths.data, "/home/anna/.local/share");
    EXPECT_EQ(paths.preferencesFile(), "/home/anna/.config/Quorrel/Quorrel.conf");
    EXPECT_EQ(paths.logFile(), "/home/anna/.local/state/Quorrel/Quorrel.log");
    EXPECT_EQ(paths.cache, "/home/anna/.cache");
    EXPECT_EQ(paths.autostartFolder(), "/home/anna/.config/autostart");
    EXPECT_EQ(paths.volumesFolder(), "/home/anna/Volumes");
    EXPECT_EQ(paths.runtime, std::nullopt);
    EXPECT_EQ(paths.temporary, "/tmp");
    EXPECT_EQ(paths.systemBus, "unix:path=/run/dbus/system_bus_socket");
    EXPECT_EQ(paths.sessionBus, "");
}

TEST_F(StandardPathsTest, theSessionsBusIsInItsFolderWhereNothingElseIsSaid) {
    ::setenv("XDG_RUNTIME_DIR", "/run/user/7 of,mine", 1);
    EXPECT_EQ(StandardPaths::fromEnvironment().sessionBus, "unix:path=/run/user/7%20of%2Cmine/bus");
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:abstract=/tmp/bus", 1);
    EXPECT_EQ(StandardPaths::fromEnvironment().sessionBus, "unix:abstract=/tmp/bus");
}

TEST_F(StandardPathsTest, followTheVariables) {
    ::setenv("XDG_DATA_HOME", "/d/", 1);
    ::setenv("XDG_CONFIG_HOME", "/c", 1);
    ::setenv("XDG_STATE_HOME", "/s", 1);
    ::setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
    ::setenv("TMPDIR", "/t", 1);
    const auto paths = StandardPaths::fromEnvironment();
    EXPECT_EQ(paths.data, "/d");
    EXPECT_EQ(paths.preferencesFile(), "/c/Quorrel/Quorrel.conf");
    EXPECT_EQ(paths.logFile(), "/s/Quorrel/Quorrel.log");
    EXPECT_EQ(paths.runtime, "/run/user/7");
    EXPECT_EQ(paths.temporary, "/t");
}

TEST_F(StandardPathsTest, theLockIsTheSessionsWhereThereIsOne) {
    EXPECT_EQ(StandardPaths::fromEnvironment().lockFile(), "/home/anna/.local/state/Quorrel/Quorrel.lock");
    ::setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
    EXPECT_EQ(StandardPaths::fromEnvironment().lockFile(), "/run/user/7/Quorrel.lock");
}

TEST_F(StandardPathsTest, knowWhoStartedAService) {
    EXPECT_EQ(StandardPaths::fromEnvironment().serviceManager, "");
    ::setenv("NOTIFY_SOCKET", "@manager", 1);
    EXPECT_EQ(StandardPaths::fromEnvironment().serviceManager, "@manager");
}

TEST_F(StandardPathsTest, takeRelativeAndEmptyVariablesAsNotSet) {
    ::setenv("XDG_DATA_HOME", "relative", 1);
    ::setenv("XDG_CONFIG_HOME", "", 1);
    const auto paths = StandardPaths::fromEnvironment();
    EXPECT_EQ(paths.data, "/home/anna/.local/share");
    EXPECT_EQ(paths.config, "/home/anna/.config");
}

TEST_F(StandardPathsTest, languagesAreThoseOfTheTexts) {
    const auto languages = [] { return StandardPaths::fromEnvironment().languages; };
    EXPECT_EQ(languages(), "");
    ::setenv("LANGUAGE", "fr:de", 1);
    EXPECT_EQ(languages(), "");
    ::setenv("LANG", "de_DE.UTF-8", 1);
    EXPECT_EQ(languages(), "fr:de:de_DE.UTF-8");
    ::unsetenv("LANGUAGE");
    EXPECT_EQ(languages(), "de_DE.UTF-8");
    ::setenv("LC_MESSAGES", "fr_FR", 1);
    EXPECT_EQ(languages(), "fr_FR");
    ::setenv("LC_ALL", "C", 1);
    EXPECT_EQ(languages(), "");
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::setenv("LANGUAGE", "de", 1);
    EXPECT_EQ(languages(), "de:C.UTF-8");
}

TEST_F(StandardPathsTest, programsAreInTheAbsoluteFoldersOfTheSearchPath) {
    const std::string before = std::getenv("PATH");
    ::setenv("PATH", "/usr/local/bin:.::bin:/usr/bin", 1);
    const auto some = StandardPaths::fromEnvironment().programs;
    ::unsetenv("PATH");
    const auto none = StandardPaths::fromEnvironment().programs;
    ::setenv("PATH", before.c_str(), 1);
    EXPECT_EQ(some, (std::vector<std::string> { "/usr/local/bin", "/usr/bin" }));
    EXPECT_TRUE(none.empty());
}

TEST_F(StandardPathsTest, askTheAccountsWhereThereIsNoHome) {
    ::unsetenv("HOME");
    const auto paths = StandardPaths::fromEnvironment();
    EXPECT_EQ(paths.home.front(), '/');
    EXPECT_NE(paths.home, "/home/anna");
}

} // namespace quorrel
