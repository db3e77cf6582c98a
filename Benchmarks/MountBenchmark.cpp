// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Log.h"
#include "Foundation/Operation.h"
#include "Foundation/OperationQueue.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Platform/Linux/LinuxVolumeService.h"

#include <gio/gio.h>

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// What our mounts cost beside the plainest way to have the same: one share against one bare GIO mount, and twenty at
// once against twenty runs of the system's tool. To be run by scripts/testbed with the server smb. Both sides take
// turns, so that whatever else the machine does hits them alike.

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace quorrel {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int mostShares = 20;
constexpr std::chrono::milliseconds pauseBetween { 50 };

class QuietSink final : public LogSink {
public:
    void write(std::string_view line) override { std::fwrite(line.data(), 1, line.size(), stderr); }
    [[nodiscard]] long processIdentifier() const override { return 0; }
    [[nodiscard]] long threadIdentifier() const override { return 0; }
};

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string serverURL() {
    return "smb://" + variable("QTB_SMB_HOST") + ":" + variable("QTB_SMB_PORT") + "/";
}

std::string shareName(int number) {
    return (number < 10 ? "s0" : "s") + std::to_string(number);
}

double milliseconds(SteadyClock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "mount_benchmark: %s\n", what.c_str());
    std::exit(1);
}

/// A mount as any program would do it with GIO, and its unmount.
class BareMount final {
public:
    explicit BareMount(const std::string& url)
        : m_file(g_file_new_for_uri(url.c_str()))
        , m_loop(g_main_loop_new(nullptr, FALSE)) { }
    ~BareMount() {
        g_object_unref(m_file);
        g_main_loop_unref(m_loop);
    }
    BareMount(const BareMount&) = delete;
    BareMount& operator=(const BareMount&) = delete;

    void mount() {
        GMountOperation* operation = g_mount_operation_new();
        g_mount_operation_set_anonymous(operation, TRUE);
        g_signal_connect(operation, "ask-password",
            G_CALLBACK(+[](GMountOperation* asked) { g_mount_operation_reply(asked, G_MOUNT_OPERATION_HANDLED); }),
            nullptr);
        g_file_mount_enclosing_volume(
            m_file, G_MOUNT_MOUNT_NONE, operation, nullptr,
            [](GObject* file, GAsyncResult* result, gpointer self) {
                if (!g_file_mount_enclosing_volume_finish(G_FILE(file), result, nullptr))
                    fail("the bare mount failed");
                g_main_loop_quit(static_cast<BareMount*>(self)->m_loop);
            },
            this);
        g_main_loop_run(m_loop);
        g_object_unref(operation);
    }

    void unmount() {
        GMount* mount = g_file_find_enclosing_mount(m_file, nullptr, nullptr);
        if (!mount)
            fail("the bare mount is not there");
        g_mount_unmount_with_operation(
            mount, G_MOUNT_UNMOUNT_NONE, nullptr, nullptr,
            [](GObject* source, GAsyncResult* result, gpointer self) {
                if (!g_mount_unmount_with_operation_finish(G_MOUNT(source), result, nullptr))
                    fail("the bare unmount failed");
                g_main_loop_quit(static_cast<BareMount*>(self)->m_loop);
            },
            this);
        g_main_loop_run(m_loop);
        g_object_unref(mount);
    }

private:
    GFile* m_file;
    GMainLoop* m_loop;
};

MountReply mountOurs(VolumeService& service, int number) {
    const auto reply
        = service.mountServerVolume({ serverURL() + shareName(number), std::nullopt, std::nullopt, shareName(number) });
    if (reply.status != VolumeStatus::success)
        fail("our mount failed with " + std::to_string(reply.status));
    return reply;
}

void unmountAll(VolumeService& service) {
    for (const auto& volume : service.mountedVolumes())
        if (service.unmountVolume(volume.volumeReference) != VolumeStatus::success)
            fail("our unmount failed");
}

class ShareOperation final : public Operation {
public:
    ShareOperation(VolumeService& service, int number)
        : m_service(service)
        , m_number(number) { }
    void main() override { static_cast<void>(mountOurs(m_service, m_number)); }

private:
    VolumeService& m_service;
    const int m_number;
};

