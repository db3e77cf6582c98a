// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PropertyListFile.h"

namespace quorrel {

/// Property lists on disk, through the property-list library. Any thread.
///
/// Files from elsewhere are not trusted: what nests too deeply, unpacks to more than its size, or is larger than any
/// catalogue is refused before it can exhaust the stack or the memory. In texts that are written, what XML cannot hold
/// (control characters, bytes that are not UTF-8) becomes U+FFFD; all else is read back as it was.
class PlistFile final : public PropertyListFile {
public:
    [[nodiscard]] PropertyListReadResult read(const std::string& path) override;
    using PropertyListFile::write;
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override;
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override;

    /// What `read` makes of a file's bytes.
    [[nodiscard]] static PropertyListReadResult parse(std::string_view bytes);
    /// What `write` makes of a value; absent with the reason when it cannot be written.
    [[nodiscard]] static std::optional<std::string> xml(const PropertyValue& root, std::string& reason);
};

} // namespace quorrel
