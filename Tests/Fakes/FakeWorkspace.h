// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Workspace.h"

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorrel {

/// A desktop that tests furnish: its folders are names in memory. Any thread.
class FakeWorkspace final : public Workspace {
public:
    /// Has the computer's name "Testing", the folders "/home/user/data" and "/tmp", and declarations for a generic
    /// computer and for one of the other kind, each with an image.
    FakeWorkspace();

    [[nodiscard]] std::string computerName() const override;
    [[nodiscard]] std::optional<std::string> applicationSupportDirectory() const override;
    [[nodiscard]] std::string temporaryDirectory() const override;
    [[nodiscard]] bool exists(const std::string& path) const override;
    bool createDirectory(const std::string& path) override;
    bool openURL(const std::string& url) override;
    [[nodiscard]] std::string typeIdentifierForModelCode(const std::string& modelCode) const override;
    [[nodiscard]] std::optional<TypeDeclaration> typeDeclaration(const std::string& identifier) const override;
    [[nodiscard]] std::optional<Image> imageAtPath(const std::string& path) const override;
    [[nodiscard]] std::optional<Image> systemIcon(SystemIcon icon) const override;

    void setComputerName(std::string name);
    void setApplicationSupportDirectory(std::optional<std::string> path);
    void setTemporaryDirectory(std::string path);
    /// Puts something there, so that it exists and a directory can be created below it.
    void addPath(const std::string& path);
    void failCreateDirectory(bool fails);
    /// The identifier for a model code; one that was never set is "dyn." and the code.
    void setTypeIdentifier(const std::string& modelCode, std::string identifier);
    /// An absent declaration takes the identifier away.
    void setTypeDeclaration(const std::string& identifier, std::optional<TypeDeclaration> declaration);
    void addImage(const std::string& path);
    void removeImage(const std::string& path);
    void setSystemIcon(SystemIcon icon, std::optional<Image> image);

    [[nodiscard]] std::vector<std::string> createdDirectories() const;
    [[nodiscard]] std::vector<std::string> openedURLs() const;
    void failOpenURL(bool fails);

private:
    mutable std::mutex m_mutex;
    std::string m_computerName = "Testing";
    std::optional<std::string> m_supportDirectory = "/home/user/data";
    std::string m_temporaryDirectory = "/tmp";
    std::set<std::string> m_paths { "/", "/tmp", "/home", "/home/user", "/home/user/data" };
    bool m_createFails = false;
    std::vector<std::string> m_created;
    std::vector<std::string> m_opened;
    bool m_openFails = false;
    std::map<std::string, std::string> m_identifiers;
    std::map<std::string, TypeDeclaration> m_declarations;
    std::set<std::string> m_images;
    std::map<SystemIcon, Image> m_systemIcons;
};

} // namespace quorrel
