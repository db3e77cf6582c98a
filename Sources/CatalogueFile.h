// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PropertyListFile.h"

#include <string>

namespace quorrel {

/// The catalogue's file. What could not be read whole is kept beside what is saved in its place, since its user may
/// still be able to repair it. Any thread, one call at a time.
class CatalogueFile final {
public:
    /// The files must outlive the object.
    explicit CatalogueFile(PropertyListFile& files);

    [[nodiscard]] PropertyListReadResult read(const std::string& path);
    /// Whether it is saved.
    [[nodiscard]] bool write(const std::string& path, const PropertyValue& root);

private:
    enum class Content { NotLookedAt, Replaceable, Damaged };

    PropertyListFile& m_files;
    Content m_content = Content::NotLookedAt; // whether a save may replace what is on the disk
};

} // namespace quorrel
