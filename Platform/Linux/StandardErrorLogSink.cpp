// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/StandardErrorLogSink.h"

#include <cerrno>
#include <cstddef>

#include <unistd.h>

namespace quorrel {

void StandardErrorLogSink::write(std::string_view line) {
    while (!line.empty()) {
        const auto written = ::write(m_descriptor, line.data(), line.size());
        if (written < 0 && errno != EINTR)
            return;
        if (written > 0)
            line.remove_prefix(static_cast<std::size_t>(written));
    }
}

long StandardErrorLogSink::processIdentifier() const {
    return ::getpid();
}

long StandardErrorLogSink::threadIdentifier() const {
    return ::gettid();
}

} // namespace quorrel
