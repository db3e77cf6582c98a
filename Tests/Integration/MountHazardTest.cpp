// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/Slowness.h"
#include "Tests/Integration/BedServer.h"
#include "Tests/Integration/SilentServer.h"
#include "Tests/Integration/VolumeTestBed.h"

#include "Platform/Linux/ProcessTable.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

namespace quorrel {

class MountHazardTest : public VolumeTestBed {
protected:
    using SteadyClock = std::chrono::steady_clock;

    [[nodiscard]] static Seconds since(SteadyClock::time_point start) { return SteadyClock::now() - start; }

    [[nodiscard]] static SilentServer silent(const std::string& server) {
        return SilentServer(variable("QTB_" + server + "_HOST"),
            static_cast<std::uint16_t>(std::stoi(variable("QTB_" + server + "_PORT"))));
    }

    [[nodiscard]] static std::string silentURL(
        const std::string& scheme, const SilentServer& server, const std::string& path) {
        return scheme + "://127.0.0.1:" + std::to_string(server.port()) + "/" + path;
    }

    /// Of this test bed; others may run beside it.
    [[nodiscard]] static std::vector<pid_t> backEnds(const std::string& name) {
        const auto mark = std::string("\0QTB_DIR=", 9) + variable("QTB_DIR") + std::string(1, '\0');
        std::vector<pid_t> found;
        for (const auto identifier : ProcessTable::identifiers())
            if (const auto entry = ProcessTable::entry(identifier); entry && entry->name == name
                && ('\0' + contentOf("/proc/" + std::to_string(identifier) + "/environ")).find(mark)
                    != std::string::npos)
                found.push_back(identifier);
        return found;
    }

    /// A silent server ends the attempt at the deadline, and its next mount works once it speaks.
    void expectCured(
        const std::string& scheme, const std::string& server, const std::string& path, const std::string& greeting) {
        auto proxy = silent(server);
        const auto request = asUser(silentURL(scheme, proxy, path), "late");
        service = makeService(Seconds(1.5));
        const auto start = SteadyClock::now();
        EXPECT_EQ(service->mountServerVolume(request).status, VolumeStatus::notResponding);
        EXPECT_GE(since(start).count(), 1.4);
        EXPECT_LT(since(start).count(), 4);
        EXPECT_GT(proxy.connections(), 0);
        EXPECT_FALSE(isThere(volumePath("late")));
        proxy.speak();
        service = makeService(Seconds(10));
        const auto reply = service->mountServerVolume(request);
        EXPECT_EQ(reply.status, VolumeStatus::success);
        EXPECT_EQ(contentOf(volumePath("late") + "/hello.txt"), "Hello from " + greeting + "\n");
        EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
    }

    /// Starts a child that takes hold of something and says so, keeps it until the test ends, and expects the unmount
    /// to be refused meanwhile.
    void expectKeptBy(void (*hold)(const std::string& path)) {
        const auto reply = service->mountServerVolume(asGuest(url("smb", "SMB", "pub"), "pub"));
        ASSERT_EQ(reply.status, VolumeStatus::success);
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const auto path = volumePath("pub");
        const pid_t child = fork();
        if (child == 0) {
            hold(path);
            static_cast<void>(::write(ready[1], "x", 1));
            for (;;)
                pause();
        }
        close(ready[1]); // so that a child that failed ends the wait
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::filesOpen);
        EXPECT_TRUE(sink.contains("(" + std::to_string(child) + ")"));
        EXPECT_EQ(contentOf(path + "/hello.txt"), "Hello from pub\n");
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(ready[0]);
        EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
        EXPECT_FALSE(isThere(path));
    }
};

TEST_F(MountHazardTest, VolumeWithAnOpenFileStays) {
    expectKeptBy([](const std::string& path) {
        if (open((path + "/hello.txt").c_str(), O_RDONLY) < 0)
            _exit(1);
    });
}

