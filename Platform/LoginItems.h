// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// One program that the desktop starts at login.
struct LoginItemEntry final {
    std::string identifier; ///< names the item within its list

    friend bool operator==(const LoginItemEntry&, const LoginItemEntry&) = default;
};

/// The session's login items, opened. Main thread; nothing here waits for a network.
class LoginItemsList {
public:
    virtual ~LoginItemsList() = default;

    /// Appends an item for the file; absent when it could not be stored.
    virtual std::optional<LoginItemEntry> insertItemURL(const std::string& path) = 0;
    [[nodiscard]] virtual std::vector<LoginItemEntry> snapshot() const = 0;
    /// The path of the item's file, links followed; absent when it is not there or the item is switched off.
    [[nodiscard]] virtual std::optional<std::string> resolve(const LoginItemEntry& item) const = 0;
    /// False when the item is still there.
    virtual bool remove(const LoginItemEntry& item) = 0;
};

/// Main thread.
class LoginItems {
public:
    virtual ~LoginItems() = default;

    /// Null when the list cannot be had.
    [[nodiscard]] virtual std::unique_ptr<LoginItemsList> open() = 0;
};

} // namespace quorrel
