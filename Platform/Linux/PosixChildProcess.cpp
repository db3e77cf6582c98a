// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PosixChildProcess.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/SpawnedProcess.h"
#include "Platform/Linux/SystemError.h"

#include <array>
#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <unistd.h>

namespace quorrel {

namespace {

std::string readToEnd(int descriptor) {
    std::string output;
    std::array<char, 16384> buffer {};
    for (;;) {
        const auto count = ::read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return output;
        output.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace

ChildProcessResult PosixChildProcess::run(const std::string& path, const std::vector<std::string>& arguments) {
    const auto failed = [](int error) { return ChildProcessResult { false, systemErrorText(error), {} }; };
    std::array<int, 2> ends { -1, -1 };
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return failed(errno);
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    SpawnedProcess process(path, arguments);
    if (const int error = process.start(writeEnd.get()))
        return failed(error);
    if (m_tools)
        m_tools->began(process.identifier());
    writeEnd.close();
    ChildProcessResult result { true, {}, readToEnd(readEnd.get()) };
    if (m_tools)
        m_tools->ended(process.identifier());
    process.reap();
    return result;
}

} // namespace quorrel
