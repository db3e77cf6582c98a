// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/FileDescriptor.h"

#include <string>
#include <string_view>

namespace quorrel {

/// A new file beside the one whose place it is to take, readable by the owner alone from the first byte on and whatever
/// the umask. Unless it was renamed, it goes with the object. Any thread, one at a time.
///
/// It is locked for as long as it is written: so what a program left that was killed in the middle can be told from
/// what another one is writing now. Whoever begins a new file removes the former beside it.
class UnfinishedFile final {
public:
    explicit UnfinishedFile(const std::string& path);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    /// Writes all of it and flushes it to the disk. Returns the number of the system's error, or 0.
    [[nodiscard]] int write(std::string_view bytes);
    /// Where it is until somebody renames it, who then has to say so.
    [[nodiscard]] const std::string& name() const { return m_name; }
    void wasRenamed() { m_name.clear(); }

private:
    /// Leaves the number of the system's error.
    void create(const std::string& path);

    std::string m_name; // empty: there is none to remove
    FileDescriptor m_file;
    int m_error = 0;
};

} // namespace quorrel
