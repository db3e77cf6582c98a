// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/ImageFiles.h"
#include "Platform/Workspace.h"

#include <mutex>
#include <optional>
#include <string>

namespace quorrel {

/// A freedesktop desktop. Any thread.
class LinuxWorkspace final : public Workspace {
public:
    struct Places final {
        std::optional<std::string> data; ///< the user's folder for applications' data
        std::string temporary; ///< the system's; the user's own folder is made in it when it is asked for
        std::string icons; ///< icon files are in "Contents/Resources/" below it
        std::string systemBus; ///< the system message bus's address
        std::string machineInfo = "/etc/machine-info";
        std::string opener = "xdg-open"; ///< started with what is to be opened; without a slash, searched for in PATH
    };

    explicit LinuxWorkspace(Places places);

    /// Asked for once and then kept: of the hostname service, which is given half a second, of the machine-info file,
    /// of the kernel.
    [[nodiscard]] std::string computerName() const override;
    /// Created with all above it when it is missing; absent also when that failed.
    [[nodiscard]] std::optional<std::string> applicationSupportDirectory() const override;
    [[nodiscard]] std::string temporaryDirectory() const override;
    [[nodiscard]] bool exists(const std::string& path) const override;
    bool createDirectory(const std::string& path) override;
    bool openURL(const std::string& url) override;
    [[nodiscard]] std::string typeIdentifierForModelCode(const std::string& modelCode) const override;
    [[nodiscard]] std::optional<TypeDeclaration> typeDeclaration(const std::string& identifier) const override;
    /// PNG files. What was looked at once is not looked at again.
    [[nodiscard]] std::optional<Image> imageAtPath(const std::string& path) const override;
    [[nodiscard]] std::optional<Image> systemIcon(SystemIcon icon) const override;

private:
    const Places m_places;
    const ImageFiles m_imageFiles;
    mutable std::once_flag m_nameAsked;
    mutable std::string m_name;
    mutable std::once_flag m_temporaryMade;
    mutable std::string m_temporary;
};

} // namespace quorrel
