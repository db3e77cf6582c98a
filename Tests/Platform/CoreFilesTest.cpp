// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/CoreFiles.h"

#include <gtest/gtest.h>

#include <csignal>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorrel {

TEST(CoreFiles, aCrashLeavesNone) {
    const pid_t child = fork();
    if (child == 0) {
        rlimit limit {};
        getrlimit(RLIMIT_CORE, &limit);
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_CORE, &limit);
        CoreFiles::forbid();
        const auto allowed = limit.rlim_max;
        if (getrlimit(RLIMIT_CORE, &limit) != 0 || limit.rlim_cur != 0 || limit.rlim_max != allowed)
            _exit(1);
        std::signal(SIGSEGV, SIG_DFL);
        raise(SIGSEGV);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
    EXPECT_FALSE(WCOREDUMP(status));
}

} // namespace quorrel