void runTool(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0
        || waitpid(child, &status, 0) != child || status != 0)
        fail("the system's tool failed");
}

/// What the back ends of the last round leave behind is not to burden the next one.
void rest() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
}

void compareOne(VolumeService& service, int rounds) {
    std::vector<double> ours;
    std::vector<double> bare;
    const auto timeOurs = [&](int number) {
        const auto start = SteadyClock::now();
        const auto reply = mountOurs(service, number);
        const auto time = milliseconds(SteadyClock::now() - start);
        if (service.unmountVolume(reply.volumeReference) != VolumeStatus::success)
            fail("our unmount failed");
        std::this_thread::sleep_for(pauseBetween);
        return time;
    };
    const auto timeBare = [&](int number) {
        BareMount other(serverURL() + shareName(number));
        const auto start = SteadyClock::now();
        other.mount();
        const auto time = milliseconds(SteadyClock::now() - start);
        other.unmount();
        std::this_thread::sleep_for(pauseBetween);
        return time;
    };
    // Warms up both. Each round has a share of its own, as a mount has that is made once a session.
    timeOurs(mostShares);
    timeBare(mostShares);
    for (int round = 1; round <= std::min(rounds, mostShares - 1); ++round) {
        // Who goes first takes turns too.
        if (round % 2 == 0)
            ours.push_back(timeOurs(round));
        bare.push_back(timeBare(round));
        if (round % 2 == 1)
            ours.push_back(timeOurs(round));
    }
    std::printf("one share      ours %8.1f ms   bare GIO        %8.1f ms   ratio %.3f (target 1.05)\n", median(ours),
        median(bare), median(ours) / median(bare));
}

void compareTwenty(VolumeService& service, int rounds) {
    std::vector<double> ours;
    std::vector<double> tool;
    for (int round = 0; round < rounds; ++round) {
        rest();
        auto start = SteadyClock::now();
        {
            OperationQueue queue(4);
            std::mutex mutex;
            std::condition_variable idle;
            bool isIdle = false;
            const auto watch = queue.observeIdle([&] {
                const std::lock_guard lock(mutex);
                isIdle = queue.operationCount() == 0;
                idle.notify_all();
            });
            for (int number = 1; number <= mostShares; ++number)
                queue.addOperation(std::make_shared<ShareOperation>(service, number));
            std::unique_lock lock(mutex);
            if (!idle.wait_for(lock, std::chrono::seconds(60), [&] { return isIdle; }))
                fail("twenty mounts did not end");
        }
        ours.push_back(milliseconds(SteadyClock::now() - start));
        unmountAll(service);
        rest();
        start = SteadyClock::now();
        for (int number = 1; number <= mostShares; ++number)
            runTool({ "gio", "mount", "-a", serverURL() + shareName(number) });
        tool.push_back(milliseconds(SteadyClock::now() - start));
        for (int number = 1; number <= mostShares; ++number)
            runTool({ "gio", "mount", "-u", serverURL() + shareName(number) });
    }
    std::printf("twenty shares  ours %8.1f ms   the tool in row %8.1f ms   ratio %.3f (target 0.45)\n", median(ours),
        median(tool), median(ours) / median(tool));
}

int run(int rounds) {
    if (variable("QTB_SMB_HOST").empty())
        fail("to be run as: scripts/testbed run --servers smb -- mount_benchmark [ROUNDS]");
    const SystemClock clock;
    const Preferences preferences;
    QuietSink sink;
    Log log(preferences, clock, sink);
    LinuxVolumeService::Settings settings;
    settings.homeDirectory = variable("HOME");
    settings.runtimeDirectory = variable("XDG_RUNTIME_DIR");
    LinuxVolumeService service(log, preferences, settings);
    compareOne(service, rounds);
    compareTwenty(service, std::max(1, rounds / 8));
    return 0;
}

} // namespace

} // namespace quorrel

int main(int count, char** arguments) {
    const int rounds = count > 1 ? std::atoi(arguments[1]) : 24;
    return quorrel::run(std::max(1, rounds));
}
