// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Dictionary.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

struct PropertyListReadResult final {
    enum class Outcome {
        Read,
        Missing,
        Unreadable, ///< there, but it could not be read from the disk
        Malformed
    };
    Outcome outcome = Outcome::Missing;
    std::optional<PropertyValue> root; ///< present when read
    std::string reason; ///< why it could not be read or parsed
};

/// Property lists on disk. Any thread, one call at a time for one path.
class PropertyListFile {
public:
    virtual ~PropertyListFile() = default;

    /// A look at the new file, by its path, when it is whole and about to take the old one's place. A reason that it
    /// returns keeps it from that.
    using LastLook = std::function<std::optional<std::string>(const std::string& newFile)>;

    /// Reads either form, XML or binary.
    [[nodiscard]] virtual PropertyListReadResult read(const std::string& path) = 0;

    /// Writes the XML form, for the owner alone from the first byte on: beside the old file, flushed to disk, then put
    /// in its place. Returns why it failed, if it did; the old file is then whole.
    [[nodiscard]] virtual std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook)
        = 0;
    [[nodiscard]] std::optional<std::string> write(const std::string& path, const PropertyValue& root) {
        return write(path, root, nullptr);
    }

    /// Keeps the file at that path under a free name beside it: the path with ".damaged", then ".damaged-2" and so on
    /// behind it. Returns why it failed, if it did; a path with nothing there succeeds. A file may stay at its path,
    /// too, until the next write.
    [[nodiscard]] virtual std::optional<std::string> keepDamaged(const std::string& path) = 0;
};

} // namespace quorrel
