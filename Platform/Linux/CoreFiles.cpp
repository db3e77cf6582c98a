// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/CoreFiles.h"

#include <sys/resource.h>

namespace quorrel {

// To be no longer "dumpable" would bind crash handlers, too. But such a process cannot be looked at in /proc by others
// of the same user either, and desktops refuse it what they offer to programs that they can look at.
void CoreFiles::forbid() {
    rlimit limit {};
    if (getrlimit(RLIMIT_CORE, &limit) != 0)
        return;
    limit.rlim_cur = 0;
    (void)setrlimit(RLIMIT_CORE, &limit);
}

} // namespace quorrel
