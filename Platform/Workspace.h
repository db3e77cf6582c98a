// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Image.h"

#include <optional>
#include <string>

namespace quorrel {

/// What the system knows of a kind of device.
struct TypeDeclaration final {
    std::optional<std::string> iconFile;
    std::optional<std::string> conformsTo; ///< the parent kind's identifier
    std::string bundlePath; ///< icon files are in "Contents/Resources/" below it
};

enum class SystemIcon { GenericServer, MusicPlayer, Phone };

/// The desktop the program lives on: its folders, its name, its icons. Any thread; nothing here waits for a network.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// The computer's name as its user sees it.
    [[nodiscard]] virtual std::string computerName() const = 0;

    /// The user's folder for applications' data; absent when there is none.
    [[nodiscard]] virtual std::optional<std::string> applicationSupportDirectory() const = 0;
    /// The user's own folder for files that need not last.
    [[nodiscard]] virtual std::string temporaryDirectory() const = 0;
    /// Whether anything is there, of whatever kind.
    [[nodiscard]] virtual bool exists(const std::string& path) const = 0;
    /// Creates one level, for the owner alone; false when that failed.
    virtual bool createDirectory(const std::string& path) = 0;

    /// Opens a URL, or an absolute path, with what the user set for it; returns at once. False when nothing could be
    /// started, and for any other text: nothing must come to be taken for an option.
    virtual bool openURL(const std::string& url) = 0;

    [[nodiscard]] virtual std::string typeIdentifierForModelCode(const std::string& modelCode) const = 0;
    [[nodiscard]] virtual std::optional<TypeDeclaration> typeDeclaration(const std::string& identifier) const = 0;
    /// Absent when there is no readable image file at that path.
    [[nodiscard]] virtual std::optional<Image> imageAtPath(const std::string& path) const = 0;
    [[nodiscard]] virtual std::optional<Image> systemIcon(SystemIcon icon) const = 0;
};

} // namespace quorrel
