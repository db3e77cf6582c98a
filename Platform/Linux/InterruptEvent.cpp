// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/InterruptEvent.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace quorrel {

InterruptEvent::InterruptEvent()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) { }

InterruptEvent::~InterruptEvent() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

void InterruptEvent::signal() const {
    // It is never read, so it stays readable for every wait; a full counter says the same.
    eventfd_write(m_descriptor, 1);
}

bool InterruptEvent::isSignalled() const {
    pollfd entry { m_descriptor, POLLIN, 0 };
    return m_descriptor >= 0 && poll(&entry, 1, 0) > 0;
}

} // namespace quorrel
