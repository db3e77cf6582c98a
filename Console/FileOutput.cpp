// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/FileOutput.h"

#include <cerrno>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace quorrel {

FileOutput::FileOutput(int descriptor, std::string_view terminalType)
    : m_descriptor(descriptor)
    , m_isTerminal(isatty(descriptor) == 1 && !terminalType.empty() && terminalType != "dumb") { }

void FileOutput::write(std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(m_descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // Someone else made the shared description non-blocking.
            pollfd waiting { m_descriptor, POLLOUT, 0 };
            poll(&waiting, 1, -1);
        } else if (errno != EINTR) {
            m_isLost = true;
            return;
        }
    }
}

Output::Size FileOutput::size() const {
    winsize window {};
    Size size;
    if (ioctl(m_descriptor, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 && window.ws_row > 0) {
        size.columns = window.ws_col;
        size.rows = window.ws_row;
    }
    return size;
}

} // namespace quorrel