TEST_F(MountHazardTest, VolumeThatIsAWorkingDirectoryStays) {
    expectKeptBy([](const std::string& path) {
        if (chdir((path + "/folder").c_str()) != 0)
            _exit(1);
    });
}

TEST_F(MountHazardTest, VolumeWithAMappedFileStays) {
    expectKeptBy([](const std::string& path) {
        const int file = open((path + "/hello.txt").c_str(), O_RDONLY);
        if (mmap(nullptr, 4, PROT_READ, MAP_PRIVATE, file, 0) == MAP_FAILED)
            _exit(1);
        close(file);
    });
}

TEST_F(MountHazardTest, SilentWindowsServerEndsAtTheDeadlineAndMountsLater) {
    expectCured("smb", "SMB", "priv", "priv");
}

TEST_F(MountHazardTest, SilentWebServerEndsAtTheDeadlineAndMountsLater) {
    expectCured("http", "DAV", "", "dav");
}

TEST_F(MountHazardTest, SilentFileTransferServerEndsAtTheDeadlineAndMountsLater) {
    // The server itself falls silent: what opens a connection per transfer cannot be passed on by port.
    BedServer server("ftp");
    ASSERT_TRUE(server.freeze());
    const auto request = asUser(url("ftp", "FTP", ""), "late");
    service = makeService(Seconds(1.5));
    const auto start = SteadyClock::now();
    EXPECT_EQ(service->mountServerVolume(request).status, VolumeStatus::notResponding);
    EXPECT_GE(since(start).count(), 1.4);
    EXPECT_LT(since(start).count(), 4);
    EXPECT_FALSE(isThere(volumePath("late")));
    EXPECT_TRUE(eventually([] { return backEnds("gvfsd-ftp").empty(); }));
    ASSERT_TRUE(server.thaw());
    service = makeService(Seconds(10));
    const auto reply = service->mountServerVolume(request);
    EXPECT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(contentOf(volumePath("late") + "/hello.txt"), "Hello from ftp\n");
    EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
}

TEST_F(MountHazardTest, OthersMountWhileOneServerIsSilent) {
    auto proxy = silent("DAV");
    service = makeService(Seconds(60));
    std::atomic<bool> isEnded = false;
    std::thread stuck([&] {
        EXPECT_EQ(service->mountServerVolume(asUser(silentURL("http", proxy, ""), "silent")).status,
            VolumeStatus::notResponding);
        isEnded = true;
    });
    EXPECT_TRUE(eventually([&] { return proxy.connections() > 0; }));
    std::vector<std::thread> threads;
    for (const std::string name : { "s01", "s02", "s03" })
        threads.emplace_back([this, name] {
            EXPECT_EQ(service->mountServerVolume(asGuest(url("smb", "SMB", name), name)).status, VolumeStatus::success);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_FALSE(isEnded);
    for (const std::string name : { "s01", "s02", "s03" })
        EXPECT_EQ(contentOf(volumePath(name) + "/hello.txt"), "Hello from " + name + "\n");
    service->interrupt();
    stuck.join();
}

TEST_F(MountHazardTest, OtherServersPendingMountsSurviveTheCure) {
    auto patient = silent("DAV");
    auto hopeless = silent("APACHE");
    const auto longer = makeService(Seconds(10));
    MountReply reply;
    std::thread waiting([&] { reply = longer->mountServerVolume(asUser(silentURL("http", patient, ""), "patient")); });
    EXPECT_TRUE(eventually([&] { return patient.connections() > 0; }));
    EXPECT_EQ(backEnds("gvfsd-dav").size(), 1U);
    service = makeService(Seconds(1));
    EXPECT_EQ(service->mountServerVolume(asUser(silentURL("http", hopeless, "share"), "hopeless")).status,
        VolumeStatus::notResponding);
    EXPECT_EQ(backEnds("gvfsd-dav").size(), 1U);
    longer->interrupt();
    waiting.join();
    EXPECT_EQ(reply.status, VolumeStatus::notResponding);
}

TEST_F(MountHazardTest, InterruptEndsEveryCallAtOnce) {
    auto proxy = silent("DAV");
    service = makeService(Seconds(60));
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            const auto place = silentURL("http", proxy, "share" + std::to_string(number));
            EXPECT_EQ(service->mountServerVolume(asUser(place, "silent")).status, VolumeStatus::notResponding);
        });
    // One of each process and one of each look at the port: then all four processes wait for the server.
    EXPECT_TRUE(eventually([&] { return proxy.connections() >= 8; }));
    EXPECT_EQ(backEnds("gvfsd-dav").size(), 4U);
    const auto start = SteadyClock::now();
    service->interrupt();
    for (auto& thread : threads)
        thread.join();
    EXPECT_LT(since(start).count(), 0.5 * slowness());
    EXPECT_EQ(service->mountServerVolume(asGuest(url("smb", "SMB", "pub"), "pub")).status, VolumeStatus::notResponding);
    EXPECT_LT(since(start).count(), 0.6 * slowness());
    EXPECT_TRUE(eventually([] { return backEnds("gvfsd-dav").empty(); }));
}

