// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Timing.h"
#include "Foundation/Log.h"
#include "Foundation/OperationQueue.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Platform/Linux/LinuxVolumeService.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/PosixChildProcess.h"
#include "Sources/HostDefinition.h"
#include "Sources/MountEnvironment.h"
#include "Sources/MountOperation.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <gio/gio.h>

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// What a mount costs through the whole engine, from the queue to the record's last field, beside the plainest way to
// have the same: one share against one bare GIO mount, and twenty at once against twenty runs of the system's tool.
// Both sides take turns, so that whatever else the machine does hits them alike. README.md says how to run it.

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace quorrel {

namespace {

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

/// A catalogue of the server's shares, and all that mounts them in the program.
class Engine final {
public:
    Engine() {
        m_host->resolved.set(true);
        const auto smb = ServiceDefinition::initWithParentHost(m_host);
        smb->displayType.set(displayType);
        smb->port.set(std::atoi(variable("QTB_SMB_PORT").c_str()));
        m_host->services.append(smb);
        for (int number = 1; number <= mostShares; ++number) {
            const auto share = SharePointDefinition::initWithParentHost(m_host);
            share->setDisplayType(displayType);
            share->parentService.set(smb);
            share->sharePoint.set(shareName(number));
            share->guestLogin.set(true);
            m_host->sharePoints.append(share);
            m_shares.push_back(share);
        }
    }

    /// The milliseconds until all of them are mounted and the queue is idle.
    double mount(int first, int last) {
        std::mutex mutex;
        std::condition_variable idle;
        bool isIdle = false;
        const auto watch = m_queue.observeIdle([&] {
            const std::lock_guard lock(mutex);
            isIdle = m_queue.operationCount() == 0;
            idle.notify_all();
        });
        const auto start = SteadyClock::now();
        {
            // Held, so that a queue that is idle between two operations does not end the wait.
            const std::lock_guard lock(mutex);
            for (int number = first; number <= last; ++number) {
                share(number).manualMount.set(true);
                m_queue.addOperation(MountOperation::initWithSharePointDefinition(pointer(number), m_environment));
            }
            isIdle = false;
        }
        {
            std::unique_lock lock(mutex);
            if (!idle.wait_for(lock, std::chrono::seconds(60), [&] { return isIdle; }))
                fail("our mounts did not end");
        }
        const auto time = milliseconds(SteadyClock::now() - start);
        for (int number = first; number <= last; ++number)
            if (!share(number).mounted.get())
                fail("our mount failed: " + share(number).lastError.get().value_or("no reason"));
        return time;
    }

    void unmountAll() {
        for (const auto& volume : m_volumes.mountedVolumes())
            if (m_volumes.unmountVolume(volume.volumeReference) != VolumeStatus::success)
                fail("our unmount failed");
        for (const auto& share : m_shares)
            share->setMounted(false);
        // Every round is to cost what a session's first mount of a place costs: at later ones we wait until gvfs has
        // got over the former mount, which plain mounts do not.
        std::filesystem::remove_all(variable("XDG_RUNTIME_DIR") + "/quorrel-former-mounts");
    }

private:
    static constexpr auto displayType = "Server Message Block (smb)";

    [[nodiscard]] std::shared_ptr<SharePointDefinition> pointer(int number) const {
        return m_shares[static_cast<std::size_t>(number - 1)];
    }
    [[nodiscard]] SharePointDefinition& share(int number) const { return *pointer(number); }

    static LinuxVolumeService::Settings settings() {
        LinuxVolumeService::Settings result;
        result.homeDirectory = variable("HOME");
        result.runtimeDirectory = variable("XDG_RUNTIME_DIR");
        return result;
    }

    SystemClock m_clock;
    Preferences m_preferences;
    QuietSink m_sink;
    Log m_log { m_preferences, m_clock, m_sink };
    StringTable m_strings;
    LinuxWorkspace m_workspace { { variable("HOME"), variable("TMPDIR"), QUORREL_ICONS, "unix:path=/nonexistent" } };
    LinuxVolumeService m_volumes { m_log, m_preferences, settings() };
    PosixChildProcess m_childProcess;
    MountEnvironment m_environment { m_volumes, m_childProcess, m_clock, m_log, m_strings };
    std::shared_ptr<HostDefinition> m_host = HostDefinition::initWithName(
        variable("QTB_SMB_HOST"), std::make_shared<CatalogueContext>(CatalogueContext { m_strings, m_workspace }));
    std::vector<std::shared_ptr<SharePointDefinition>> m_shares;
    OperationQueue m_queue { 4 };
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

void print(const char* what, const char* other, std::vector<double> ours, std::vector<double> theirs, double target) {
    const double mine = median(std::move(ours));
    const double plain = median(std::move(theirs));
    std::printf("%-14s %10.1f ms %10.1f ms  %6.3f  %6.2f   %s\n", what, mine, plain, mine / plain, target, other);
}

void compareOne(Engine& engine, int rounds) {
    std::vector<double> ours;
    std::vector<double> bare;
    const auto timeOurs = [&](int number) {
        const auto time = engine.mount(number, number);
        engine.unmountAll();
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
    // Warms up both.
    timeOurs(mostShares);
    timeBare(mostShares);
    for (int round = 0; round < rounds; ++round) {
        // Who goes first takes turns too.
        const int number = round % mostShares + 1;
        if (round % 2 == 0)
            ours.push_back(timeOurs(number));
        bare.push_back(timeBare(number));
        if (round % 2 == 1)
            ours.push_back(timeOurs(number));
    }
    print("one share", "a bare GIO mount", std::move(ours), std::move(bare), 1.05);
}

void compareTwenty(Engine& engine, int rounds) {
    std::vector<double> ours;
    std::vector<double> tool;
    for (int round = 0; round < rounds; ++round) {
        rest();
        ours.push_back(engine.mount(1, mostShares));
        engine.unmountAll();
        rest();
        const auto start = SteadyClock::now();
        for (int number = 1; number <= mostShares; ++number)
            runTool({ "gio", "mount", "-a", serverURL() + shareName(number) });
        tool.push_back(milliseconds(SteadyClock::now() - start));
        for (int number = 1; number <= mostShares; ++number)
            runTool({ "gio", "mount", "-u", serverURL() + shareName(number) });
    }
    print("twenty shares", "gio mount, twenty times in a row", std::move(ours), std::move(tool), 0.45);
}

int run(int rounds) {
    if (variable("QTB_SMB_HOST").empty())
        fail("to be run as: scripts/testbed run --servers smb -- build/release/mount_benchmark [ROUNDS]");
    Engine engine;
    std::printf("medians         our engine         plain   ratio  target   plain is\n");
    compareOne(engine, rounds);
    compareTwenty(engine, std::max(3, rounds / 8));
    return 0;
}

} // namespace

} // namespace quorrel

int main(int count, char** arguments) {
    const int rounds = count > 1 ? std::atoi(arguments[1]) : 40;
    return quorrel::run(std::max(1, rounds));
}
