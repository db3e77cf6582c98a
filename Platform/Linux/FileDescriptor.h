// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>

#include <unistd.h>

namespace quorrel {

/// Owns an open file descriptor and closes it.
class FileDescriptor final {
public:
    explicit FileDescriptor(int descriptor = -1)
        : m_descriptor(descriptor) { }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) { }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            close();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }
    ~FileDescriptor() { close(); }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }

    void close() {
        if (m_descriptor >= 0)
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor;
};

} // namespace quorrel