TEST_F(MountHazardTest, LocationMountedAlreadyGivesTheSameReference) {
    const auto first = service->mountServerVolume(asGuest(url("smb", "SMB", "Mixed%20Case"), "Mixed Case"));
    ASSERT_EQ(first.status, VolumeStatus::success);
    const auto second = service->mountServerVolume(asGuest(url("smb", "SMB", "mixed%20case"), "Mixed Case"));
    EXPECT_EQ(second.status, VolumeStatus::success);
    EXPECT_EQ(second.volumeReference, first.volumeReference);
    EXPECT_EQ(service->mountedVolumes().size(), 1U);
    EXPECT_FALSE(isThere(volumePath("Mixed Case-1")));
}

TEST_F(MountHazardTest, MountGoesWithTheLastOfItsVolumes) {
    const auto whole = service->mountServerVolume(asUser(url("http", "APACHE", "share"), "share"));
    const auto part = service->mountServerVolume(asUser(url("http", "APACHE", "share/folder"), "folder"));
    ASSERT_EQ(whole.status, VolumeStatus::success);
    ASSERT_EQ(part.status, VolumeStatus::success);
    EXPECT_NE(whole.volumeReference, part.volumeReference);
    EXPECT_EQ(contentOf(volumePath("folder") + "/hello.txt"), "Hello from apache/folder\n");
    EXPECT_EQ(service->unmountVolume(whole.volumeReference), VolumeStatus::success);
    EXPECT_FALSE(isThere(volumePath("share")));
    EXPECT_EQ(contentOf(volumePath("folder") + "/hello.txt"), "Hello from apache/folder\n");
    // A new run counts the links that the last one left.
    const auto next = makeService();
    const auto again = next->mountServerVolume(asUser(url("http", "APACHE", "share"), "share"));
    EXPECT_EQ(next->unmountVolume(again.volumeReference), VolumeStatus::success);
    EXPECT_EQ(contentOf(volumePath("folder") + "/hello.txt"), "Hello from apache/folder\n");
    EXPECT_EQ(service->unmountVolume(part.volumeReference), VolumeStatus::success);
    EXPECT_TRUE(std::filesystem::is_empty(runtimeDirectory + "/gvfs"));
    EXPECT_NE(service->unmountVolume(part.volumeReference), VolumeStatus::success);
}

