// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/SignalWatch.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace quorrel {

SignalWatch::SignalWatch(Handler handler)
    : m_handler(std::move(handler)) {
    sigset_t watched {};
    sigemptyset(&watched);
    for (const int signal : { SIGINT, SIGTERM, SIGHUP }) {
        // Whoever started us with a signal ignored, as nohup does, wants it ignored.
        struct sigaction current { };
        if (sigaction(signal, nullptr, &current) == 0 && current.sa_handler != SIG_IGN)
            sigaddset(&watched, signal);
    }
    m_signals = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
    m_end = eventfd(0, EFD_CLOEXEC);
    // Without descriptors the signals keep their usual effect, which ends the program too.
    if (m_signals < 0 || m_end < 0)
        return;
    pthread_sigmask(SIG_BLOCK, &watched, &m_before);
    m_thread = std::thread([this] { watch(); });
}

SignalWatch::~SignalWatch() {
    if (m_thread.joinable()) {
        if (!endThread())
            m_thread.detach();
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    if (m_signals >= 0)
        close(m_signals);
    if (m_end >= 0)
        close(m_end);
}

void SignalWatch::leaveToSuccessor() {
    m_isLeaving = true;
    if (m_thread.joinable())
        endThread();
}

bool SignalWatch::endThread() {
    const std::uint64_t one = 1;
    if (write(m_end, &one, sizeof one) != sizeof one)
        return false;
    m_thread.join();
    return true;
}

void SignalWatch::watch() {
    std::array<pollfd, 2> waiting { pollfd { m_signals, POLLIN, 0 }, pollfd { m_end, POLLIN, 0 } };
    while (true) {
        if (poll(waiting.data(), waiting.size(), -1) < 0 && errno == EINTR)
            continue;
        const bool isToEnd = (waiting[1].revents & POLLIN) != 0;
        if (isToEnd && m_isLeaving)
            return;
        signalfd_siginfo received {};
        if (read(m_signals, &received, sizeof received) == sizeof received)
            m_handler(static_cast<int>(received.ssi_signo));
        else if (isToEnd)
            return;
    }
}

} // namespace quorrel
