// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PropertyListFile.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace quorrel {

/// Property lists that others may edit while the program runs: it overwrites none that is not as it read or wrote it
/// last. One that is gone is written again. Main thread only.
class CatalogueGuard final : public PropertyListFile {
public:
    using Version = std::function<std::string(const std::string& path)>;

    /// The files must outlive the guard. `refused` is called after a write that was not made.
    CatalogueGuard(PropertyListFile& files, Version version, std::function<void()> refused);

    [[nodiscard]] PropertyListReadResult read(const std::string& path) override;
    using PropertyListFile::write;
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override;
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override;

private:
    [[nodiscard]] std::optional<std::string> refusal(const std::string& path);

    PropertyListFile& m_files;
    const Version m_version;
    const std::function<void()> m_refused;
    std::map<std::string, std::string> m_known; // versions by path
};

} // namespace quorrel
