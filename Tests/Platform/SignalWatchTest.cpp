// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/SignalWatch.h"

#include "Foundation/Clock.h"
#include "Foundation/WakeSignal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <unistd.h>

namespace quorrel {
namespace {

constexpr Seconds longEnough { 10 };

TEST(SignalWatch, callsItsHandlerOnAnotherThread) {
    for (const int signal : { SIGINT, SIGTERM, SIGHUP }) {
        WakeSignal handled;
        std::atomic<int> received = 0;
        std::thread::id thread;
        {
            const SignalWatch watch([&](int number) {
                received = number;
                thread = std::this_thread::get_id();
                handled.signal();
            });
            kill(getpid(), signal);
            EXPECT_TRUE(handled.waitFor(longEnough));
        }
        EXPECT_EQ(received, signal);
        EXPECT_NE(thread, std::this_thread::get_id());
    }
}

TEST(SignalWatch, callsItsHandlerForOneSignalAfterTheOther) {
    WakeSignal handled;
    std::atomic<int> calls = 0;
    const SignalWatch watch([&](int) {
        ++calls;
        handled.signal();
    });
    for (const int signal : { SIGHUP, SIGHUP, SIGTERM }) {
        kill(getpid(), signal);
        EXPECT_TRUE(handled.waitFor(longEnough));
        handled.reset();
    }
    EXPECT_EQ(calls, 3);
}

TEST(SignalWatch, leavesLaterSignalsToWhoeverComesAfterIt) {
    sigset_t before {};
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    std::atomic<int> first = 0;
    SignalWatch watch([&](int number) { first = number; });
    watch.leaveToSuccessor();
    kill(getpid(), SIGHUP);
    kill(getpid(), SIGTERM);
    std::atomic<int> hangUps = 0;
    std::atomic<int> terminations = 0;
    WakeSignal handled;
    {
        const SignalWatch successor([&](int number) {
            ++(number == SIGHUP ? hangUps : terminations);
            if (hangUps == 1 && terminations == 1)
                handled.signal();
        });
        EXPECT_TRUE(handled.waitFor(longEnough));
    }
    EXPECT_EQ(first, 0);
    pthread_sigmask(SIG_SETMASK, &before, nullptr); // a successor would be another program
}

TEST(SignalWatch, endsWithoutASignalAndGivesTheSignalsBack) {
    sigset_t before {};
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    {
        const SignalWatch watch([](int) { FAIL(); });
    }
    sigset_t after {};
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    for (const int signal : { SIGINT, SIGTERM, SIGHUP })
        EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal));
}

TEST(SignalWatch, leavesAnIgnoredSignalIgnored) {
    std::atomic<int> received = 0;
    WakeSignal handled;
    const auto before = std::signal(SIGHUP, SIG_IGN);
    {
        const SignalWatch watch([&](int number) {
            received = number;
            handled.signal();
        });
        kill(getpid(), SIGHUP);
        kill(getpid(), SIGTERM);
        EXPECT_TRUE(handled.waitFor(longEnough));
    }
    std::signal(SIGHUP, before);
    EXPECT_EQ(received, SIGTERM);
}

} // namespace
} // namespace quorrel
