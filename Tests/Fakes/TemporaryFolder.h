// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// A folder of a test's own, gone with all that is in it when the test ends.
class TemporaryFolder final {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string path(const std::string& name) const { return m_path + "/" + name; }

    /// Writes a file and returns its path.
    std::string put(const std::string& name, std::string_view bytes, unsigned mode = 0600) const;
    [[nodiscard]] std::string contentOf(const std::string& name) const;
    /// The permission bits; 0 when nothing is there.
    [[nodiscard]] unsigned modeOf(const std::string& name) const;
    /// What is in the folder, sorted.
    [[nodiscard]] std::vector<std::string> names() const;

private:
    std::string m_path;
};

} // namespace quorrel
