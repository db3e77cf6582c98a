// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PosixChildProcess.h"
#include "Platform/Linux/FileDescriptor.h"
#include "Tests/Fakes/HostileNames.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Platform/ProcessEnd.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>

namespace quorrel {

class PosixChildProcessTest : public testing::Test {
protected:
    using milliseconds = std::chrono::milliseconds;
    using Words = std::vector<std::string>;
    static constexpr std::size_t plenty = 1000000;

    ChildProcessResult shell(const std::string& script, const Words& arguments = {}) {
        return process.run("/bin/sh", words(script, arguments));
    }

    ChildProcessResult bounded(
        milliseconds time, std::size_t output, const std::string& script, const Words& arguments = {}) {
        return PosixChildProcess(tools, ProgramBounds { time, output }).run("/bin/sh", words(script, arguments));
    }

    static Words words(const std::string& script, const Words& arguments) {
        Words all { "-c", script, "sh" };
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    std::shared_ptr<RunningTools> tools = std::make_shared<RunningTools>();
    PosixChildProcess process { tools };
    TemporaryFolder folder;
};

TEST_F(PosixChildProcessTest, anyNameArrivesAsOneArgumentOrNotAtAll) {
    for (const auto& [evil, name] : hostileNames()) {
        const auto result = shell("printf '%s,' \"$#\" \"$1\"", { name });
        EXPECT_EQ(result.started, name.size() < 100'000 && name.find('\0') == std::string::npos) << evil;
        if (result.started)
            EXPECT_EQ(result.output, "1," + name + ',') << evil;
        else
            EXPECT_NE(result.failure, "") << evil;
    }
}

TEST_F(PosixChildProcessTest, aFileThatMayNotBeRunSaysSo) {
    const auto result = process.run(folder.put("program", "#!/bin/sh\n", 0600), {});
    EXPECT_FALSE(result.started);
    EXPECT_EQ(result.failure, "Permission denied");
}

TEST_F(PosixChildProcessTest, aScriptWithoutAnInterpreterLineSaysSo) {
    const auto result = process.run(folder.put("program", "echo hello\n", 0700), {});
    EXPECT_FALSE(result.started);
    EXPECT_EQ(result.failure, "Exec format error");
}

TEST_F(PosixChildProcessTest, noSearchPathIsUsed) {
    EXPECT_FALSE(process.run("sh", { "-c", "true" }).started);
    EXPECT_FALSE(process.run("", {}).started);
}

TEST_F(PosixChildProcessTest, whatAnArgumentCannotHoldIsRefusedAndNotCutOff) {
    const auto result = process.run("/bin/echo", { std::string("a\0b", 3) });
    EXPECT_FALSE(result.started);
    EXPECT_EQ(result.failure, "Invalid argument");
}

TEST_F(PosixChildProcessTest, manyMegabytesComeThroughWhole) {
    const auto output = shell("yes 0123456789abcde | head -c 8000000").output;
    EXPECT_EQ(output.size(), 8000000U);
    EXPECT_EQ(output.substr(output.size() - 16), "0123456789abcde\n");
}

TEST_F(PosixChildProcessTest, aFailingProgramsOutputCounts) {
    const auto result = shell("echo before; exit 3");
    EXPECT_TRUE(result.started);
    EXPECT_EQ(result.output, "before\n");
}

TEST_F(PosixChildProcessTest, aChildStartsWithItsSignalsAtTheirDefaults) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t usual;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGUSR2);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, &usual), 0);
    const auto ignored = process.run("/bin/sed", { "-n", "s/^SigIgn:\\t//p", "/proc/self/status" }).output;
    const auto masked = process.run("/bin/sed", { "-n", "s/^SigBlk:\\t//p", "/proc/self/status" }).output;
    ::pthread_sigmask(SIG_SETMASK, &usual, nullptr);
    std::signal(SIGPIPE, before);
    EXPECT_EQ(masked, "0000000000000000\n");
    constexpr unsigned long long ofTheLibrary = 0x180000000; // two that the C library keeps for its threads
    EXPECT_EQ(std::stoull(ignored, nullptr, 16) & ~ofTheLibrary, 0U);
}

