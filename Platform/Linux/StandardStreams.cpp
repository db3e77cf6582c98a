// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace quorrel {

void StandardStreams::fillClosedOnes() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (fcntl(stream, F_GETFD) < 0)
            (void)open("/dev/null", O_RDWR);
}

} // namespace quorrel
