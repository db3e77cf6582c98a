// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/VolumeTestBed.h"

#include <gtest/gtest-spi.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace quorrel {

void VolumeTestBed::SetUp() {
    ASSERT_FALSE(variable("QTB_DIR").empty()) << "to be run by scripts/testbed";
    preferences.set("logToConsole", true);
    service = makeService();
}

void VolumeTestBed::TearDown() {
    for (const auto& text : sink.texts())
        EXPECT_EQ(text.find(password()), std::string::npos) << "a password in the log";
    unmountAll();
    EXPECT_FALSE(isThere(home + "/Volumes"));
    if (HasFailure())
        for (const auto& text : sink.texts())
            std::fprintf(stderr, "  log: %s\n", text.c_str());
}

std::unique_ptr<LinuxVolumeService> VolumeTestBed::makeService(Seconds mountDeadline, Seconds unmountDeadline) {
    LinuxVolumeService::Settings settings;
    settings.homeDirectory = home;
    settings.runtimeDirectory = runtimeDirectory;
    settings.mountDeadline = mountDeadline;
    settings.unmountDeadline = unmountDeadline;
    return std::make_unique<LinuxVolumeService>(log, preferences, settings);
}

void VolumeTestBed::unmountAll() {
    const auto last = makeService();
    for (const auto& volume : last->mountedVolumes()) {
        const auto status = last->unmountVolume(volume.volumeReference);
        const bool isCrashed = volume.scheme == "afp" && last->mountedVolumes().empty();
        EXPECT_TRUE(status == VolumeStatus::success || isCrashed) << volume.location << ": " << status;
    }
}

std::size_t VolumeTestBed::crashes() {
    return contentOf(variable("QTB_AFP_CRASHES")).size();
}

void VolumeTestBed::expectInSpiteOfCrashes(const std::function<void()>& facts, const std::function<void()>& clear) {
    constexpr int attempts = 4;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        const auto before = crashes();
        testing::TestPartResultArray results;
        {
            const testing::ScopedFakeTestPartResultReporter reporter(
                testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
            facts();
        }
        if (results.size() == 0)
            return;
        if (attempt == attempts || crashes() == before) {
            for (int index = 0; index < results.size(); ++index) {
                const auto& result = results.GetTestPartResult(index);
                ADD_FAILURE_AT(result.file_name() ? result.file_name() : "", result.line_number()) << result.message();
            }
            return;
        }
        std::fprintf(stderr, "gvfs's AFP back end crashed, again\n");
        clear();
        unmountAll();
    }
}

std::string VolumeTestBed::variable(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value ? value : "";
}

std::string VolumeTestBed::url(const std::string& scheme, const std::string& server, const std::string& path) {
    return scheme + "://" + variable("QTB_" + server + "_HOST") + ":" + variable("QTB_" + server + "_PORT") + "/"
        + path;
}

std::string VolumeTestBed::password() {
    std::ifstream file(variable("QTB_PASSWORD_FILE"));
    std::string line;
    std::getline(file, line);
    return line;
}

MountRequest VolumeTestBed::asUser(const std::string& url, const std::string& volumeName) {
    return { url, variable("QTB_USER"), password(), volumeName };
}

MountRequest VolumeTestBed::asGuest(const std::string& url, const std::string& volumeName) {
    return { url, std::nullopt, std::nullopt, volumeName };
}

std::string VolumeTestBed::contentOf(const std::string& path) {
    const std::ifstream file(path);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

bool VolumeTestBed::write(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    file.close();
    return file.good();
}

bool VolumeTestBed::isThere(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(path, error));
}

bool VolumeTestBed::eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return condition();
}

} // namespace quorrel
