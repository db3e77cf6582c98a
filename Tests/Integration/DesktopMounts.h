// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace quorrel {

/// Mounts as the user's file manager makes them: by another program, `gio`. The main context runs meanwhile. What is
/// still mounted goes with the object.
class DesktopMounts final {
public:
    DesktopMounts() = default;
    DesktopMounts(const DesktopMounts&) = delete;
    DesktopMounts& operator=(const DesktopMounts&) = delete;
    ~DesktopMounts();

    /// As a guest; with a password file, as the user whose name stands in the location.
    [[nodiscard]] bool mount(const std::string& location, const std::string& passwordFile = {});
    [[nodiscard]] bool unmount(const std::string& location);

private:
    std::vector<std::string> m_locations;
};

} // namespace quorrel
