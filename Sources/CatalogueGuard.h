// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PropertyListFile.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace quorrel {

/// Property lists that others may edit while the program runs: it overwrites none that is not as it read or wrote it
/// last. One that is gone is written again, and one that was only rewritten with what it held is no edited one. Any
/// thread, one call at a time.
class CatalogueGuard final : public PropertyListFile {
public:
    /// Another text once the file is another one; empty when there is none.
    using Version = std::function<std::string(const std::string& path)>;

    /// What a save does that finds an edited file.
    enum class OnEdited {
        Refuse, ///< it fails
        KeepBeside ///< it keeps that file as a damaged one is kept, once the new one is whole; it fails if that does
    };

    /// The files must outlive the guard. `edited` is called within a save that was refused, or that has kept the edited
    /// file; it must not wait for anybody.
    CatalogueGuard(PropertyListFile& files, Version version, OnEdited onEdited,
        std::function<void(const std::string& path)> edited);

    [[nodiscard]] PropertyListReadResult read(const std::string& path) override;
    using PropertyListFile::write;
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override;
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override;

private:
    struct Known final {
        std::string version;
        std::optional<std::size_t> digest; // of what the file holds; absent when that is no property list
    };

    /// Knows afterwards what it has kept, which may have stayed at its path: another save does not keep it once more.
    [[nodiscard]] std::optional<std::string> keepBeside(const std::string& path);
    /// Why nothing may be done to the file, if so.
    [[nodiscard]] std::optional<std::string> refusal(const std::string& path);
    [[nodiscard]] bool isEdited(const std::string& path);

    PropertyListFile& m_files;
    const Version m_version;
    const OnEdited m_onEdited;
    const std::function<void(const std::string& path)> m_edited;
    std::map<std::string, Known> m_known; // by path
};

} // namespace quorrel
