// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/DescriptorWatch.h"
#include "Platform/Linux/FileDescriptor.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

/// Tells from the main GLib context that entries of a folder come, go or change their names, not what is written into
/// them. Main thread only; for folders of this machine's own.
class FolderWatch final {
public:
    /// With a name, only that entry counts. The action must not throw; it may destroy the watch.
    FolderWatch(const std::string& folder, std::string name, std::function<void()> action);
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    /// False when there is no such folder, a link to one included, or not any more; then nothing is told.
    [[nodiscard]] bool isWatching() const { return m_isWatching; }

private:
    void read();

    const FileDescriptor m_queue;
    const std::string m_name;
    const std::function<void()> m_action;
    bool m_isWatching = false;
    std::optional<DescriptorWatch> m_watch;
};

} // namespace quorrel
