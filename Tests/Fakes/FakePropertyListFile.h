// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PropertyListFile.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace quorrel {

/// Property lists in memory, with scripted failures. Any thread.
class FakePropertyListFile final : public PropertyListFile {
public:
    [[nodiscard]] PropertyListReadResult read(const std::string& path) override;
    using PropertyListFile::write;
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override;
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override;

    /// Puts a file there without counting it as written.
    void put(const std::string& path, PropertyValue root);
    /// Puts a file there that cannot be parsed.
    void putMalformed(const std::string& path, std::string reason = "not a property list");
    /// Makes reading that path fail as from a broken disk, until an absent reason takes it back.
    void failReads(const std::string& path, std::optional<std::string> reason);
    /// Makes every write fail and change nothing, until an absent reason takes it back.
    void failWrites(std::optional<std::string> reason);
    void failKeepDamaged(std::optional<std::string> reason);
    /// Makes every write wait, as on a disk that hangs, until they are released.
    void holdWrites();
    void releaseWrites();
    /// Blocks until a write waits; false after 30 seconds.
    [[nodiscard]] bool waitForHeldWrite();

    /// What is there; absent also for a file that cannot be parsed.
    [[nodiscard]] std::optional<PropertyValue> content(const std::string& path) const;
    [[nodiscard]] bool exists(const std::string& path) const;
    /// Writes that succeeded.
    [[nodiscard]] int writeCount() const;

private:
    struct File final {
        std::optional<PropertyValue> root; // absent: cannot be parsed
        std::string reason;
    };

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isHolding = false;
    int m_heldWrites = 0;
    std::map<std::string, File> m_files;
    std::map<std::string, std::string> m_unreadable;
    std::optional<std::string> m_writeFailure;
    std::optional<std::string> m_keepFailure;
    int m_writes = 0;
};

} // namespace quorrel
