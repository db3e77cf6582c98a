// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/BoundedLoop.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <utility>
#include <vector>

namespace quorrel {
namespace {

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

struct BoundedLoopTest : testing::Test {
    /// A call that does not heed its cancellation; the test answers it.
    BoundedLoop::Pending beginStubborn(BoundedLoop& loop) {
        return loop.begin([this](GCancellable*, GAsyncReadyCallback callback, gpointer data) {
            m_call.reset(g_task_new(nullptr, nullptr, callback, data));
        });
    }

    void answer() {
        g_task_return_boolean(m_call.get(), TRUE);
        m_call.reset();
    }

    MainContextPool m_contexts;
    InterruptEvent m_interrupted;
    GObjectPointer<GTask> m_call;
};

TEST_F(BoundedLoopTest, anAnswerThatComesTooLateCostsNoDescriptor) {
    std::ptrdiff_t before = 0;
    for (int round = 0; round < 4; ++round) {
        {
            BoundedLoop loop(m_contexts, Seconds { 5 }, m_interrupted);
            const auto abandoned = beginStubborn(loop);
        }
        answer();
        if (round == 0)
            before = openDescriptors();
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(BoundedLoopTest, aCallThatIsNeverAnsweredCostsNoDescriptor) {
    std::vector<GObjectPointer<GTask>> silent;
    std::ptrdiff_t before = 0;
    for (int round = 0; round < 4; ++round) {
        {
            BoundedLoop loop(m_contexts, Seconds { 5 }, m_interrupted);
            const auto abandoned = beginStubborn(loop);
        }
        silent.push_back(std::move(m_call));
        if (round == 0)
            before = openDescriptors();
    }
    EXPECT_EQ(openDescriptors(), before);
    for (auto& call : silent) {
        m_call = std::move(call);
        answer();
    }
}

TEST_F(BoundedLoopTest, theNextLoopTakesALateAnswerInWithoutTakingItForItsOwn) {
    {
        BoundedLoop loop(m_contexts, Seconds { 5 }, m_interrupted);
        const auto abandoned = beginStubborn(loop);
    }
    const GObjectPointer<GTask> old(std::move(m_call));
    BoundedLoop loop(m_contexts, Seconds { 5 }, m_interrupted);
    const auto own = beginStubborn(loop);
    g_task_return_boolean(old.get(), TRUE);
    EXPECT_TRUE(loop.waitUntil([&] { return g_task_get_completed(old.get()) != 0; }));
    EXPECT_FALSE(own.isDone());
    answer();
    EXPECT_TRUE(loop.waitUntil([&] { return own.isDone(); }));
}

TEST_F(BoundedLoopTest, loopsSideBySideHaveContextsOfTheirOwn) {
    const auto first = m_contexts.take();
    const auto second = m_contexts.take();
    EXPECT_NE(first.get(), second.get());
}

} // namespace
} // namespace quorrel
