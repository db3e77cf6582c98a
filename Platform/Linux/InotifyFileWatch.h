// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Platform/FileWatch.h"
#include "Platform/Linux/DescriptorWatch.h"
#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace quorrel {

/// Watches the folder that holds the file, since a file that is replaced is another one afterwards; of a symbolic link,
/// the folder of what it leads to as well; of a folder that is missing, the nearest one above. On the main GLib
/// context, which sleeps while nothing happens.
class InotifyFileWatch final : public FileWatch {
public:
    /// After the first sign of a change so much time passes before it is told.
    explicit InotifyFileWatch(std::string path, Seconds settling = Seconds { 0.2 });
    ~InotifyFileWatch() override;
    InotifyFileWatch(const InotifyFileWatch&) = delete;
    InotifyFileWatch& operator=(const InotifyFileWatch&) = delete;

    [[nodiscard]] std::optional<std::string> start(std::function<void()> changed) override;
    void stop() override;

private:
    using Names = std::map<int, std::set<std::string>>; // what counts in each folder, by its watch

    void readEvents();
    [[nodiscard]] bool counts(int watch, unsigned mask, const char* name) const;
    void watchFolders();
    void watchFor(const std::string& target, Names& names) const;

    const std::string m_path;
    const Seconds m_settling;
    FileDescriptor m_inotify;
    std::optional<DescriptorWatch> m_watch; // of it
    Names m_names;
    std::function<void()> m_changed;
    MainLoopTimer m_timer;
};

} // namespace quorrel