TEST_F(MountHazardTest, VolumesOfAnEarlierRunAreFound) {
    ASSERT_EQ(service->mountServerVolume(asGuest(url("smb", "SMB", "Mixed%20Case"), "Mixed Case")).status,
        VolumeStatus::success);
    ASSERT_EQ(
        service->mountServerVolume(asUser(url("smb", "SMB", "priv"), "Mixed Case")).status, VolumeStatus::success);
    ASSERT_EQ(service->mountServerVolume(asUser(url("http", "DAV", "folder"), "folder")).status, VolumeStatus::success);
    const auto next = makeService();
    auto volumes = next->mountedVolumes();
    ASSERT_EQ(volumes.size(), 3U);
    EXPECT_EQ(volumes[0].scheme, "smb");
    EXPECT_EQ(volumes[0].host, variable("QTB_SMB_HOST"));
    EXPECT_EQ(volumes[0].port, 0);
    EXPECT_EQ(volumes[0].user, "");
    EXPECT_EQ(volumes[0].path, "Mixed Case");
    EXPECT_EQ(volumes[0].volumeName, "Mixed Case");
    EXPECT_EQ(volumes[0].location, volumePath("Mixed Case"));
    EXPECT_EQ(volumes[1].user, variable("QTB_USER"));
    EXPECT_EQ(volumes[1].path, "priv");
    EXPECT_EQ(volumes[1].location, volumePath("Mixed Case-1"));
    EXPECT_EQ(contentOf(volumes[1].location + "/hello.txt"), "Hello from priv\n");
    EXPECT_EQ(volumes[2].scheme, "http");
    EXPECT_EQ(volumes[2].path, "folder");
    EXPECT_EQ(volumes[2].volumeName, "folder");
    // Mounting one of them again gives the reference by which it was found.
    EXPECT_EQ(next->mountServerVolume(asUser(url("http", "DAV", "folder"), "folder")).volumeReference,
        volumes[2].volumeReference);
    for (const auto& volume : volumes)
        EXPECT_EQ(next->unmountVolume(volume.volumeReference), VolumeStatus::success);
    EXPECT_TRUE(service->mountedVolumes().empty());
}

TEST_F(MountHazardTest, DeadMountIsReplaced) {
    ASSERT_EQ(service->mountServerVolume(asUser(url("http", "DAV", ""), "dav")).status, VolumeStatus::success);
    const auto before = backEnds("gvfsd-dav");
    ASSERT_EQ(before.size(), 1U);
    // Stopped, it neither answers nor leaves the list.
    kill(before.front(), SIGSTOP);
    service = makeService(Seconds(20));
    const auto start = SteadyClock::now();
    const auto reply = service->mountServerVolume(asUser(url("http", "DAV", ""), "dav"));
    EXPECT_EQ(reply.status, VolumeStatus::success);
    EXPECT_LT(since(start).count(), 15);
    EXPECT_NE(backEnds("gvfsd-dav"), before);
    EXPECT_EQ(contentOf(volumePath("dav") + "/hello.txt"), "Hello from dav\n");
}

TEST_F(MountHazardTest, KilledBackEndLeavesNoLinkBehind) {
    const auto reply = service->mountServerVolume(asGuest(url("smb", "SMB", "pub"), "pub"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    for (const auto process : backEnds("gvfsd-smb"))
        kill(process, SIGKILL);
    EXPECT_TRUE(eventually([&] { return service->mountedVolumes().empty() && !isThere(volumePath("pub")); }));
    EXPECT_NE(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
    const auto again = service->mountServerVolume(asGuest(url("smb", "SMB", "pub"), "pub"));
    EXPECT_EQ(again.status, VolumeStatus::success);
    EXPECT_EQ(contentOf(volumePath("pub") + "/hello.txt"), "Hello from pub\n");
}

TEST_F(MountHazardTest, ForeignFilesInTheFolderOfVolumesAreLeftAlone) {
    std::filesystem::create_directory(home + "/Volumes");
    ASSERT_TRUE(write(home + "/Volumes/pub", "mine"));
    const auto reply = service->mountServerVolume(asGuest(url("smb", "SMB", "pub"), "pub"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(contentOf(home + "/Volumes/pub"), "mine");
    EXPECT_EQ(contentOf(home + "/Volumes/pub-1/hello.txt"), "Hello from pub\n");
    EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
    EXPECT_EQ(contentOf(home + "/Volumes/pub"), "mine");
    std::filesystem::remove_all(home + "/Volumes");
}

} // namespace quorrel
