// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// A small file system in memory on a folder of its own, until the object's end. Needs a mount namespace in which the
/// caller is root.
class OwnFileSystem final {
public:
    /// The options are those of the kernel's tmpfs, as in "size=256k". Check whether it is mounted.
    explicit OwnFileSystem(const std::string& options);
    OwnFileSystem(const OwnFileSystem&) = delete;
    OwnFileSystem& operator=(const OwnFileSystem&) = delete;
    ~OwnFileSystem();

    [[nodiscard]] bool isMounted() const { return m_isMounted; }
    [[nodiscard]] std::string path(const std::string& name) const { return m_path + '/' + name; }

    enum class Writing { Allowed, Refused };
    /// For everybody, the superuser too; whether it could be set.
    [[nodiscard]] bool setWriting(Writing writing) const;
    /// Leaves no room for so much as a byte; whether that came about.
    [[nodiscard]] bool fill(const std::string& name) const;

private:
    std::string m_path;
    bool m_isMounted = false;
};

} // namespace quorrel
