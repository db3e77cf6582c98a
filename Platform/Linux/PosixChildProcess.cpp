// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PosixChildProcess.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/SpawnedProcess.h"
#include "Platform/Linux/SystemError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/types.h>
#include <unistd.h>

namespace quorrel {

namespace {

using Clock = std::chrono::steady_clock;
using Deadline = std::optional<Clock::time_point>;

constexpr std::chrono::milliseconds timeToEnd { 500 }; // from the request to the kill
constexpr std::chrono::milliseconds timeToDie { 500 };
constexpr std::size_t mostKept { 16 << 20 }; // of a program without bounds, which may print for as long as it likes

enum class Reading { CameToEnd, TooLate, TooMuch };

/// Whether there is something to read, if only the end; false once the time is over.
bool waitForOutput(int descriptor, const Deadline& deadline) {
    for (;;) {
        int remaining = -1;
        if (deadline) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
            if (left <= 0)
                return false;
            remaining = static_cast<int>(left);
        }
        pollfd watched { descriptor, POLLIN, 0 };
        const int count = ::poll(&watched, 1, remaining);
        if (count != 0 && !(count < 0 && errno == EINTR))
            return true;
    }
}

class OutputReader final {
public:
    explicit OutputReader(int descriptor)
        : m_descriptor(descriptor) { }

    /// Keeps no more bytes than that.
    Reading read(const Deadline& deadline, std::size_t most) {
        while (waitForOutput(m_descriptor, deadline)) {
            const auto count = readSome();
            if (count == 0)
                return Reading::CameToEnd;
            const auto kept = std::min(count, most - output.size());
            output.append(m_buffer.data(), kept);
            if (kept < count)
                return Reading::TooMuch;
        }
        return Reading::TooLate;
    }

    /// Reads on so that whoever writes is not held up.
    void discard(const Deadline& deadline) {
        while (waitForOutput(m_descriptor, deadline) && readSome() != 0) { }
    }

    std::string output;

private:
    std::size_t readSome() {
        ssize_t count = -1;
        do
            count = ::read(m_descriptor, m_buffer.data(), m_buffer.size());
        while (count < 0 && errno == EINTR);
        return count < 0 ? 0 : static_cast<std::size_t>(count);
    }

    const int m_descriptor;
    std::array<char, 16384> m_buffer {};
};

std::string tooLate(std::chrono::milliseconds time) {
    return "It took longer than " + std::to_string(time.count()) + " milliseconds";
}

std::string tooMuch(std::size_t bytes) {
    return "It printed more than " + std::to_string(bytes) + " bytes";
}

} // namespace

PosixChildProcess::PosixChildProcess(std::shared_ptr<RunningTools> tools, std::optional<ProgramBounds> bounds)
    : m_tools(std::move(tools))
    , m_bounds(bounds) { }

ChildProcessResult PosixChildProcess::run(const std::string& path, const std::vector<std::string>& arguments) {
    const auto failed = [](int error) { return ChildProcessResult { false, systemErrorText(error), {} }; };
    std::array<int, 2> ends { -1, -1 };
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return failed(errno);
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    SpawnedProcess process(path, arguments);
    const auto deadline = m_bounds ? Deadline(Clock::now() + m_bounds->time) : std::nullopt;
    if (const int error
        = process.start(writeEnd.get(), m_bounds ? SpawnedProcess::Group::Own : SpawnedProcess::Group::Ours))
        return failed(error);
    if (m_tools)
        m_tools->began(process.identifier());
    writeEnd.close();
    OutputReader reader(readEnd.get());
    ChildProcessResult result { true, {}, {} };
    const auto most = m_bounds ? m_bounds->output : mostKept;
    const auto reading = reader.read(deadline, most);
    if (reading != Reading::CameToEnd)
        result.failure = reading == Reading::TooLate ? tooLate(m_bounds->time) : tooMuch(most);
    if (reading != Reading::CameToEnd && !m_bounds) {
        reader.discard(std::nullopt);
    } else if (reading != Reading::CameToEnd) {
        // Until it is reaped, its number is the group's and nobody else's.
        const pid_t group = -process.identifier();
        ::kill(group, SIGTERM);
        reader.discard(Clock::now() + timeToEnd);
        ::kill(group, SIGKILL);
        reader.discard(Clock::now() + timeToDie);
    }
    result.output = std::move(reader.output);
    if (m_tools)
        m_tools->ended(process.identifier());
    process.reap();
    return result;
}

} // namespace quorrel