TEST_F(PosixChildProcessTest, aChildInheritsNoOtherFile) {
    const FileDescriptor leaky(::open("/dev/null", O_RDONLY)); // NOLINT(android-cloexec-open): the point of the test
    ASSERT_GT(leaky.get(), 2);
    // The shell's pattern needs a descriptor of its own while it looks.
    EXPECT_EQ(shell("test -e /proc/$$/fd/" + std::to_string(leaky.get()) + " && echo there; true").output, "");
}

TEST_F(PosixChildProcessTest, aChildThatClosesItsOutputAndRunsOnBlocksNobodyAndLeavesNoZombie) {
    const auto gate = folder.path("gate");
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    const auto result = shell("echo $$; exec >&-; read word <\"$1\"", { gate });
    const auto child = static_cast<pid_t>(std::stol(result.output));
    EXPECT_EQ(::kill(child, 0), 0); // it still waits at the gate
    const FileDescriptor open(::open(gate.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::write(open.get(), "go\n", 3), 3);
    EXPECT_TRUE(isGone(child));
}

TEST_F(PosixChildProcessTest, everyChildIsReaped) {
    for (int round = 0; round < 30; ++round)
        EXPECT_TRUE(isGone(static_cast<pid_t>(std::stol(shell("echo $$").output))));
}

TEST_F(PosixChildProcessTest, aBackgroundChildThatKeepsTheOutputOpenIsWaitedFor) {
    const auto gate = folder.path("gate");
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    const FileDescriptor open(::open(gate.c_str(), O_RDWR | O_CLOEXEC));
    std::atomic<bool> ended = false;
    std::string output;
    std::thread runner([&] {
        output = shell("echo early; (read word <\"$1\"; echo late) &", { gate }).output;
        ended = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // long enough for a wrong answer
    EXPECT_FALSE(ended);
    ASSERT_EQ(::write(open.get(), "go\n", 3), 3);
    runner.join();
    EXPECT_EQ(output, "early\nlate\n");
}

TEST_F(PosixChildProcessTest, childrenOfAProgramThatEndsEndWithIt) {
    const auto gate = folder.path("gate");
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    const auto started = folder.path("started");
    ASSERT_EQ(::mkfifo(started.c_str(), 0600), 0);
    std::thread runner([&] { shell("echo >\"$1\"; exec sleep 600", { started }); });
    // Opened when the child has opened it, too.
    const FileDescriptor isStarted(::open(started.c_str(), O_RDONLY | O_CLOEXEC));
    tools->endAll();
    runner.join();
    EXPECT_TRUE(shell("exec sleep 600").started) << "one that is started afterwards ends as well";
    EXPECT_EQ(PosixChildProcess().run("/bin/echo", { "on" }).output, "on\n") << "one that is no tool does not";
}

TEST_F(PosixChildProcessTest, aProgramThatTakesTooLongIsEndedAndSaysWhatItSaid) {
    const auto result = bounded(milliseconds(1500), plenty, "echo $$; exec sleep 600");
    EXPECT_TRUE(result.started);
    EXPECT_EQ(result.failure, "It took longer than 1500 milliseconds");
    ASSERT_NE(result.output, "");
    EXPECT_TRUE(isGone(static_cast<pid_t>(std::stol(result.output))));
}

TEST_F(PosixChildProcessTest, aProgramThatIgnoresTheRequestIsKilledWithWhatItStarted) {
    const auto result
        = bounded(std::chrono::minutes(1), 1000, "trap '' TERM; sleep 600 & echo $! $$; echo; yes words; sleep 600");
    EXPECT_EQ(result.failure, "It printed more than 1000 bytes");
    std::istringstream numbers(result.output);
    int gone = 0;
    for (pid_t child = 0; numbers >> child;)
        gone += hasStopped(child) ? 1 : 0;
    EXPECT_EQ(gone, 2);
}

TEST_F(PosixChildProcessTest, aChildThatLeavesTheGroupHoldsTheOutputOpenInVain) {
    const auto gate = folder.path("gate");
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    const FileDescriptor open(::open(gate.c_str(), O_RDWR | O_CLOEXEC));
    const auto result
        = bounded(milliseconds(200), plenty, "setsid sh -c 'echo $$; read word <\"$1\"' sh \"$1\" & exit", { gate });
    EXPECT_EQ(result.failure, "It took longer than 200 milliseconds");
    ASSERT_EQ(::write(open.get(), "go\n", 3), 3);
    EXPECT_TRUE(result.output.empty() || hasStopped(static_cast<pid_t>(std::stol(result.output))));
}

TEST_F(PosixChildProcessTest, ofOneThatPrintsWithoutEndOnlyTheFirstBytesAreKept) {
    const auto result = bounded(std::chrono::minutes(1), 100000, "exec yes 0123456789abcde");
    EXPECT_EQ(result.failure, "It printed more than 100000 bytes");
    EXPECT_EQ(result.output.size(), 100000U);
    EXPECT_EQ(result.output.substr(99984), "0123456789abcde\n");
}

TEST_F(PosixChildProcessTest, withoutBoundsAllIsReadAndNotAllIsKept) {
    const auto ended = folder.path("ended");
    const auto result = shell("yes 0123456789abcde | head -c 100000000; : > \"$1\"", { ended });
    EXPECT_EQ(result.output.size(), 16U << 20);
    EXPECT_EQ(result.failure, "It printed more than 16777216 bytes");
    EXPECT_EQ(::access(ended.c_str(), F_OK), 0);
}

TEST_F(PosixChildProcessTest, whatKeepsTheBoundsIsNotTouched) {
    const auto result = bounded(std::chrono::minutes(1), 100000, "yes 0123456789abcde | head -c 100000");
    EXPECT_EQ(result.failure, "");
    EXPECT_EQ(result.output.size(), 100000U);
}

TEST_F(PosixChildProcessTest, toolsInGroupsOfTheirOwnEndWithTheProgramTogetherWithWhatTheyStarted) {
    const auto started = folder.path("started");
    ASSERT_EQ(::mkfifo(started.c_str(), 0600), 0);
    ChildProcessResult result;
    std::thread runner([&] {
        result = bounded(
            std::chrono::minutes(10), plenty, "sleep 600 & echo $!; echo >\"$1\"; wait $!; exit", { started });
    });
    const FileDescriptor isStarted(::open(started.c_str(), O_RDONLY | O_CLOEXEC));
    tools->endAll();
    runner.join();
    EXPECT_EQ(result.failure, "");
    EXPECT_TRUE(hasStopped(static_cast<pid_t>(std::stol(result.output))));
}

TEST_F(PosixChildProcessTest, signalsToThisProcessDoNotCutTheOutputShort) {
    struct sigaction action { };
    struct sigaction before { };
    action.sa_handler = [](int) {}; // without SA_RESTART: calls end early
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    std::atomic<bool> ended = false;
    std::string output;
    std::thread runner([&] {
        output = shell("for n in 1 2 3 4 5 6 7 8 9; do echo $n; done; head -c 300000 /dev/zero").output;
        ended = true;
    });
    const auto thread = runner.native_handle();
    while (!ended) {
        ::pthread_kill(thread, SIGUSR1);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    runner.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    EXPECT_EQ(output.size(), 300018U);
}

TEST_F(PosixChildProcessTest, threadsDoNotDisturbOneAnother) {
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int number = 0; number < 6; ++number)
        threads.emplace_back([&, number] {
            for (int round = 0; round < 10; ++round)
                right += shell("echo $1", { std::to_string(number) }).output == std::to_string(number) + "\n" ? 1 : 0;
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(right, 60);
}

} // namespace quorrel
