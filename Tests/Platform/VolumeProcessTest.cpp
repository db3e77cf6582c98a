// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/BackEndProcesses.h"
#include "Platform/Linux/CertificateInspector.h"
#include "Platform/Linux/ProcessTable.h"
#include "Platform/Linux/VolumeUsers.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace quorrel {

class VolumeUsersTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "quorrel-users-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = std::filesystem::canonical(pattern);
        std::filesystem::create_directory(folder + "/inner");
        std::ofstream(folder + "/inner/file") << "text";
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    /// What is found while a child holds something, and once it is gone.
    void expectFound(void (*hold)(const std::string& folder)) {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const pid_t child = fork();
        if (child == 0) {
            hold(folder);
            static_cast<void>(write(ready[1], "x", 1));
            for (;;)
                pause();
        }
        close(ready[1]);
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        close(ready[0]);
        const auto users = VolumeUsers::below(folder);
        EXPECT_EQ(users.size(), 1U);
        EXPECT_EQ(users.empty() ? 0 : users[0].process, child);
        EXPECT_TRUE(VolumeUsers::below(folder + "/inn").empty());
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        EXPECT_TRUE(VolumeUsers::below(folder).empty());
    }

    std::string folder;
};

TEST_F(VolumeUsersTest, OpenFileIsAUse) {
    expectFound([](const std::string& path) {
        if (open((path + "/inner/file").c_str(), O_RDONLY) < 0)
            _exit(1);
    });
}

TEST_F(VolumeUsersTest, WorkingDirectoryIsAUse) {
    expectFound([](const std::string& path) {
        if (chdir((path + "/inner").c_str()) != 0)
            _exit(1);
    });
}

TEST_F(VolumeUsersTest, MappedFileIsAUse) {
    expectFound([](const std::string& path) {
        const int file = open((path + "/inner/file").c_str(), O_RDONLY);
        if (mmap(nullptr, 4, PROT_READ, MAP_PRIVATE, file, 0) == MAP_FAILED)
            _exit(1);
        close(file);
    });
}

TEST(VolumeUsersPrintedTest, NamesAndNumbers) {
    EXPECT_EQ(VolumeUsers::printed({ { 12, "cat" }, { 13, "a b" } }), "cat (12), a b (13)");
}

TEST(ProcessTableTest, KnowsThisProcess) {
    const auto entry = ProcessTable::entry(getpid());
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->parent, getppid());
    EXPECT_GT(entry->startTicks, 0U);
    EXPECT_LE(entry->startTicks, ProcessTable::nowTicks() + 1);
    EXPECT_FALSE(ProcessTable::entry(0x3ffffff));
}

class BackEndChoiceTest : public testing::Test {
protected:
    [[nodiscard]] static std::optional<pid_t> chosen(
        const std::vector<std::string>& addresses, std::vector<ProcessEntry> pending) {
        const BackEndProcesses::Trace trace { "gvfsd-dav", 100, addresses };
        const auto remotes = [](pid_t process) -> std::vector<std::string> {
            if (process == 1 || process == 2)
                return { "10.0.0.1" };
            if (process == 3)
                return { "10.0.0.2" };
            return {};
        };
        const auto process = BackEndProcesses::choose(trace, std::move(pending), remotes);
        return process ? std::optional(process->identifier) : std::nullopt;
    }
};

TEST_F(BackEndChoiceTest, WhatBeganBeforeOurCallIsNotOurs) {
    EXPECT_EQ(chosen({ "10.0.0.1" }, { { 1, 9, "gvfsd-dav", 99 } }), std::nullopt);
    EXPECT_EQ(chosen({ "10.0.0.1" }, { { 1, 9, "gvfsd-dav", 99 }, { 2, 9, "gvfsd-dav", 100 } }), 2);
}

TEST_F(BackEndChoiceTest, WhatTalksToAnotherServerIsNotOurs) {
    EXPECT_EQ(chosen({ "10.0.0.1" }, { { 3, 9, "gvfsd-dav", 101 } }), std::nullopt);
    EXPECT_EQ(chosen({ "10.0.0.2" }, { { 1, 9, "gvfsd-dav", 101 }, { 3, 9, "gvfsd-dav", 102 } }), 3);
}

TEST_F(BackEndChoiceTest, WhatTalksToNobodyIsOursIfNoOtherIs) {
    EXPECT_EQ(chosen({ "10.0.0.1" }, { { 4, 9, "gvfsd-dav", 101 }, { 1, 9, "gvfsd-dav", 105 } }), 1);
    EXPECT_EQ(chosen({ "10.0.0.1" }, { { 4, 9, "gvfsd-dav", 101 }, { 3, 9, "gvfsd-dav", 105 } }), 4);
}

TEST_F(BackEndChoiceTest, FirstToBeginIsOurs) {
    EXPECT_EQ(chosen({ "10.0.0.1" }, { { 2, 9, "gvfsd-dav", 103 }, { 1, 9, "gvfsd-dav", 102 } }), 1);
}

TEST(CertificateInspectorTest, FingerprintsCompareByTheirDigits) {
    EXPECT_TRUE(CertificateInspector::isTrusted("ab12", { "ff", "AB:12" }));
    EXPECT_FALSE(CertificateInspector::isTrusted("ab12", { "ab", "ab1", "ab123" }));
    EXPECT_FALSE(CertificateInspector::isTrusted("ab12", {}));
    const CertificateFingerprints prints { "6fe22f3b0ef93233a4137abbb62eda46d4a784a9", "ab12" };
    EXPECT_TRUE(CertificateInspector::isNamedIn(
        "Fingerprint (SHA1): 6F E2 2F 3B 0E F9 32 33 A4 13 7A BB B6 2E DA 46 D4 A7 84 A9\n\nSure?", prints));
    EXPECT_FALSE(CertificateInspector::isNamedIn("Fingerprint (SHA1): 6F E2 2F 3B", prints));
    // A certificate may call itself by the fingerprint of another.
    EXPECT_FALSE(CertificateInspector::isNamedIn("Identity: 6fe22f3b0ef93233a4137abbb62eda46d4a784a9\n"
                                                 "Fingerprint (SHA1): 00 E2 2F 3B 0E F9 32 33 A4 13 7A BB B6 2E DA 46 "
                                                 "D4 A7 84 A9\n\nSure?",
        prints));
}

} // namespace quorrel
