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
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// What a mount costs through the whole engine, from the queue to the record's last field, beside the plainest ways to
// have the same: one share of a protocol against one bare GIO mount and one run of the system's tool, and twenty SMB
// shares at once against twenty runs of that tool. All sides take turns, so that whatever else the machine does hits
// them alike. README.md says how to run it.

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace quorrel {

namespace {

constexpr int mostShares = 20;

// What ours may take of the others' time.
constexpr double mostOfBare = 1.03;
constexpr double mostOfTwenty = 0.45;

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

std::string shareName(int number) {
    return (number < 10 ? "s0" : "s") + std::to_string(number);
}

/// One server's shares that a guest may have.
struct Target final {
    std::string displayType;
    std::string scheme;
    std::string login; ///< with its "@", as URLs of that protocol need it for guests
    std::string host;
    int port = 0;
    std::vector<std::string> shares;

    [[nodiscard]] std::string url(std::size_t index) const {
        return scheme + "://" + login + host + ":" + std::to_string(port) + "/" + shares[index];
    }
};

/// Of the servers that scripts/testbed gives; without a host where it does not.
Target target(const std::string& protocol) {
    Target result;
    const auto at = [&](const std::string& server) {
        result.host = variable(("QTB_" + server + "_HOST").c_str());
        result.port = std::atoi(variable(("QTB_" + server + "_PORT").c_str()).c_str());
    };
    if (protocol == "smb") {
        result = { "Server Message Block (smb)", "smb", "", "", 0, {} };
        for (int number = 1; number <= mostShares; ++number)
            result.shares.push_back(shareName(number));
        at("SMB");
    } else if (protocol == "dav") {
        result = { "WebDAV (http)", "dav", "", "", 0, { variable("QTB_OPEN_PATH") } };
        at("OPEN");
    } else if (protocol == "ftp") {
        result = { "File Transfer Protocol (ftp)", "ftp", "anonymous@", "", 0, { "" } };
        at("FTP");
    } else if (protocol == "afp") {
        result = { "Apple Filing Protocol (afp)", "afp", "anonymous@", "", 0, { "Public" } };
        at("AFP");
    }
    return result;
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
    explicit Engine(const Target& target)
        : m_host(HostDefinition::initWithName(
            target.host, std::make_shared<CatalogueContext>(CatalogueContext { m_strings, m_workspace }))) {
        m_host->resolved.set(true);
        const auto service = ServiceDefinition::initWithParentHost(m_host);
        service->displayType.set(target.displayType);
        service->port.set(target.port);
        m_host->services.append(service);
        for (const auto& name : target.shares) {
            const auto share = SharePointDefinition::initWithParentHost(m_host);
            share->setDisplayType(target.displayType);
            share->parentService.set(service);
            share->sharePoint.set(name);
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
    std::shared_ptr<HostDefinition> m_host;
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

/// What the last mount's back end leaves behind is not to burden the next one: after a plain unmount it stays for a
/// second, while our own unmount ends it.
void rest() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
}

/// One line per comparison; Benchmarks/compare reads it.
void print(const std::string& what, const std::string& other, const std::vector<double>& ours,
    const std::vector<double>& theirs, double limit) {
    const double mine = median(ours);
    const double plain = median(theirs);
    std::printf("%-10s %10.1f ms %10.1f ms  %6.3f  %6.2f   %s\n", what.c_str(), mine, plain, mine / plain, limit,
        other.c_str());
    std::fflush(stdout);
}

/// What each of them took, round by round.
struct Times final {
    std::vector<double> ours;
    std::vector<double> bare;
    std::vector<double> tool;
};

class OneShare final {
public:
    OneShare(Engine& engine, const Target& target)
        : m_engine(engine)
        , m_target(target) { }

    Times compare(int rounds) {
        std::array<std::function<void(int)>, 3> sides { [this](int number) { ours(number); },
            [this](int number) { bare(number); }, [this](int number) { tool(number); } };
        const int shares = static_cast<int>(m_target.shares.size());
        for (const auto& side : sides)
            side(shares); // warms it up
        m_times = {};
        std::array<std::size_t, 3> order { 0, 1, 2 };
        for (int round = 0; round < rounds; ++round) {
            for (const auto side : order)
                sides[side](round % shares + 1);
            // Who goes first takes turns too, and who comes behind whom.
            std::next_permutation(order.begin(), order.end());
        }
        return m_times;
    }

private:
    void ours(int number) {
        m_times.ours.push_back(m_engine.mount(number, number));
        m_engine.unmountAll();
        rest();
    }

    void bare(int number) {
        BareMount mount(url(number));
        const auto start = SteadyClock::now();
        mount.mount();
        m_times.bare.push_back(milliseconds(SteadyClock::now() - start));
        mount.unmount();
        rest();
    }

    void tool(int number) {
        const auto start = SteadyClock::now();
        runTool({ "gio", "mount", "-a", url(number) });
        m_times.tool.push_back(milliseconds(SteadyClock::now() - start));
        BareMount(url(number)).unmount();
        rest();
    }

    [[nodiscard]] std::string url(int number) const { return m_target.url(static_cast<std::size_t>(number - 1)); }

    Engine& m_engine;
    const Target& m_target;
    Times m_times;
};

void compareOne(Engine& engine, const std::string& protocol, const Target& target, int rounds) {
    const auto times = OneShare(engine, target).compare(rounds);
    print(protocol, "a bare GIO mount", times.ours, times.bare, mostOfBare);
    print(protocol, "gio mount", times.ours, times.tool, 1);
}

void compareTwenty(Engine& engine, const Target& target, int rounds) {
    std::vector<double> ours;
    std::vector<double> tool;
    for (int round = 0; round < rounds; ++round) {
        rest();
        ours.push_back(engine.mount(1, mostShares));
        engine.unmountAll();
        rest();
        const auto start = SteadyClock::now();
        for (std::size_t index = 0; index < mostShares; ++index)
            runTool({ "gio", "mount", "-a", target.url(index) });
        tool.push_back(milliseconds(SteadyClock::now() - start));
        for (std::size_t index = 0; index < mostShares; ++index)
            BareMount(target.url(index)).unmount();
    }
    print("twenty", "gio mount, twenty times in a row", ours, tool, mostOfTwenty);
}

int run(int rounds, std::vector<std::string> protocols) {
    const bool isWhole = protocols.empty();
    if (isWhole)
        protocols = { "smb", "dav", "ftp", "afp" };
    std::printf("medians        our engine         plain   ratio  target   plain is\n");
    bool hasMeasured = false;
    for (const auto& protocol : protocols) {
        const auto server = target(protocol);
        if (server.host.empty())
            continue;
        Engine engine(server);
        compareOne(engine, protocol, server, rounds);
        if (isWhole && protocol == "smb")
            compareTwenty(engine, server, std::max(3, rounds / 8));
        hasMeasured = true;
    }
    if (!hasMeasured)
        fail("to be run as: scripts/testbed run --servers smb -- build/release/mount_benchmark [ROUNDS [PROTOCOL...]]");
    return 0;
}

} // namespace

} // namespace quorrel

int main(int count, char** arguments) {
    const int rounds = count > 1 ? std::atoi(arguments[1]) : 40;
    return quorrel::run(
        std::max(1, rounds), std::vector<std::string>(arguments + std::min(count, 2), arguments + count));
}
