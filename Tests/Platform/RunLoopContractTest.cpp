// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GlibRunLoop.h"
#include "Tests/Fakes/FakeRunLoop.h"

#include <gtest/gtest.h>

#include <glib.h>
#include <stdexcept>
#include <thread>
#include <vector>

namespace quorrel {

template <typename Loop>
class RunLoopContract : public testing::Test {
protected:
    MainThreadQueue queue;
    Loop loop { queue };
};

using Loops = testing::Types<FakeRunLoop, GlibRunLoop>;
TYPED_TEST_SUITE(RunLoopContract, Loops);

TYPED_TEST(RunLoopContract, runsWhatWasPostedInOrderUntilQuit) {
    std::vector<int> order;
    this->queue.post([&] { order.push_back(1); });
    this->queue.post([&] {
        order.push_back(2);
        this->queue.post([&] {
            order.push_back(4);
            this->loop.quit();
        });
        order.push_back(3);
    });
    this->loop.run();
    EXPECT_EQ(order, (std::vector { 1, 2, 3, 4 }));
}

TYPED_TEST(RunLoopContract, anotherThreadsTasksWakeItAndRunOnTheMainThread) {
    int count = 0;
    bool alwaysMain = true;
    std::thread worker([&] {
        for (int round = 0; round < 500; ++round)
            this->queue.post([&] {
                alwaysMain = alwaysMain && this->queue.isMainThread();
                if (++count == 500)
                    this->loop.quit();
            });
    });
    this->loop.run();
    worker.join();
    EXPECT_EQ(count, 500);
    EXPECT_TRUE(alwaysMain);
}

TYPED_TEST(RunLoopContract, anotherThreadMayQuit) {
    std::thread worker;
    this->queue.post([&] { worker = std::thread([&] { this->loop.quit(); }); });
    this->loop.run();
    worker.join();
}

TYPED_TEST(RunLoopContract, aQuitThatComesFirstEndsTheNextRunAndOnlyThat) {
    this->loop.quit();
    this->loop.run();
    bool ran = false;
    this->queue.post([&] {
        ran = true;
        this->loop.quit();
    });
    this->loop.run();
    EXPECT_TRUE(ran);
}

TEST(GlibRunLoopTest, anIdleLoopIsWokenByNothing) {
    MainThreadQueue queue;
    GlibRunLoop loop(queue);
    queue.post([&] { loop.quit(); });
    loop.run();
    auto* context = g_main_context_default();
    ASSERT_TRUE(g_main_context_acquire(context));
    gint priority = 0;
    gint timeout = 0;
    EXPECT_FALSE(g_main_context_prepare(context, &priority));
    g_main_context_query(context, G_MAXINT, &timeout, nullptr, 0);
    EXPECT_EQ(timeout, -1); // for ever
    g_main_context_release(context);
}

TEST(GlibRunLoopTest, runsOtherSourcesOfTheMainContext) {
    MainThreadQueue queue;
    GlibRunLoop loop(queue);
    g_idle_add(
        [](gpointer data) -> gboolean {
            static_cast<GlibRunLoop*>(data)->quit();
            return G_SOURCE_REMOVE;
        },
        &loop);
    loop.run();
}

TEST(GlibRunLoopTest, whatATaskThrowsIsToldAndTheTasksBehindItRun) {
    std::vector<std::string> seen;
    MainThreadQueue queue;
    GlibRunLoop loop(queue, [&](const std::string& what) { seen.push_back(what); });
    queue.post([] { throw std::runtime_error("first"); });
    queue.post([] { throw 2; });
    queue.post([&] {
        seen.emplace_back("third");
        loop.quit();
    });
    loop.run();
    EXPECT_EQ(seen, (std::vector<std::string> { "first", "an exception of unknown type", "third" }));
}

TEST(GlibRunLoopTest, aQueueThatOutlivesItsLoopTakesTasksStill) {
    MainThreadQueue queue;
    { const GlibRunLoop loop(queue); }
    bool ran = false;
    queue.post([&] { ran = true; });
    queue.runPending();
    EXPECT_TRUE(ran);
}

} // namespace quorrel
