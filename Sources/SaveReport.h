// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PropertyListFile.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

/// The catalogue's file, with somebody told when it cannot be saved. Every change saves anew, and a disk stays full for
/// long: the first failure is told, and then the first success. Any thread, one call at a time.
class SaveReport final : public PropertyListFile {
public:
    struct Handlers final {
        std::function<void(const std::string& path, const std::string& reason)> failed;
        std::function<void(const std::string& path)> recovered;
    };

    /// The files must outlive the report. The handlers are called within the save, on its thread: they must not wait
    /// for anybody.
    SaveReport(PropertyListFile& files, Handlers handlers);

    [[nodiscard]] PropertyListReadResult read(const std::string& path) override;
    using PropertyListFile::write;
    /// What the look keeps from being written is no failure.
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override;
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override;

private:
    void tellFailure(const std::string& path, const std::string& reason);

    PropertyListFile& m_files;
    const Handlers m_handlers;
    bool m_isFailing = false;
};

} // namespace quorrel
