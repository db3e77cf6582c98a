// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// Remembers for the session which places were mounted before, also by earlier runs: gvfs is slow to forget them. Any
/// thread. What cannot be written is not remembered.
class FormerMounts final {
public:
    explicit FormerMounts(const std::string& runtimeDirectory);

    void remember(const std::string& readablePath) const;
    [[nodiscard]] bool contains(const std::string& readablePath) const;

private:
    [[nodiscard]] std::string fileFor(const std::string& readablePath) const;

    const std::string m_folder;
};

} // namespace quorrel
