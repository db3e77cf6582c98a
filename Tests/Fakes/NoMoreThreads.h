// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <pthread.h>

#include <cstddef>

namespace quorrel {

/// While one exists no new thread is to be had in this process, as on a machine that has run out of them: none has room
/// for the stack that each would get.
class NoMoreThreads final {
public:
    NoMoreThreads() {
        constexpr std::size_t nobodysRoom = std::size_t { 1 } << 60U;
        EXPECT_EQ(pthread_getattr_default_np(&m_usual), 0);
        pthread_attr_t hopeless;
        EXPECT_EQ(pthread_attr_init(&hopeless), 0);
        EXPECT_EQ(pthread_attr_setstacksize(&hopeless, nobodysRoom), 0);
        EXPECT_EQ(pthread_setattr_default_np(&hopeless), 0);
        pthread_attr_destroy(&hopeless);
    }
    NoMoreThreads(const NoMoreThreads&) = delete;
    NoMoreThreads& operator=(const NoMoreThreads&) = delete;
    ~NoMoreThreads() {
        EXPECT_EQ(pthread_setattr_default_np(&m_usual), 0);
        pthread_attr_destroy(&m_usual);
    }

private:
    pthread_attr_t m_usual {};
};

} // namespace quorrel
